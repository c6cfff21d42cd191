// The layers of a task data set: grids, zones, time logs, boundaries and guidance lines.
import {ISOXMLManager, type ExtendedGrid, type ExtendedTask, type ExtendedTimeLog, type Polygon, type Partfield,
  type TreatmentZone} from 'isoxml';
import {xml2js} from 'isoxml/dist_es/xmlManager';
import {folderOf, refuseEntities, text, type Archive} from './archive';
import {channelOfAreas} from './channels';
import {distanceKm, extentOf, pointsOf, polygonArea, shapesByClass, shapesOf, type Parts, type Point} from './geometry';
import {readGrid} from './grids';
import {guidanceOf} from './guidance';
import type {Extent, Layer, Note, Shapes} from './model';
import {valuesByZone} from './quantities';
import {readTimeLog} from './time_logs';

const farKm = 1;

export interface Found {
  layers: Layer[];
  notes: Note[];
  /** The names of the fields. */
  fields: string[];
}

/** The paths of the main files. */
export function mainFilesOf({files}: Archive): string[] {
  return [...files.keys()].filter((path) => /(^|\/)taskdata\.xml$/i.test(path));
}

/** The files of a set, as the manager reads them. */
class FileSet {
  readonly files = new Map<string, Uint8Array<ArrayBuffer>>();

  folder(): this {
    return this;
  }

  forEach(visit: (path: string, file: {async: (type: 'string' | 'uint8array') => Promise<string | Uint8Array>}) => void): void {
    for (const [path, bytes] of this.files) visit(path, {async: async (type) => (type === 'string' ? text.decode(bytes) : bytes)});
  }
}

/** Throws Refusal, or another error for a damaged file. */
export async function readTaskData({files}: Archive, mainFile: string): Promise<Found> {
  const folder = folderOf(mainFile);
  const set = new FileSet();
  for (const [path, bytes] of files) {
    if (folderOf(path) !== folder) continue;
    if (/\.xml$/i.test(path)) refuseEntities(bytes);
    if (!isDamagedHeader(path, bytes)) set.files.set(path.slice(folder.length), bytes);
  }
  const manager = new ISOXMLManager();
  // The manager asks the archive that it has read for the other files of the set.
  Object.assign(manager, {originalZip: set});
  await manager.parseISOXMLFile(text.decode(files.get(mainFile)), 'application/xml');
  const {Task: tasks = [], Partfield: fields = []} = manager.rootElement.attributes;
  const names = fields.map(({attributes}) => attributes.PartfieldDesignator ?? '').filter(Boolean);
  const found: Found = {layers: [], notes: [], fields: names};
  const layersOf = tasks.map((task) => readTask(task as ExtendedTask, found));
  const boundaryOf = new Map(fields.map((field) => [field, readField(field, found)]));
  const boundaries = [...boundaryOf.values()].filter((each) => each !== undefined);
  tasks.forEach(({attributes}, index) => {
    const own = boundaryOf.get(attributes.PartfieldIdRef?.entity as Partfield);
    found.notes.push(...farNotes(layersOf[index] as Layer[], own ? [own] : boundaries));
  });
  return found;
}

/** The manager gives up a set with a damaged header of a time log. Without the header it gives up only the time log. */
function isDamagedHeader(path: string, bytes: Uint8Array): boolean {
  if (!/(^|\/)tlg\d+\.xml$/i.test(path)) return false;
  try {
    return !('TIM' in xml2js(text.decode(bytes)));
  } catch {
    return true;
  }
}

/** Returns the layers of the task. */
function readTask(task: ExtendedTask, {layers, notes}: Found): Layer[] {
  const {TaskDesignator: name = '', Grid: grids = [], TreatmentZone: zones = [], TimeLog: logs = []} = task.attributes;
  const before = layers.length;
  for (const grid of grids) {
    const result = readGrid(task, grid as ExtendedGrid, name || grid.attributes.Filename);
    if ('extent' in result) layers.push(result);
    else notes.push(result);
  }
  const layer = zoneLayer(name, zones);
  if (layer) layers.push(layer);
  for (const log of logs) readTimeLog(log as ExtendedTimeLog, {layers, notes});
  return layers.slice(before);
}

function zoneLayer(name: string, zones: readonly TreatmentZone[]): Layer | undefined {
  const shapes = zones.flatMap((zone) => polygonsOf(zone.attributes.PolygonTreatmentZoneonly).map((parts) => ({parts, zone})));
  if (shapes.length === 0) return undefined;
  const all = shapes.map(({parts}) => parts);
  const areas = all.map(polygonArea);
  const channels = valuesByZone(shapes.map(({zone}) => zone)).map(({quantity, values}) =>
    channelOfAreas(quantity, Float64Array.from(values), (shape) => areas[shape] as number,
      (classified) => shapesByClass('polygons', all, classified)));
  return {kind: 'zones', name, extent: extentOf(all), channels};
}

/** Returns the extent of the boundary. */
function readField({attributes}: Partfield, {layers}: Found): Extent | undefined {
  const name = attributes.PartfieldDesignator;
  const add = (kind: 'boundary' | 'guidance', shape: Shapes['kind'], all: readonly Parts[], itsName = name) => {
    if (all.length > 0) layers.push({kind, name: itsName, extent: extentOf(all), channels: [], shapes: shapesOf(shape, all)});
  };
  const boundary = polygonsOf(attributes.PolygonnonTreatmentZoneonly);
  add('boundary', 'polygons', boundary);
  for (const {name: groupName, lines} of guidanceOf(attributes)) add('guidance', 'lines', lines, groupName || name);
  return boundary.length > 0 ? extentOf(boundary) : undefined;
}

/** Each outline starts a new polygon. A hole belongs to the outline before it. */
function polygonsOf(polygons: readonly Polygon[] = []): Parts[] {
  const all: Point[][][] = [];
  for (const {attributes} of polygons) {
    for (const line of attributes.LineString ?? []) {
      const points = pointsOf(line);
      if (points.length < 3) continue;
      if (String(line.attributes.LineStringType) === '2' && all.length > 0) (all.at(-1) as Point[][]).push(points);
      else all.push([points]);
    }
  }
  return all;
}

/** A note for each map that is far from the nearest of the fields. */
function farNotes(maps: readonly Layer[], fields: readonly Extent[]): Note[] {
  return maps.filter(({kind}) => kind === 'grid' || kind === 'zones').flatMap(({name, extent}) => {
    const km = Math.min(...fields.map((field) => distanceKm(extent, field)));
    return Number.isFinite(km) && km > farKm ? [{kind: 'far' as const, name, km}] : [];
  });
}
