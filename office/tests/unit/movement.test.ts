// Speed and heading from two positions, and the range of a day.
import {describe, expect, it} from 'vitest';
import {dayOf, rangeOf} from '../../src/model/day';
import {movementBetween} from '../../src/model/movement';

const at = (time_s: number, latitude: number, longitude: number) => ({time_s, latitude, longitude});

describe('the movement between two positions', () => {
  it.each([[0.001, 0, 0], [0, 0.001, 90], [-0.001, 0, 180], [0, -0.001, 270]])('%f° north and %f° east is %f°', (north, east, heading) => {
    expect(movementBetween(at(0, 0, 0), at(40, north, east))).toEqual({speedKmh: expect.closeTo(10.008, 2), heading});
  });

  it('of some metres is standing', () => {
    expect(movementBetween(at(0, 51, 5), at(60, 51.00001, 5))).toEqual({speedKmh: 0, heading: undefined});
  });

  it('is not known for old, equal or wrong times', () => {
    for (const seconds of [601, 0, -1]) expect(movementBetween(at(0, 51, 5), at(seconds, 51.01, 5))).toBeUndefined();
  });
});

describe('the range of a day', () => {
  it('is from midnight to midnight', () => {
    const {from, to} = rangeOf('2026-12-31');
    expect([new Date(from).getHours(), new Date(from).getDate(), new Date(to).getHours(), new Date(to).getDate()]).toEqual([0, 31, 0, 1]);
    expect(dayOf(from)).toBe('2026-12-31');
  });
});
