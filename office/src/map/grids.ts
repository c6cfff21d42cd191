// The grids of a task: type 1 has the code of a treatment zone in each cell, type 2 has the values themselves.
import type {ExtendedGrid, ExtendedTask, TreatmentZone} from 'isoxml';
import {areaOf, channelOfAreas} from './channels';
import type {Channel, Extent, Layer, Note} from './model';
import {quantitiesOf, valuesByZone, type Quantity} from './quantities';

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
  const cellBytes = isType1 ? 1 : 4 * quantitiesOf(zone).length;
  if (bytes.length < cells * cellBytes) return {kind: 'gridShort', name};
  const values = isType1 ? valuesOfZones(bytes.subarray(0, cells), zones) : valuesOfCells(bytes, cells, quantitiesOf(zone));
  if (cells * values.length > mostValues) return {kind: 'gridTooLarge', name};
  const rowAreas = Float64Array.from({length: rows}, (_, row) =>
    areaOf([west, south + row * height, west + width, south + (row + 1) * height]));
  const areaAt = (index: number) => rowAreas[Math.floor(index / columns)] as number;
  const channels = values.map(({quantity, read}): Channel => channelOfAreas(quantity, read(), areaAt));
  return {kind: 'grid', name, extent, grid: {columns, rows}, channels};
}

/** A quantity of the grid, and the reader of its values. */
interface Values {
  quantity: Quantity;
  read(): Float64Array;
}

function valuesOfZones(codes: Uint8Array, zones: readonly TreatmentZone[]): Values[] {
  const used = new Uint8Array(256);
  for (const code of codes) used[code] = 1;
  const codeOf = ({attributes}: TreatmentZone) => attributes.TreatmentZoneCode;
  const found = zones.filter((zone) => used[codeOf(zone)]);
  return valuesByZone(found).map(({quantity, values}) => ({quantity, read: () => {
    const valueOf = new Float64Array(256).fill(NaN);
    found.forEach((zone, index) => {
      valueOf[codeOf(zone)] = values[index] as number;
    });
    return Float64Array.from(codes, (code) => valueOf[code] as number);
  }}));
}

/** Each cell has its values in the order of the zone. */
function valuesOfCells(bytes: Uint8Array, cells: number, quantities: readonly Quantity[]): Values[] {
  const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
  return quantities.map((quantity, index) => ({quantity, read: () => Float64Array.from({length: cells}, (_, cell) =>
    quantity.shownValue(view.getInt32(4 * (cell * quantities.length + index), true)))}));
}
