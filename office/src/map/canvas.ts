// A map on a canvas, in the projection of web maps: a base map fits below. A grid is drawn as one rectangle: within a field
// the error is a few centimetres.
import Feature from 'ol/Feature';
import OlMap from 'ol/Map';
import View from 'ol/View';
import ScaleLine from 'ol/control/ScaleLine';
import Zoom from 'ol/control/Zoom';
import {defaults as interactions} from 'ol/interaction/defaults';
import type {Geometry} from 'ol/geom';
import VectorLayer from 'ol/layer/Vector';
import {toLonLat} from 'ol/proj';
import VectorSource from 'ol/source/Vector';
import {addBaseMap} from './base_map_of';
import type {Point} from './geometry';
import type {Extent} from './model';
import {limited, toPlane} from './plane';

/** Two tips of the buttons, and the words for a base map with holes. */
export interface MapTexts {
  in: string;
  out: string;
  tilesMissing: string;
}

export class MapCanvas {
  readonly map: OlMap;
  readonly source = new VectorSource<Feature<Geometry>>();
  private isPlaced = false;
  private readonly resize: ResizeObserver;

  constructor(target: HTMLElement, texts: MapTexts) {
    this.map = new OlMap({
      target,
      view: new View({center: [0, 0], resolution: 1, minResolution: 0.01, maxResolution: 50_000, enableRotation: false}),
      layers: [new VectorLayer({source: this.source, updateWhileInteracting: false})],
      controls: [new Zoom({zoomInTipLabel: texts.in, zoomOutTipLabel: texts.out}), new ScaleLine()],
      interactions: interactions({altShiftDragRotate: false, pinchRotate: false}),
    });
    this.resize = new ResizeObserver(() => this.map.updateSize());
    this.resize.observe(target);
    void addBaseMap(this.map, texts.tilesMissing);
  }

  dispose(): void {
    this.resize.disconnect();
    this.map.setTarget(undefined);
  }

  /** Shows the rectangle, at least `smallestM` metres of it. */
  fit([west, south, east, north]: Extent, smallestM = 20): void {
    this.isPlaced = true;
    const smallest = smallestM / Math.cos((limited((south + north) / 2) * Math.PI) / 180);
    const [left, bottom] = toPlane([west, south]);
    const [right, top] = toPlane([east, north]);
    const spareX = Math.max(0, smallest - (right - left)) / 2;
    const spareY = Math.max(0, smallest - (top - bottom)) / 2;
    this.map.getView().fit([left - spareX, bottom - spareY, right + spareX, top + spareY], {padding: [24, 24, 24, 24]});
  }

  /** Whether the map shows a place that was asked for. */
  get hasPlace(): boolean {
    return this.isPlaced;
  }

  toDegrees(at: number[]): Point {
    return toLonLat(at) as [number, number];
  }
}
