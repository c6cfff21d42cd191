// The comparison of a file with its stored copy.
import type {HttpResponse} from 'tus-js-client';
import {beforeEach, describe, expect, it, vi} from 'vitest';
import {compare} from '../../src/model/stored_copy';

const deleted: number[] = [];
let answer: () => Response;
vi.mock('../../src/api/client', async (original) => ({
  ...(await original<object>()),
  client: {
    DELETE: async (_path: string, {params: {path: {id}}}: {params: {path: {id: number}}}) => {
      deleted.push(id);
      const response = answer();
      return response.ok ? {response} : {response, error: await response.json()};
    },
  },
}));

const responseOf = (headers: Record<string, string>) =>
  ({getHeader: (name: string) => headers[name]}) as unknown as HttpResponse;
const stored = (digest: string) => responseOf({'Repr-Digest': digest, 'Kelvo-File-Ids': '7,8'});
const problem = (status: number) => new Response(JSON.stringify({type: 'urn:x', status, detail: ''}), {status});

describe('a stored copy', () => {
  beforeEach(() => {
    deleted.length = 0;
    answer = () => new Response(null, {status: 204});
  });

  it('with the SHA-256 of the file stays', async () => {
    expect(await compare('abc=', stored('sha-256=:abc=:'))).toBeUndefined();
    expect(await compare('abc=', stored('sha-512=:x:, sha-256=:abc=:'))).toBeUndefined();
    expect(deleted).toEqual([]);
  });

  it('stays if one of the two SHA-256 is missing', async () => {
    for (const digest of ['', undefined]) expect(await compare(digest, stored('sha-256=:abc=:'))).toEqual({kind: 'notCompared'});
    for (const header of ['', 'sha-256=::', 'sha-512=:abc=:']) expect(await compare('abc=', stored(header))).toEqual({kind: 'notCompared'});
    expect(await compare('abc=', responseOf({'Kelvo-File-Ids': '7'}))).toEqual({kind: 'notCompared'});
    expect(deleted).toEqual([]);
  });

  it('with other bytes is deleted', async () => {
    expect(await compare('abc=', stored('sha-256=:other=:'))).toEqual({kind: 'changed'});
    expect(deleted).toEqual([7, 8]);
    answer = () => problem(404); // It is gone already.
    expect(await compare('abc=', stored('sha-256=:other=:'))).toEqual({kind: 'changed'});
  });

  it('that cannot be deleted is told', async () => {
    answer = () => problem(503);
    expect(await compare('abc=', stored('sha-256=:other=:'))).toEqual({kind: 'changedKept'});
    answer = () => {
      throw new TypeError('network');
    };
    expect(await compare('abc=', stored('sha-256=:other=:'))).toEqual({kind: 'changedKept'});
    expect(await compare('abc=', responseOf({'Repr-Digest': 'sha-256=:other=:'}))).toEqual({kind: 'changedKept'});
  });
});
