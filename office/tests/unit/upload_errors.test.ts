// The reason that an upload's line tells.
import type {HttpRequest, HttpResponse} from 'tus-js-client';
import {describe, expect, it} from 'vitest';
import {failureOf, keepUpload, maySucceedLater, type UploadError} from '../../src/model/upload_errors';

const file = new Blob(['x']);
const responseOf = (status: number, body = '') => ({getStatus: () => status, getBody: () => body}) as unknown as HttpResponse;
const errorOf = (causingError: unknown, originalResponse: HttpResponse | null) =>
  Object.assign(new Error(), {causingError, originalResponse}) as unknown as UploadError;

describe('a failed upload', () => {
  it.each([403, 429, 503])('was refused if the service answers its HEAD with %i', async (status) => {
    const head = {getMethod: () => 'HEAD'} as HttpRequest;
    let cause: unknown;
    try {
      keepUpload(head, responseOf(status));
    } catch (error) {
      cause = error;
    }
    expect(await failureOf(errorOf(cause, null), file)).toEqual({kind: 'refused', problem: undefined});
  });

  it('was refused in the words of the service', async () => {
    const problem = {type: 'urn:kelvo:problem:quota-exceeded', detail: 'The quota is full.'};
    const response = responseOf(507, JSON.stringify(problem));
    expect(await failureOf(errorOf(null, response), file)).toEqual({kind: 'refused', problem});
  });

  it('is tried again if the store is full, but not at a limit of the farm', () => {
    const later = ['insufficient-storage', 'quota-exceeded'].map((kind) =>
      maySucceedLater(errorOf(null, responseOf(507, JSON.stringify({type: `urn:kelvo:problem:${kind}`})))));
    expect(later).toEqual([true, false]);
  });

  it('has no answer if the network fails, or if a portal redirects it', async () => {
    expect(await failureOf(errorOf(new TypeError('network'), null), file)).toEqual({kind: 'noAnswer'});
    expect(await failureOf(errorOf(null, responseOf(302, '<html>')), file)).toEqual({kind: 'noAnswer'});
  });
});
