// The track of a day, which grows while its console moves.
import {afterEach, beforeEach, describe, expect, it, vi} from 'vitest';
import type {Console} from '../../src/api/client';
import {dayOf} from '../../src/model/day';
import {forgetAll, takeConsoles} from '../../src/model/farm';
import {reconnections} from '../../src/model/session';
import {followTrack} from '../../src/model/track';

const reads: number[] = [];
let answer: () => Promise<object>;
vi.mock('../../src/api/client', async (original) => ({
  ...(await original<object>()),
  client: {GET: () => {
    reads.push(Date.now());
    return answer();
  }},
}));

const startMs = Date.UTC(2026, 4, 17, 12);
const noPoints = async () => ({data: {positions: [], next: null}, response: new Response()});
let stop: () => void = () => undefined;

/** The service receives a position of the console. */
function receive(receivedMs: number): void {
  const position = {time_s: 100, latitude: 51, longitude: 5, received_at: new Date(receivedMs).toISOString()};
  takeConsoles([{id: 3, console_string: '', hardware_address: '', operator: {id: 7, name: 'olga'}, environment: null, devices: [],
    position, last_contact_at: '1970-01-01T00:00:00Z'} satisfies Console]);
}

describe('the track of a day', () => {
  beforeEach(() => {
    vi.useFakeTimers({now: startMs});
    forgetAll();
    reads.length = 0;
    answer = noPoints;
  });
  afterEach(() => {
    stop();
    vi.useRealTimers();
  });

  it('is read again at most every 30 s while the console moves', async () => {
    stop = followTrack(3, dayOf(startMs), () => undefined, () => undefined);
    for (let second = 1; second <= 65; ++second) {
      await vi.advanceTimersByTimeAsync(1000);
      receive(Date.now());
    }
    expect(reads.map((each) => Math.round((each - startMs) / 1000))).toEqual([0, 30, 60]);
  });

  it('is read again at once after a position that comes after a pause, and after a lost connection', async () => {
    stop = followTrack(3, dayOf(startMs), () => undefined, () => undefined);
    await vi.advanceTimersByTimeAsync(60_000);
    receive(Date.now());
    await vi.advanceTimersByTimeAsync(1);
    expect(reads).toHaveLength(2);
    await vi.advanceTimersByTimeAsync(60_000);
    ++reconnections.value;
    await vi.advanceTimersByTimeAsync(1);
    expect(reads).toHaveLength(3);
  });

  it('of an earlier day is not read again after a position of today', async () => {
    stop = followTrack(3, '2026-05-01', () => undefined, () => undefined);
    await vi.advanceTimersByTimeAsync(60_000);
    receive(Date.now());
    await vi.advanceTimersByTimeAsync(60_000);
    expect(reads).toHaveLength(1);
  });

  it('is not shown after another day was chosen', async () => {
    const shown = vi.fn();
    stop = followTrack(3, dayOf(startMs), shown, shown);
    let give: () => void = () => undefined;
    answer = () => new Promise((resolve) => {
      give = () => void noPoints().then(resolve);
    });
    await vi.advanceTimersByTimeAsync(1);
    stop();
    give();
    await vi.advanceTimersByTimeAsync(1);
    expect(shown).not.toHaveBeenCalled();
  });
});
