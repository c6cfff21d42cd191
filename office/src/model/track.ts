// The track of a console on one day.
import {client, documentOf, type TrackPoint} from '../api/client';
import {rangeOf} from './day';

/** The largest page of the service. */
const pageSize = 1000;
/** A console reports a position a minute; more pages than that are a fault of a console. */
const mostPages = 10;

/** The positions received on the day, by the console's clock. Throws ServiceError. */
export async function readTrack(id: number, day: string): Promise<TrackPoint[]> {
  const points: TrackPoint[] = [];
  let cursor: string | null = null;
  for (let page = 0; page < mostPages; ++page) {
    const query = {...rangeOf(day), limit: pageSize, ...(cursor === null ? {} : {cursor})};
    const answer: {positions: TrackPoint[]; next: string | null} =
      await documentOf(client.GET('/consoles/{id}/track', {params: {path: {id}, query}}));
    points.push(...answer.positions);
    cursor = answer.next;
    if (cursor === null) break;
  }
  return points.sort((a, b) => a.time_s - b.time_s);
}
