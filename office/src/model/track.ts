// The track of a console on one day.
import {computed} from '@preact/signals';
import {client, documentOf, type TrackPoint} from '../api/client';
import {dayOf, rangeOf} from './day';
import {consoles} from './farm';
import {reconnections} from './session';

/** The largest page of the service. */
const pageSize = 1000;
/** A console reports a position a minute; more pages than that are a fault of a console. */
const mostPages = 10;
/** A read follows the read before after this time. */
const pauseMs = 30_000;

/**
 * Reads the track, and reads it again after a position of this day and when a lost connection is back. Returns the function
 * that ends this.
 */
export function followTrack(id: number, day: string, onRead: (points: TrackPoint[]) => void, onError: (error: unknown) => void): () => void {
  let isCurrent = true;
  let timer: ReturnType<typeof setTimeout> | undefined;
  let lastMs = 0;
  const read = () => {
    timer = undefined;
    lastMs = Date.now();
    readTrack(id, day).then((points) => isCurrent && onRead(points), (error: unknown) => isCurrent && onError(error));
  };
  const newest = computed(() => {
    const received = consoles.value.get(id)?.position?.received_at;
    return `${reconnections.value} ${received && dayOf(received) === day ? received : ''}`;
  });
  const stop = newest.subscribe(() => {
    timer ??= setTimeout(read, lastMs + pauseMs - Date.now());
  });
  return () => {
    isCurrent = false;
    stop();
    clearTimeout(timer);
  };
}

/** The positions received on the day, by the console's clock. Throws ServiceError. */
async function readTrack(id: number, day: string): Promise<TrackPoint[]> {
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
