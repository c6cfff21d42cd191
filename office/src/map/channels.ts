// Sorts the values of a layer into classes, with their area.
import {colours, type Channel, type Extent, type Shapes, type ValueClass} from './model';

const classCount = colours.length - 1;
export const noClass = 255;

/** m² of a rectangle on the Earth. */
export function areaOf([west, south, east, north]: Extent): number {
  const radius = 6_371_007;
  const radians = Math.PI / 180;
  return radius ** 2 * (Math.sin(north * radians) - Math.sin(south * radians)) * (east - west) * radians;
}

export interface Classified {
  classes: ValueClass[];
  /** The class of each value, or noClass. */
  classOf: Uint8Array;
}

/** At most seven different values have a class each. More values have seven ranges of one width. */
export function classify(values: Float64Array, weightOf: (index: number) => number): Classified {
  const some = new Set<number>();
  let low = Infinity;
  let high = -Infinity;
  for (const value of values) {
    if (Number.isNaN(value) || value === 0) continue;
    if (some.size <= classCount) some.add(value);
    low = Math.min(low, value);
    high = Math.max(high, value);
  }
  const isExact = some.size <= classCount;
  const exact = [...some].sort((a, b) => a - b);
  const width = (high - low) / classCount;
  const ranges = isExact
    ? exact.map((value) => ({from: value, to: value, weight: 0}))
    : [...Array(classCount).keys()].map((each) => ({from: low + each * width, to: low + (each + 1) * width, weight: 0}));
  const classes = [{from: 0, to: 0, weight: 0}, ...ranges];
  const indexOf = new Map(exact.map((value, index) => [value, index + 1]));
  const classOf = new Uint8Array(values.length).fill(noClass);
  values.forEach((value, index) => {
    if (Number.isNaN(value)) return;
    const found = value === 0 ? 0
      : isExact ? indexOf.get(value) as number
        : 1 + Math.min(classCount - 1, Math.floor((value - low) / width));
    classOf[index] = found;
    (classes[found] as ValueClass).weight += weightOf(index);
  });
  return {classes, classOf};
}

/** The colour of a class. Few classes are spread over all colours. */
export function colourOf(index: number, count: number): string {
  if (index === 0) return colours[0];
  const last = classCount - 1;
  const place = count <= 2 ? Math.ceil(last / 2) : Math.round(((index - 1) * last) / (count - 2));
  return colours[1 + place] as string;
}

interface Named {
  name: string;
  unit: string;
}

/** A channel of areas: `areaAt` is in m². */
export function channelOfAreas({name, unit}: Named, values: Float64Array, areaAt: (index: number) => number,
    shapesOf: (classified: Classified) => Shapes[] = () => []): Channel {
  const classified = classify(values, areaAt);
  let areaM2 = 0;
  let sumHa = 0;
  values.forEach((value, index) => {
    if (Number.isNaN(value) || value === 0) return;
    areaM2 += areaAt(index);
    sumHa += (value * areaAt(index)) / 10_000;
  });
  return {name, unit, values, classes: classified.classes, areaM2, sumHa, shapes: shapesOf(classified)};
}

export function channelOfPoints({name, unit}: Named, values: Float64Array,
    shapesOf: (classified: Classified) => Shapes[]): Channel {
  const classified = classify(values, () => 1);
  return {name, unit, values, classes: classified.classes, areaM2: undefined, sumHa: undefined, shapes: shapesOf(classified)};
}
