// Speed and heading of a console, from two of its positions: consoles report places and times only.
import {metresOfDegree} from '../map/model';

export interface Place {
  /** By the console's clock. */
  time_s: number;
  latitude: number;
  longitude: number;
}

export interface Movement {
  speedKmh: number;
  /** Degrees from north, clockwise; undefined if the console does not move. */
  heading: number | undefined;
}

/** Positions farther apart say nothing about the speed now. */
const longestS = 10 * 60;
/** Receivers wander by some metres. */
const standingM = 5;

/** Returns undefined if the times are equal, in the wrong order or too far apart. */
export function movementBetween(before: Place, after: Place): Movement | undefined {
  const seconds = after.time_s - before.time_s;
  if (!(seconds > 0 && seconds <= longestS)) return undefined;
  const north = (after.latitude - before.latitude) * metresOfDegree;
  const east = (after.longitude - before.longitude) * metresOfDegree * Math.cos((after.latitude * Math.PI) / 180);
  const metres = Math.hypot(north, east);
  if (metres < standingM) return {speedKmh: 0, heading: undefined};
  return {speedKmh: (metres / seconds) * 3.6, heading: ((Math.atan2(east, north) * 180) / Math.PI + 360) % 360};
}
