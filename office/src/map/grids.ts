// The grids of a task: type 1 has the code of a treatment zone in each cell, type 2 has the values themselves.
import type {ExtendedGrid, ExtendedTask} from 'isoxml';
import {areaOf, channelOfAreas} from './channels';
import type {Channel, Extent, Layer, Note} from './model';
import {quantitiesOf, type Quantity} from './quantities';

/** A grid with more values is not drawn. */
const mostValues = 8_000_000;

export function readGrid(task: ExtendedTask, grid: ExtendedGrid, name: string): Layer | Note {
  const {GridMaximumColumn: columns, GridMaximumRow: rows, GridMinimumNorthPosition: south, GridMinimumEastPosition: west,
    GridCellNorthSize: height, GridCellEastSize: width} = grid.attributes;
  const bytes: Uint8Array | null = grid.binaryData;
  const isType1 = String(grid.attributes.GridType) === '1';
  const cells = columns * rows;
  const extent: Extent = [west, south, west + columns * width, south + rows * height];
  if (!(cells > 0) || !extent.every(Number.isFinite) || extent[3] > 90 || south < -90) return {kind: 'gridValues', name};
  if (!bytes) return {kind: 'noGridFile', name};
  const zones = task.attributes.TreatmentZone ?? [];
  const zone = zones.find(({attributes}) => attributes.TreatmentZoneCode === grid.attributes.TreatmentZoneCode) ?? zones[0];
  const quantities = quantitiesOf(zone);
  const valueCount = isType1 ? 1 : Math.max(1, quantities.length);
  if (bytes.length < cells * valueCount * (isType1 ? 1 : 4)) return {kind: 'gridShort', name};
  if (cells * quantities.length > mostValues) return {kind: 'gridTooLarge', name};
  const valuesOf = isType1
    ? (_quantity: Quantity, index: number) => valuesOfZones(bytes, cells, zones.map((each) =>
      [each.attributes.TreatmentZoneCode, quantitiesOf(each)[index]?.value ?? NaN]))
    : (quantity: Quantity, index: number) => valuesOfCells(bytes, cells, valueCount, index, quantity);
  const rowAreas = Float64Array.from({length: rows}, (_, row) =>
    areaOf([west, south + row * height, west + width, south + (row + 1) * height]));
  const areaAt = (index: number) => rowAreas[Math.floor(index / columns)] as number;
  const channels = quantities.map((quantity, index): Channel =>
    channelOfAreas(quantity, valuesOf(quantity, index), areaAt));
  return {kind: 'grid', name, extent, grid: {columns, rows}, channels};
}

function valuesOfZones(bytes: Uint8Array, cells: number, zones: readonly (readonly [number, number])[]): Float64Array {
  const valueOf = new Float64Array(256).fill(NaN);
  for (const [code, value] of zones) valueOf[code] = value;
  return Float64Array.from({length: cells}, (_, cell) => valueOf[bytes[cell] as number] as number);
}

function valuesOfCells(bytes: Uint8Array, cells: number, valueCount: number, index: number,
    {shownValue}: Quantity): Float64Array {
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  return Float64Array.from({length: cells}, (_, cell) => shownValue(view.getInt32(4 * (cell * valueCount + index), true)));
}
