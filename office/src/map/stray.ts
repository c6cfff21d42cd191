// Shapes far from almost all others, for example points without a GPS fix. An image of all would show the others as one spot.
import type {Channel, Extent, Layer, Shapes} from './model';
import {isHeavy} from './paint_shapes';

const sampleSize = 20_000;
/** On each side, at most this share of the points is far. */
const farShare = 0.02;
/** In widths of the area that has the other points. */
const farWidths = 3;

/** Takes the stray shapes from the layer and its extent, unless they are many. Returns them for each channel. */
export function takeStray(layer: Layer): Shapes[][] {
  const {channels} = layer;
  const box = nearBox(channels);
  const stray = channels.map(({shapes}) => shapes.map((each) => choose(each, box, false)));
  const isNone = stray.every((shapes) => shapes.every(({flat}) => flat.length === 0));
  if (isNone || stray.some((shapes) => isHeavy({shapes}))) return channels.map(() => []);
  for (const channel of channels) channel.shapes = channel.shapes.map((each) => choose(each, box, true));
  layer.extent = extentOfAll(channels);
  return stray;
}

const flatsOf = (channels: readonly Channel[]) => channels.flatMap(({shapes}) => shapes.map(({flat}) => flat));

function nearBox(channels: readonly Channel[]): Extent {
  const flats = flatsOf(channels);
  const step = 2 * Math.ceil(flats.reduce((sum, {length}) => sum + length / 2, 0) / sampleSize);
  const range = (axis: 0 | 1) => {
    const sample: number[] = [];
    for (const flat of flats) for (let at: number = axis; at < flat.length; at += step) sample.push(flat[at] as number);
    sample.sort((a, b) => a - b);
    const low = Math.floor(farShare * (sample.length - 1));
    return [sample[low] as number, sample.at(-1 - low) as number] as const;
  };
  const [west, east] = range(0);
  const [south, north] = range(1);
  const width = farWidths * Math.max(east - west, north - south);
  return [west - width, south - width, east + width, north + width];
}

/** The shapes that are in the box, or those that are not. */
function choose({kind, flat, partEnds}: Shapes, [west, south, east, north]: Extent, isWantedInside: boolean): Shapes {
  const chosen: number[] = [];
  const ends: number[][] = [];
  let start = 0;
  for (const parts of partEnds) {
    const end = parts.at(-1) ?? start;
    let isInside = true;
    for (let at = start; at < end; at += 2) {
      const [x, y] = [flat[at] as number, flat[at + 1] as number];
      isInside &&= x >= west && x <= east && y >= south && y <= north;
    }
    if (isInside === isWantedInside) {
      const shift = chosen.length - start;
      ends.push(parts.map((each) => each + shift));
      for (let at = start; at < end; ++at) chosen.push(flat[at] as number);
    }
    start = end;
  }
  return {kind, flat: Float64Array.from(chosen), partEnds: ends};
}

function extentOfAll(channels: readonly Channel[]): Extent {
  let [west, south, east, north] = [Infinity, Infinity, -Infinity, -Infinity];
  for (const flat of flatsOf(channels)) {
    for (let at = 0; at < flat.length; at += 2) {
      const [x, y] = [flat[at] as number, flat[at + 1] as number];
      [west, south, east, north] = [Math.min(west, x), Math.min(south, y), Math.max(east, x), Math.max(north, y)];
    }
  }
  return [west, south, east, north];
}
