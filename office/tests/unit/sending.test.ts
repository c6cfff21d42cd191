// Files on their way while the service refuses them.
import {beforeEach, describe, expect, it, vi} from 'vitest';
import {send, sendings} from '../../src/model/sending';
import type {UploadError} from '../../src/model/upload_errors';

const uploads = vi.hoisted(() => ({answer: '', begun: 0, digests: 0, isBusy: true, hasFiles: true}));
vi.mock('../../src/model/digest', () => ({digestOf: async () => `${++uploads.digests}`}));
vi.mock('tus-js-client', () => ({
  defaultOptions: {urlStorage: {addUpload: async () => undefined, findUploadsByFingerprint: async () => []}},
  Upload: class {
    constructor(_file: File, private readonly options: {onError(error: UploadError): void; onSuccess(success: object): void}) {
      ++uploads.begun;
    }

    findPreviousUploads = async () => [];
    abort = async () => undefined;
    start(): void {
      if (uploads.isBusy) this.options.onError(busy());
      else this.options.onSuccess({lastResponse: {getHeader: (name: string) => (name === 'Kelvo-File-Ids' && uploads.hasFiles ? '7' : '')}});
    }
  },
}));

const busy = () => Object.assign(new Error('busy'), {causingError: null,
  originalResponse: {getStatus: () => (uploads.answer ? 507 : 503), getBody: () => uploads.answer, getHeader: () => undefined}}) as unknown as UploadError;

const states = () => sendings.value.map(({state, failure}) => (failure ? `${state} ${failure.kind}` : state));

describe('ten files', () => {
  beforeEach(() => {
    vi.useFakeTimers();
    return () => vi.useRealTimers();
  });

  it('begin two at a time, also while the service answers 503, and all are sent afterwards', async () => {
    vi.stubGlobal('navigator', {locks: {request: async () => undefined}});
    send([...Array(10).keys()].map((index) => new File(['x'], `${index}.zip`)), [2], '');
    await vi.advanceTimersByTimeAsync(60_000);
    expect([uploads.begun, uploads.digests]).toEqual([2, 2]);
    expect(states()).toEqual([...Array(2).fill('waiting refused'), ...Array(8).fill('waiting')]);
    uploads.isBusy = false;
    await vi.advanceTimersByTimeAsync(60_000);
    expect(states()).toEqual(Array(10).fill('done notCompared'));
  });

  it('are not sent at a limit of the farm, and keep no place', async () => {
    vi.stubGlobal('navigator', {locks: {request: async () => undefined}});
    Object.assign(uploads, {isBusy: true, answer: '{"type": "urn:kelvo:problem:quota-exceeded"}'});
    sendings.value = [];
    send([1, 2, 3].map((index) => new File(['x'], `${index}.zip`)), [2], '');
    await vi.advanceTimersByTimeAsync(60_000);
    expect(states()).toEqual(Array(3).fill('failed refused'));
  });

  it('are not done before the service has made the files', async () => {
    vi.stubGlobal('navigator', {locks: {request: async () => undefined}});
    Object.assign(uploads, {isBusy: false, hasFiles: false});
    send([new File(['x'], 'whole.zip')], [2], '');
    await vi.advanceTimersByTimeAsync(60_000);
    expect(states().at(-1)).toBe('waiting noAnswer');
    uploads.hasFiles = true;
    await vi.advanceTimersByTimeAsync(60_000);
    expect(states().at(-1)).toBe('done notCompared');
  });
});
