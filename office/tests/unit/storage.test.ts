// The shares of the quota that a farm and its users use.
import {describe, expect, it} from 'vitest';
import {amountsOf, asksForRoom} from '../../src/model/storage';
import {percentText} from '../../src/texts';

const usage = {bytes: 600, files: 4, bin_bytes: 100, bin_files: 1, uploads: 2, upload_bytes: 300, upload_files: 3, sessions: 3, users: 4};
const limits = {bytes: 1000, files: 10, uploads: 2, positions: 60, users: 5};

describe('the use of a quota', () => {
  it('counts the bytes and the files of the uploads in progress, and the bin only once', () => {
    expect(amountsOf(usage, limits)).toEqual([
      {kind: 'bytes', used: 900, limit: 1000, share: 0.9, fill: 'nearlyFull'},
      {kind: 'files', used: 7, limit: 10, share: 0.7, fill: 'free'},
      {kind: 'uploads', used: 2, limit: 2, share: 1, fill: 'full'},
      {kind: 'users', used: 4, limit: 5, share: 0.8, fill: 'free'},
    ]);
  });

  it('has no amount and counts no files that an older service does not tell', () => {
    const {upload_files: _, users: _users, ...older} = usage;
    expect(amountsOf(older, limits).map(({kind, used}) => [kind, used])).toEqual([['bytes', 900], ['files', 4], ['uploads', 2]]);
  });

  it('has the sessions of a user, which are never full: a login ends the oldest session', () => {
    expect(amountsOf(usage, {...limits, sessions: 3}).at(-1)).toMatchObject({kind: 'sessions', used: 3, limit: 3, fill: 'free'});
  });

  it('asks for room only near the limit of the space or of the files', () => {
    expect(asksForRoom(amountsOf({...usage, bytes: 0}, limits)), 'only uploads').toBe(false);
    expect(asksForRoom(amountsOf(usage, limits)), 'space').toBe(true);
    expect(asksForRoom(amountsOf({...usage, bytes: 0, files: 6}, limits)), 'files').toBe(true);
  });

  it('is full if the limit was lowered to nothing', () => {
    expect(amountsOf({...usage, files: 0, upload_files: 0}, {...limits, files: 0})[1]).toMatchObject({share: 1, fill: 'full'});
    expect(amountsOf(usage, {...limits, files: 2})[1]).toMatchObject({share: 3.5, fill: 'full'});
  });

  it('has 100 % only if the quota is full', () => {
    expect([0.9999, 1, 0.0004, 0.123].map(percentText)).toEqual(['99.9%', '100%', '0%', '12.3%']);
  });
});
