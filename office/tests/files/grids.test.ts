// Grids as the page reads them, compared cell by cell with an independent reader.
import {execFileSync} from 'node:child_process';
import {mkdtempSync, readdirSync, readFileSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {afterAll, describe, expect, it} from 'vitest';
import type {Channel, Reading} from '../../src/map/model';
import {read} from '../../src/map/read';
import {archive, grid, prescription, severalValues, task, taskData, zones, type Bytes} from '../unit/archives';

const folder = mkdtempSync(join(tmpdir(), 'kelvo-map-'));
afterAll(() => rmSync(folder, {recursive: true}));

interface PlainGrid {
  columns: number;
  rows: number;
  extent: number[];
  values: (number | null)[];
}

const independently = (paths: readonly string[]): PlainGrid[][] =>
  JSON.parse(execFileSync('python3', [join(import.meta.dirname, 'read_grids.py'), ...paths], {maxBuffer: 1e9}).toString());

function expectSame({layers}: Reading, wanted: readonly PlainGrid[]): void {
  const grids = layers.filter(({kind}) => kind === 'grid');
  expect(grids.length).toBe(wanted.length);
  grids.forEach((layer, index) => {
    const plain = wanted[index] as PlainGrid;
    expect(layer.grid).toEqual({columns: plain.columns, rows: plain.rows});
    layer.extent.forEach((each, corner) => expect(each).toBeCloseTo(plain.extent[corner] as number, 12));
    const values = [...(layer.channels[0] as Channel).values];
    expect(values.length).toBe(plain.values.length);
    values.forEach((value, cell) => {
      const rate = plain.values[cell] ?? NaN;
      if (!(Math.abs(value - rate) <= 1e-9 * Math.abs(rate)) && !(Number.isNaN(value) && Number.isNaN(rate))) {
        expect.fail(`cell ${cell} has ${value}, the other reader has ${rate}`);
      }
    });
  });
}

describe('a generated grid', () => {
  const generated: Record<string, Bytes> = {
    'type 1': archive({'TASKDATA.XML': taskData(task(zones + grid(2, 3, 1))), 'GRD00001.BIN': new Uint8Array([0, 7, 7, 0, 9, 7])}),
    'type 2': prescription(),
    'several values': severalValues(),
  };

  it.each(Object.keys(generated))('of %s is the grid of an independent reader', async (name) => {
    const path = join(folder, 'generated.zip');
    writeFileSync(path, generated[name] as Bytes);
    expectSame(await read('a.zip', generated[name] as Bytes), independently([path])[0] as PlainGrid[]);
  });
});

describe('real archives', () => {
  const data = process.env['KELVO_TEST_DATA'];

  it.skipIf(!data)('have the grids of an independent reader', async () => {
    const prescriptions = join(data as string, 'prescriptions');
    const paths = readdirSync(prescriptions).filter((name) => name.endsWith('.zip')).map((name) => join(prescriptions, name));
    const wanted = independently(paths);
    expect(wanted.flat().length).toBeGreaterThan(0);
    for (const [index, path] of paths.entries()) {
      const reading = await read(path, new Uint8Array(readFileSync(path)) as Bytes);
      expectSame(reading, wanted[index] as PlainGrid[]);
      if (reading.layers.length === 0) expect(reading.names).not.toEqual([]);
    }
  });
});
