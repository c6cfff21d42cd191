// Shapefiles: polygons, lines and points with a table of values.
import proj4 from 'proj4';
import {combine, parseDbf, parseShp} from 'shpjs';
import {text, type Archive} from './archive';
import {channelOfAreas, channelOfPoints, type Classified} from './channels';
import {extentOf, polygonArea, shapesByClass, shapesOf, type Parts, type Point} from './geometry';
import {Refusal, type Layer, type Shapes} from './model';
import type {Found} from './task_data';

const mostPoints = 500_000;

export interface Feature {
  geometry: {type: string; coordinates: unknown} | null;
  properties: Record<string, unknown>;
}

export function shapefilesOf({files}: Archive): string[] {
  return [...files.keys()].filter((path) => /\.shp$/i.test(path) && !path.includes('__MACOSX'));
}

/** Throws Refusal, or another error for a damaged file. */
export function readShapefile({files}: Archive, path: string): Found {
  const part = (extension: string) => [...files].find(([each]) =>
    each.toLowerCase() === path.toLowerCase().replace(/shp$/, extension))?.[1];
  const projection = part('prj');
  if (projection) requireKnown(text.decode(projection));
  const table = part('dbf');
  const name = path.replace(/^.*\//, '').replace(/\.shp$/i, '');
  const shapes = parseShp(files.get(path) as Uint8Array, projection);
  const {features} = combine([shapes, table && parseDbf(table, part('cpg') ?? encodingOf(table))]);
  const layer = layerOf(name, features as Feature[]);
  if (!layer) return {layers: [], notes: [], fields: []};
  const [west, south, east, north] = layer.extent;
  if (!(west >= -180 && east <= 180 && south >= -90 && north <= 90)) throw new Refusal(projection ? 'unknownProjection' : 'noProjection');
  return {layers: [layer], fields: [], notes: projection ? [] : [{kind: 'assumedDegrees', name}]};
}

/** shpjs would leave the numbers as they are. Throws Refusal. */
function requireKnown(projection: string): void {
  try {
    proj4(projection);
  } catch {
    throw new Refusal('unknownProjection');
  }
}

/** A table without a note of its encoding is old, unless its bytes are UTF-8. */
function encodingOf(table: Uint8Array): string {
  try {
    new TextDecoder('utf-8', {fatal: true}).decode(table.subarray(32));
    return 'utf-8';
  } catch {
    return 'windows-1252';
  }
}

/** A map opens with its first column: first the rates, last the numbers and sizes of the zones. */
const columnOrder: readonly RegExp[] = [
  /rate|dos[ei]|dawk|menge|aufwand|tasa|taxa|target|soll|(^|[^a-z])(kg|l|t|n|p|k|kgha|lha|tha)([^a-z]|$)/i,
  /^(?!.*(area|fl(ä|ae)che|surf|shape|leng|perim|(^|[^a-z])([a-z]{0,6}id|nr|num|ha|acres?)([^a-z]|$)))/i,
];

function orderOf(column: string): number {
  const found = columnOrder.findIndex((names) => names.test(column));
  return found < 0 ? columnOrder.length : found;
}

interface Shape {
  kind: Shapes['kind'];
  parts: Parts;
  row: Record<string, unknown>;
}

/** Throws Refusal. */
function layerOf(name: string, features: readonly Feature[]): Layer | undefined {
  const shapes = features.flatMap(({geometry, properties}) =>
    (geometry ? partsOf(geometry) : []).map((each): Shape => ({...each, row: properties ?? {}})));
  const kind = shapes[0]?.kind;
  if (!kind) return undefined;
  if (shapes.reduce((sum, {parts}) => sum + parts.reduce((all, part) => all + part.length, 0), 0) > mostPoints) {
    throw new Refusal('tooDetailed');
  }
  const all = shapes.map(({parts}) => parts);
  const columns = Object.keys(shapes[0]?.row ?? {}).filter((column) => typeof shapes[0]?.row[column] === 'number')
    .sort((one, other) => orderOf(one) - orderOf(other));
  const extent = extentOf(all);
  const layerKind = kind === 'polygons' ? 'zones' : kind === 'points' ? 'track' : 'guidance';
  if (columns.length === 0) {
    return {kind: kind === 'polygons' ? 'boundary' : 'guidance', name, extent, channels: [], shapes: shapesOf(kind, all)};
  }
  const areas = kind === 'polygons' ? all.map(polygonArea) : [];
  const channels = columns.map((column) => {
    const values = Float64Array.from(shapes, ({row}) => (typeof row[column] === 'number' ? row[column] as number : NaN));
    const draw = (classified: Classified) => shapesByClass(kind, all, classified);
    return kind === 'polygons'
      ? channelOfAreas({name: column, unit: ''}, values, (index) => areas[index] as number, draw)
      : channelOfPoints({name: column, unit: ''}, values, draw);
  });
  return {kind: layerKind, name, extent, channels};
}

function partsOf({type, coordinates}: NonNullable<Feature['geometry']>): {kind: Shapes['kind']; parts: Parts}[] {
  const points = coordinates as Point[];
  const lines = coordinates as Point[][];
  switch (type) {
    case 'Point':
      return [{kind: 'points', parts: [[coordinates as Point]]}];
    case 'MultiPoint':
      return points.map((point) => ({kind: 'points', parts: [[point]]}));
    case 'LineString':
      return [{kind: 'lines', parts: [points]}];
    case 'MultiLineString':
      return lines.map((line) => ({kind: 'lines', parts: [line]}));
    case 'Polygon':
      return [{kind: 'polygons', parts: lines}];
    case 'MultiPolygon':
      return (coordinates as Point[][][]).map((parts) => ({kind: 'polygons', parts}));
    default:
      return [];
  }
}
