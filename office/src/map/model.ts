// The types of a file that was read: layers that can be drawn, and notes on parts that could not.

/** West, south, east and north in degrees. */
export type Extent = readonly [number, number, number, number];

/** Metres of one degree to the north. */
export const metresOfDegree = 111_195;

export type LayerKind = 'grid' | 'zones' | 'track' | 'boundary' | 'guidance';

/** Lines or polygons of one colour. */
export interface Shapes {
  kind: 'lines' | 'polygons' | 'points';
  /** Longitudes and latitudes in turn; for the page, coordinates of the plane. */
  flat: Float64Array;
  /** For each line or polygon, the indexes in `flat` where its parts end: the outline, then the holes. */
  partEnds: number[][];
}

/** A range of values with one colour. */
export interface ValueClass {
  from: number;
  to: number;
  /** The area in m², or the number of points of a track. */
  weight: number;
}

/** One value of a layer, for example the rate of a product. */
export interface Channel {
  name: string;
  /** Empty if the file does not tell it. */
  unit: string;
  /** A value for each cell, zone or point; NaN without a value. Rows of a grid go north, cells of a row go east. */
  values: Float64Array;
  /** Class 0 has the values that are exactly zero. */
  classes: ValueClass[];
  /** m² of all cells and zones with a value other than zero; undefined for a track. */
  areaM2: number | undefined;
  /** The sum of value × hectares; undefined for a track. */
  sumHa: number | undefined;
  /** The shapes of each class, in the order of `classes`; empty for a grid. Beside an image, only the shapes outside it. */
  shapes: Shapes[];
  /** The painted values over the extent of the layer, for a grid and for many shapes. */
  image?: ImageBitmap;
}

export interface Layer {
  kind: LayerKind;
  /** The name in the file; may be empty. */
  name: string;
  /** Without stray shapes if the others are painted. */
  extent: Extent;
  grid?: {columns: number; rows: number};
  /** Empty for boundaries and guidance lines. */
  channels: Channel[];
  /** Only without channels. The first layer of a kind has the shapes of all layers of its kind. */
  shapes?: Shapes;
}

/** A part that could not be used, or a remark. Each has a text in texts/. */
export type NoteKind = 'far' | 'noGridFile' | 'gridTooLarge' | 'gridShort' | 'gridValues' | 'logDamaged' | 'assumedDegrees'
  | 'thinned';

export type Note =
  | {kind: NoteKind; name: string; km?: number}
  /** A part of the archive that is not drawn. The name is its path. */
  | {kind: 'refused'; name: string; refusal: RefusalKind}
  /** Further notes, and layers beyond the limit. */
  | {kind: 'more' | 'leftOut'; name: ''; count: number};

export type RefusalKind = 'tooLarge' | 'unpacksTooLarge' | 'notArchive' | 'entities' | 'damaged' | 'tooLong'
  | 'noProjection' | 'unknownProjection' | 'tooDetailed';

/** The reason why a file, or a part of an archive, is not drawn. */
export class Refusal extends Error {
  constructor(readonly kind: RefusalKind) {
    super(kind);
  }
}

export interface Reading {
  layers: Layer[];
  notes: Note[];
  /** Whether a TASKDATA.XML was read. */
  hasTaskData: boolean;
  /** The names of the fields in the task data. */
  fields: string[];
  /** The first names in the archive. */
  names: string[];
}

export type Answer = {reading: Reading} | {refusal: RefusalKind};

/** A larger file is not read. */
export const largestFile = 64 * 1024 * 1024;

export function isPrescription({layers}: Reading): boolean {
  return layers.some(({kind}) => kind === 'grid' || kind === 'zones');
}

/** The colours of the classes: zero, then low to high. */
export const colours = ['#d9d9d9', '#440154', '#443983', '#31688e', '#21918c', '#35b779', '#90d743', '#fde725'] as const;
