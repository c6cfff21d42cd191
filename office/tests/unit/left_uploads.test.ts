// The uploads that an earlier page has begun.
import {beforeEach, describe, expect, it, vi} from 'vitest';
import {defaultOptions} from 'tus-js-client';
import {forgetAll, takeSnapshot} from '../../src/model/farm';
import {findLeftUploads, fingerprintOf, forgetWaiting, isSame, leftUploads, noteWaiting, unlistSame} from '../../src/model/left_uploads';
import '../../src/model/sending';

const file = {name: 'a.zip', size: 5, lastModified: 1} as File;

function logIn(id: number): void {
  const inbox = {id: 2, kind: 'user-inbox' as const, name: 'olga', project: 1, owner: {id: 7, name: 'olga'}, entries: []};
  takeSnapshot({user: {id, name: 'user', role: 'office', disabled: false, farm: {id: 1, name: 'Hill Farm'}}, cursor: '5',
    projects: [{id: 1, kind: 'project', name: 'To Console', resources: [inbox]}]});
}

describe('an upload that is left', () => {
  beforeEach(async () => {
    vi.stubGlobal('navigator', {locks: {query: async () => ({})}});
    logIn(8);
    const begun = {size: 5, metadata: {name: 'a.zip', targets: '2'}, creationTime: new Date().toString(),
      urlStorageKey: `tus::${fingerprintOf(file, [2], '')}::1`, uploadUrl: '/1', parallelUploadUrls: null};
    Object.assign(defaultOptions.urlStorage, {findAllUploads: async () => [begun]});
    await findLeftUploads();
  });

  it('is listed for its owner', () => {
    expect(leftUploads.value.map(({name}) => name)).toEqual(['a.zip']);
  });

  it('is listed without its bytes if it waited', async () => {
    const stored: object[] = [];
    Object.assign(defaultOptions.urlStorage, {
      addUpload: async (fingerprint: string, upload: object) => stored.push({...upload, urlStorageKey: `tus::${fingerprint}::2`}),
      findAllUploads: async () => stored,
      findUploadsByFingerprint: async () => stored,
      removeUpload: async () => stored.pop(),
    });
    const waiting = {file, targets: [2], note: 'south'};
    await noteWaiting(waiting);
    await findLeftUploads();
    expect(leftUploads.value).toMatchObject([{name: 'a.zip', targets: [2], note: 'south', address: ''}]);
    expect(isSame(leftUploads.value[0]!, file)).toBe(true);
    await forgetWaiting(waiting);
    expect(stored).toEqual([]);
  });

  it('is not listed any more when the same file is sent to the same inbox with the same note', () => {
    unlistSame(file, [2], 'south');
    unlistSame(file, [2, 3], '');
    unlistSame({...file, size: 6}, [2], '');
    expect(leftUploads.value.length).toBe(1);
    unlistSame(file, [2], '');
    expect(leftUploads.value).toEqual([]);
  });

  it('is not listed any more when the session ends', () => {
    forgetAll();
    expect(leftUploads.value).toEqual([]);
  });

  it('is not listed for another user', async () => {
    forgetAll();
    logIn(9);
    await findLeftUploads();
    expect(leftUploads.value).toEqual([]);
  });
});
