// The consoles and a track on the map.
import Feature from 'ol/Feature';
import LineString from 'ol/geom/LineString';
import PointGeometry from 'ol/geom/Point';
import CircleStyle from 'ol/style/Circle';
import Fill from 'ol/style/Fill';
import RegularShape from 'ol/style/RegularShape';
import Stroke from 'ol/style/Stroke';
import Style from 'ol/style/Style';
import Text from 'ol/style/Text';
import {MapCanvas, type MapTexts} from './canvas';
import {extentOf, type Point} from './geometry';
import {toPlane} from './plane';

export interface Marker {
  id: number;
  name: string;
  place: Point;
  /** Degrees from north; undefined if the console does not move, or if its movement is not known. */
  heading: number | undefined;
  /** An old position is drawn in grey. */
  isOld: boolean;
  isChosen: boolean;
}

/** The smallest part of the Earth that the map shows by itself. */
const smallestM = 1000;

const trackStyle = new Style({stroke: new Stroke({color: '#0b57d0', width: 3})});
const replayStyle = new Style({zIndex: 3, image: new CircleStyle({radius: 9, fill: new Fill({color: '#b3261e'}),
  stroke: new Stroke({color: '#fff', width: 2})})});

export class FleetMap {
  private readonly canvas: MapCanvas;
  private readonly markers = new Map<number, {marker: Marker; feature: Feature<PointGeometry>}>();
  private readonly track = new Feature<LineString>();
  private readonly replay = new Feature<PointGeometry>();

  constructor(target: HTMLElement, texts: MapTexts, onChoose: (id: number) => void) {
    this.canvas = new MapCanvas(target, texts);
    this.track.setStyle(trackStyle);
    this.replay.setStyle(replayStyle);
    this.canvas.source.addFeatures([this.track, this.replay]);
    this.canvas.map.on('click', ({pixel}) => {
      const id = this.canvas.map.forEachFeatureAtPixel(pixel, (feature) => feature.getId(), {hitTolerance: 8});
      if (typeof id === 'number') onChoose(id);
    });
  }

  dispose(): void {
    this.canvas.dispose();
  }

  /** The first markers decide which part of the Earth the map shows. */
  showMarkers(markers: readonly Marker[]): void {
    if (!this.canvas.hasPlace) {
      if (markers.length === 0) return;
      this.canvas.fit(extentOf([[markers.map(({place}) => place)]]), smallestM);
    }
    const gone = new Set(this.markers.keys());
    for (const marker of markers) {
      gone.delete(marker.id);
      this.showMarker(marker);
    }
    for (const id of gone) {
      this.canvas.source.removeFeature(this.markers.get(id)?.feature as Feature);
      this.markers.delete(id);
    }
  }

  /** Moves the map to a new track, but not to a track that grows. No points remove the track. */
  showTrack(points: readonly Point[]): void {
    if (points.length === 0) {
      this.track.setGeometry(undefined);
      return;
    }
    if (!this.track.getGeometry()) this.canvas.fit(extentOf([[points]]), smallestM);
    this.track.setGeometry(new LineString(points.map(toPlane)));
  }

  showReplay(point: Point | undefined): void {
    this.replay.setGeometry(point && this.canvas.hasPlace ? new PointGeometry(toPlane(point)) : undefined);
  }

  goTo([longitude, latitude]: Point): void {
    this.canvas.fit([longitude, latitude, longitude, latitude], smallestM);
  }

  private showMarker(marker: Marker): void {
    const known = this.markers.get(marker.id);
    const feature = known?.feature ?? new Feature<PointGeometry>();
    if (!known) {
      feature.setId(marker.id);
      this.canvas.source.addFeature(feature);
    }
    if (!known || known.marker.place !== marker.place) feature.setGeometry(new PointGeometry(toPlane(marker.place)));
    if (!known || styleKey(known.marker) !== styleKey(marker)) feature.setStyle(styleOf(marker));
    this.markers.set(marker.id, {marker, feature});
  }
}

const styleKey = ({name, heading, isOld, isChosen}: Marker): string => `${name}|${heading}|${isOld}|${isChosen}`;

/** An arrow for a console that moves, otherwise a dot. */
function styleOf({name, heading, isOld, isChosen}: Marker): Style {
  const fill = new Fill({color: isOld ? '#6b716c' : '#1d6b3a'});
  const stroke = new Stroke({color: isChosen ? '#b3261e' : '#fff', width: isChosen ? 3 : 1.5});
  const image = heading === undefined ? new CircleStyle({radius: 8, fill, stroke})
    : new RegularShape({points: 3, radius: 12, fill, stroke, rotation: (heading * Math.PI) / 180});
  return new Style({zIndex: isChosen ? 2 : 1, image, text: new Text({text: name, offsetY: 20, font: '14px sans-serif',
    fill: new Fill({color: '#1a1d1a'}), stroke: new Stroke({color: '#fff', width: 3})})});
}
