// The layers of a task data set: grids, zones, time logs, boundaries and guidance lines.
import {ISOXMLManager, type ExtendedGrid, type ExtendedTask, type ExtendedTimeLog, type Polygon, type Partfield,
  type TreatmentZone} from 'isoxml';
import {folderOf, refuseEntities, text, type Archive} from './archive';
import {channelOfAreas} from './channels';
import {distanceKm, extentOf, pointsOf, polygonArea, shapesByClass, shapesOf, type Parts, type Point} from './geometry';
import {readGrid} from './grids';
import {guidanceOf} from './guidance';
import {Refusal, type Layer, type Note, type Shapes} from './model';
import {quantitiesOf} from './quantities';
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

/** Throws Refusal. */
export async function readTaskData({files}: Archive, mainFile: string): Promise<Found> {
  const folder = folderOf(mainFile);
  const set = new FileSet();
  for (const [path, bytes] of files) {
    if (folderOf(path) !== folder) continue;
    if (/\.xml$/i.test(path)) refuseEntities(bytes);
    set.files.set(path.slice(folder.length), bytes);
  }
  const manager = new ISOXMLManager();
  // The manager asks the archive that it has read for the other files of the set.
  Object.assign(manager, {originalZip: set});
  try {
    await manager.parseISOXMLFile(text.decode(files.get(mainFile)), 'application/xml');
  } catch {
    throw new Refusal('damaged');
  }
  const {Task: tasks = [], Partfield: fields = []} = manager.rootElement.attributes;
  const names = fields.map(({attributes}) => attributes.PartfieldDesignator ?? '').filter(Boolean);
  const found: Found = {layers: [], notes: [], fields: names};
  for (const task of tasks) readTask(task as ExtendedTask, found);
  for (const field of fields) readField(field, found);
  found.notes.push(...farNotes(found.layers));
  return found;
}

function readTask(task: ExtendedTask, {layers, notes}: Found): void {
  const {TaskDesignator: name = '', Grid: grids = [], TreatmentZone: zones = [], TimeLog: logs = []} = task.attributes;
  for (const grid of grids) {
    const result = readGrid(task, grid as ExtendedGrid, name || grid.attributes.Filename);
    if ('layers' in result || 'extent' in result) layers.push(result as Layer);
    else notes.push(result as Note);
  }
  const layer = zoneLayer(name, zones);
  if (layer) layers.push(layer);
  for (const log of logs) readTimeLog(log as ExtendedTimeLog, {layers, notes});
}

function zoneLayer(name: string, zones: readonly TreatmentZone[]): Layer | undefined {
  const shapes = zones.flatMap((zone) => polygonsOf(zone.attributes.PolygonTreatmentZoneonly)
    .map((parts) => ({parts, quantities: quantitiesOf(zone)})));
  if (shapes.length === 0) return undefined;
  const all = shapes.map(({parts}) => parts);
  const areas = all.map(polygonArea);
  const channels = (shapes[0]?.quantities ?? []).map((quantity, index) =>
    channelOfAreas(quantity, Float64Array.from(shapes, ({quantities}) => quantities[index]?.value ?? NaN),
      (shape) => areas[shape] as number, (classified) => shapesByClass('polygons', all, classified)));
  return {kind: 'zones', name, extent: extentOf(all), channels};
}

function readField({attributes}: Partfield, {layers}: Found): void {
  const name = attributes.PartfieldDesignator;
  const add = (kind: 'boundary' | 'guidance', shape: Shapes['kind'], all: readonly Parts[], itsName = name) => {
    if (all.length > 0) layers.push({kind, name: itsName, extent: extentOf(all), channels: [], shapes: shapesOf(shape, all)});
  };
  add('boundary', 'polygons', polygonsOf(attributes.PolygonnonTreatmentZoneonly));
  for (const {name: groupName, lines} of guidanceOf(attributes)) add('guidance', 'lines', lines, groupName || name);
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

/** A map that is far from every field of its set. */
function farNotes(layers: readonly Layer[]): Note[] {
  const fields = layers.filter(({kind}) => kind === 'boundary');
  if (fields.length === 0) return [];
  return layers.filter(({kind}) => kind === 'grid' || kind === 'zones').flatMap(({name, extent}) => {
    const km = Math.min(...fields.map((field) => distanceKm(extent, field.extent)));
    return km > farKm ? [{kind: 'far' as const, name, km}] : [];
  });
}
