// Lines and polygons in degrees.
import {areaOf, type Classified} from './channels';
import {metresOfDegree, type Extent, type Shapes} from './model';

/** Longitude and latitude. */
export type Point = readonly [number, number];
/** The outline and the holes of a polygon, or the one part of a line. */
export type Parts = readonly (readonly Point[])[];

interface Line {
  attributes: {Point?: readonly {attributes: {PointEast: number; PointNorth: number}}[]};
}

/** The valid points of a line of task data. */
export const pointsOf = (line: Line): Point[] => (line.attributes.Point ?? [])
  .map(({attributes}): Point => [attributes.PointEast, attributes.PointNorth])
  .filter(([x, y]) => Math.abs(x) <= 180 && Math.abs(y) <= 90);

export function extentOf(all: readonly Parts[]): Extent {
  let [west, south, east, north] = [Infinity, Infinity, -Infinity, -Infinity];
  for (const parts of all) {
    for (const part of parts) {
      for (const [x, y] of part) {
        west = Math.min(west, x);
        east = Math.max(east, x);
        south = Math.min(south, y);
        north = Math.max(north, y);
      }
    }
  }
  return [west, south, east, north];
}

export function shapesOf(kind: Shapes['kind'], all: readonly Parts[]): Shapes {
  const flat: number[] = [];
  const partEnds = all.map((parts) => parts.map((part) => {
    for (const [x, y] of part) flat.push(x, y);
    return flat.length;
  }));
  return {kind, flat: Float64Array.from(flat), partEnds};
}

/** The shapes of each class. */
export function shapesByClass(kind: Shapes['kind'], all: readonly Parts[], {classes, classOf}: Classified): Shapes[] {
  return classes.map((_, wanted) => shapesOf(kind, all.filter((_parts, index) => classOf[index] === wanted)));
}

/** m² of a polygon: on a plane that touches the Earth at its middle. */
export function polygonArea(parts: Parts): number {
  const [, south, , north] = extentOf([parts]);
  const unit = areaOf([0, (south + north) / 2 - 0.005, 0.01, (south + north) / 2 + 0.005]) / 0.0001;
  const [outline = 0, ...holes] = parts.map((part) => Math.abs(signedArea(part)) * unit);
  return outline - holes.reduce((sum, each) => sum + each, 0);
}

function signedArea(part: readonly Point[]): number {
  const [x0, y0] = part[0] ?? [0, 0];
  let sum = 0;
  part.forEach(([x, y], index) => {
    const [nextX, nextY] = part[(index + 1) % part.length] as Point;
    sum += (x - x0) * (nextY - y0) - (nextX - x0) * (y - y0);
  });
  return sum / 2;
}

/** The kilometres between two rectangles; 0 if they touch. */
export function distanceKm(a: Extent, b: Extent): number {
  const middle = (Math.max(a[1], b[1]) + Math.min(a[3], b[3])) / 2;
  const gap = (low: number, high: number) => Math.max(0, low - high);
  const east = (gap(a[0], b[2]) + gap(b[0], a[2])) * Math.cos((middle * Math.PI) / 180);
  const north = gap(a[1], b[3]) + gap(b[1], a[3]);
  return (Math.hypot(east, north) * metresOfDegree) / 1000;
}
