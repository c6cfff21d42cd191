// Archives made for the tests.
import {strToU8, zipSync} from 'fflate';

export type Bytes = Uint8Array<ArrayBuffer>;

export const taskData = (content: string): Bytes => strToU8(
  `<?xml version="1.0" encoding="UTF-8"?>
<ISO11783_TaskData VersionMajor="4" VersionMinor="2" ManagementSoftwareManufacturer="t" DataTransferOrigin="1">
${content}</ISO11783_TaskData>`) as Bytes;

export const archive = (files: Record<string, Uint8Array>): Bytes => zipSync(files) as Bytes;

/** Two zones: 0 has 0 kg/ha and 7 has 150 kg/ha. */
export const zones = `<TZN A="0"><PDV A="0006" B="0"/></TZN><TZN A="7"><PDV A="0006" B="15000"/></TZN>`;

export const grid = (columns: number, rows: number, type: 1 | 2, file = 'GRD00001', code = '') =>
  `<GRD A="51.5" B="5.25" C="0.0001" D="0.0002" E="${columns}" F="${rows}" G="${file}" I="${type}" ${code}/>`;

export const task = (content: string) => `<TSK A="TSK1" B="North field" G="1">${content}</TSK>`;

/** A field of about 700 m × 1.1 km whose south-western corner is the given point. */
export const field = (latitude: number, longitude: number) => {
  const corners = [[0, 0], [0.01, 0], [0.01, 0.01], [0, 0.01], [0, 0]];
  const points = corners.map(([north = 0, east = 0]) => `<PNT A="2" C="${latitude + north}" D="${longitude + east}"/>`);
  return `<PFD A="PFD1" C="Home" D="1"><PLN A="1"><LSG A="1">${points.join('')}</LSG></PLN></PFD>`;
};

export const integers = (...values: number[]): Bytes => new Uint8Array(Int32Array.from(values).buffer);

/** A small prescription: two cells of 0, then 100, 200 and two of 300 kg/ha. */
export const prescription = (): Bytes => archive({
  'TASKDATA/TASKDATA.XML': taskData(task(`<TZN A="1"><PDV A="0006" B="0"/></TZN>${grid(3, 2, 2, 'GRD00001', 'J="1"')}`)),
  'TASKDATA/GRD00001.BIN': integers(0, 0, 10_000, 20_000, 30_000, 30_000),
});

/** The round field Hill with its boundary. */
function hill(): string {
  const corners = [...Array(61).keys()].map((each) => {
    const angle = (each * Math.PI) / 30;
    return `<PNT A="2" C="${51.503 + 0.003 * Math.sin(angle)}" D="${5.256 + 0.006 * Math.cos(angle)}"/>`;
  });
  return `<PFD A="PFD1" C="Hill" D="1"><PLN A="1"><LSG A="1">${corners.join('')}</LSG></PLN></PFD>`;
}

/** A map like those of farms: rates from 100 to 260 kg/ha, zero outside of a round field, and its boundary. */
export function roundField(): Bytes {
  const size = 60;
  const raw = [...Array(size * size).keys()].map((cell) => {
    const [x, y] = [(cell % size) - size / 2 + 0.5, Math.floor(cell / size) - size / 2 + 0.5];
    const step = Math.round(3 + 2 * Math.sin(x / 9) + 2 * Math.cos((x + y) / 11));
    return Math.hypot(x, y) < size / 2 ? (120 + 20 * step) * 100 : 0;
  });
  return archive({
    'TASKDATA/TASKDATA.XML': taskData(`${task(`<TZN A="1"><PDV A="0006" B="0" C="PDT1"/></TZN>${grid(size, size, 2, 'GRD00001', 'J="1"')}`)}
      <PDT A="PDT1" B="Wheat"/>${hill()}`),
    'TASKDATA/GRD00001.BIN': integers(...raw),
  });
}

/** A point of a time log: latitude, longitude and the raw value, 100 for 1 kg/ha; undefined if it did not change. */
export type LogPoint = readonly [number, number, number | undefined];

/** The bytes of a time log with a point a second. */
export const logBytes = (points: readonly LogPoint[]): number[] => points.flatMap(([north, east, value], index) => {
  const view = new DataView(new ArrayBuffer(value === undefined ? 16 : 21));
  view.setUint32(0, index * 1000, true);
  view.setUint16(4, 15_000, true);
  view.setInt32(6, Math.round(north * 1e7), true);
  view.setInt32(10, Math.round(east * 1e7), true);
  view.setUint8(14, 1);
  if (value !== undefined) {
    view.setUint8(15, 1);
    view.setInt32(17, value, true);
  }
  return [...new Uint8Array(view.buffer)];
});

/** Task data of a drill with a time log. */
export const logSet = (bytes: readonly number[], more = ''): Record<string, Uint8Array> => ({
  'TASKDATA.XML': taskData(`${task('<TLG A="TLG00001"/>')}<DVC A="DVC1" B="Drill" D="0" F="0" G="0"><DET A="DET1" B="1" C="1" D="Bin" E="0" F="0">
    <DOR A="5"/></DET><DPD A="5" B="0007" C="1" D="16" E="Seed" F="6"/><DVP A="6" B="0" C="0.01" D="1" E="kg/ha"/></DVC>${more}`),
  'TLG00001.XML': strToU8('<TIM A="" D="4"><PTN A="" B="" D=""/><DLV A="0007" B="" C="DET1"/></TIM>'),
  'TLG00001.BIN': new Uint8Array(bytes),
});

/** The work on the field Hill, in twelve runs from north to south and back. */
export function jobReport(): Bytes {
  const points = [...Array(12 * 40).keys()].map((each): LogPoint => {
    const [run, along] = [Math.floor(each / 40), each % 40];
    const x = -0.75 + (1.5 * run) / 11;
    const y = (run % 2 ? 1 : -1) * (1 - along / 19.5) * Math.sqrt(1 - x * x);
    return [51.503 + 0.003 * y, 5.256 + 0.006 * x, 15_000 + Math.round(4000 * Math.sin(x * 4 + y * 2))];
  });
  return archive(logSet(logBytes(points), hill()));
}

/** Two cells with a rate in kg/ha, by a scale of the file, and a rate in l/ha. */
export const severalValues = (): Bytes => archive({
  'taskdata/taskdata.xml': taskData(`${task(`<TZN A="1"><PDV A="0006" B="0" E="VPN1"/><PDV A="0001" B="0"/></TZN>${
    grid(2, 1, 2, 'GRD00001', 'J="1"')}`)}<VPN A="VPN1" B="50" C="0.02" D="2" E="kg/ha"/>`),
  'taskdata/grd00001.bin': integers(100, -5, 200, 7),
});

/** The archive with another unpacked size in its directory. */
export function withClaimedSize(bytes: Bytes, size: number, claimed: number): Bytes {
  const view = new DataView(bytes.buffer);
  for (let at = 0; at + 28 < bytes.length; ++at) {
    if (view.getUint32(at, true) === 0x02014b50 && view.getUint32(at + 24, true) === size) view.setUint32(at + 24, claimed, true);
  }
  return bytes;
}

/** A shapefile of rectangles. Each column has the rates. */
export function shapefile(rectangles: readonly (readonly [number, number, number, number])[], rates: readonly number[],
    projection?: string, columns: readonly string[] = ['RATE']): Bytes {
  const files: Record<string, Uint8Array> = {'map.shp': shp(rectangles), 'map.dbf': dbf(rates, columns)};
  if (projection) files['map.prj'] = strToU8(projection);
  return archive(files);
}

function shp(rectangles: readonly (readonly [number, number, number, number])[]): Uint8Array {
  const recordBytes = 8 + 4 + 32 + 8 + 4 + 5 * 16;
  const view = new DataView(new ArrayBuffer(100 + rectangles.length * recordBytes));
  view.setInt32(0, 9994);
  view.setInt32(24, view.byteLength / 2);
  view.setInt32(28, 1000, true);
  view.setInt32(32, 5, true);
  rectangles.forEach(([west, south, east, north], index) => {
    const at = 100 + index * recordBytes;
    view.setInt32(at, index + 1);
    view.setInt32(at + 4, (recordBytes - 8) / 2);
    view.setInt32(at + 8, 5, true);
    [west, south, east, north].forEach((each, place) => view.setFloat64(at + 12 + 8 * place, each, true));
    view.setInt32(at + 44, 1, true);
    view.setInt32(at + 48, 5, true);
    const corners = [[west, south], [west, north], [east, north], [east, south], [west, south]];
    corners.flat().forEach((each, place) => view.setFloat64(at + 56 + 8 * place, each, true));
  });
  return new Uint8Array(view.buffer);
}

function dbf(rates: readonly number[], columns: readonly string[]): Uint8Array {
  const width = 10;
  const rowBytes = width * columns.length + 1;
  const head = 32 + 32 * columns.length + 1;
  const bytes = new Uint8Array(head + rates.length * rowBytes + 1).fill(0x20);
  bytes.fill(0, 0, head);
  const view = new DataView(bytes.buffer);
  bytes[0] = 3;
  view.setUint32(4, rates.length, true);
  view.setUint16(8, head, true);
  view.setUint16(10, rowBytes, true);
  columns.forEach((column, index) => {
    const at = 32 + 32 * index;
    bytes.set(strToU8(column), at);
    bytes.set(['N'.charCodeAt(0), 0, 0, 0, 0, width, 2], at + 11);
  });
  bytes[head - 1] = 0x0d;
  rates.forEach((rate, index) =>
    bytes.set(strToU8(rate.toFixed(2).padStart(width).repeat(columns.length)), head + 1 + index * rowBytes));
  bytes[bytes.length - 1] = 0x1a;
  return bytes;
}
