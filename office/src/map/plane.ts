// The plane of web maps: metres east and north of 0°, 0° on a sphere. The plane has no poles.
import type {Point} from './geometry';
import type {Shapes} from './model';

const radius = 6_378_137;
const mostLatitude = 85;

export const limited = (latitude: number): number => Math.max(-mostLatitude, Math.min(mostLatitude, latitude));

export function toPlane([longitude, latitude]: Point): [number, number] {
  const radians = Math.PI / 180;
  return [radius * longitude * radians, radius * Math.log(Math.tan(Math.PI / 4 + (limited(latitude) * radians) / 2))];
}

/** Changes the coordinates from degrees to the plane. */
export function project({flat}: Shapes): void {
  for (let index = 0; index < flat.length; index += 2) {
    flat.set(toPlane([flat[index] as number, flat[index + 1] as number]), index);
  }
}
