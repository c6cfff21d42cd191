// Draws layers on the map.
import Feature from 'ol/Feature';
import MultiLineString from 'ol/geom/MultiLineString';
import MultiPoint from 'ol/geom/MultiPoint';
import MultiPolygon from 'ol/geom/MultiPolygon';
import {fromExtent} from 'ol/geom/Polygon';
import CircleStyle from 'ol/style/Circle';
import Fill from 'ol/style/Fill';
import Stroke from 'ol/style/Stroke';
import Style from 'ol/style/Style';
import type {MapCanvas} from './canvas';
import {colourOf} from './channels';
import type {Channel, Layer, Shapes} from './model';
import {toPlane} from './plane';

const boundaryStyle = new Style({stroke: new Stroke({color: '#b3261e', width: 2}), zIndex: 2});
const guidanceStyle = new Style({stroke: new Stroke({color: '#0b57d0', width: 2}), zIndex: 3});

/** Draws the channel of its layer, and the layers without channels. */
export function draw(canvas: MapCanvas, layers: readonly Layer[], shown: Layer | undefined, channel: Channel | undefined): void {
  const features = layers.flatMap((layer) => {
    if (layer.shapes) return featureOf(layer.shapes, layer.kind === 'boundary' ? boundaryStyle : guidanceStyle);
    if (layer !== shown || !channel) return [];
    const vectors = channel.shapes.map((shapes, index) => featureOf(shapes, classStyle(colourOf(index, channel.classes.length))));
    return channel.image ? [imageFeature(layer, channel.image), ...vectors] : vectors;
  });
  canvas.source.clear(true);
  canvas.source.addFeatures(features);
}

function classStyle(colour: string): Style {
  const fill = new Fill({color: colour});
  return new Style({fill, stroke: new Stroke({color: colour, width: 3}), image: new CircleStyle({radius: 4, fill})});
}

function featureOf({kind, flat, partEnds}: Shapes, style: Style): Feature {
  const feature = new Feature(geometryOf(kind, [...flat], partEnds));
  feature.setStyle(style);
  return feature;
}

function geometryOf(kind: Shapes['kind'], flat: number[], partEnds: number[][]) {
  switch (kind) {
    case 'polygons':
      return new MultiPolygon(flat, 'XY', partEnds);
    case 'lines':
      return new MultiLineString(flat, 'XY', partEnds.flat());
    case 'points':
      return new MultiPoint(flat, 'XY');
  }
}

function imageFeature({extent: [west, south, east, north], grid}: Layer, image: ImageBitmap): Feature {
  const feature = new Feature(fromExtent([...toPlane([west, south]), ...toPlane([east, north])]));
  feature.setStyle(new Style({
    zIndex: -1,
    renderer: (pixels, {context}) => {
      const corners = (pixels as number[][][])[0] as [number, number][];
      const [left, right] = [Math.min(...corners.map(([x]) => x)), Math.max(...corners.map(([x]) => x))];
      const [top, bottom] = [Math.min(...corners.map(([, y]) => y)), Math.max(...corners.map(([, y]) => y))];
      context.imageSmoothingEnabled = !grid;
      context.drawImage(image, left, top, right - left, bottom - top);
    },
  }));
  return feature;
}

/** The value of the cell at the point, NaN outside. */
export function valueAt({extent: [west, south, east, north], grid}: Layer, {values}: Channel,
    [longitude, latitude]: readonly [number, number]): number {
  if (!grid) return NaN;
  const column = Math.floor(((longitude - west) / (east - west)) * grid.columns);
  const row = Math.floor(((latitude - south) / (north - south)) * grid.rows);
  const isInside = column >= 0 && row >= 0 && column < grid.columns && row < grid.rows;
  return isInside ? values[row * grid.columns + column] as number : NaN;
}
