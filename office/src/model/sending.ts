// Files on their way to inboxes. An upload continues after a lost link, and after a reload if the same file is chosen.
import {effect, signal} from '@preact/signals';
import {DetailedError, Upload} from 'tus-js-client';
import {apiPath} from '../api/client';
import {user} from './farm';

export type SendingState = 'waiting' | 'sending' | 'paused' | 'done' | 'failed';

export interface Sending {
  key: number;
  file: File;
  targets: readonly number[];
  state: SendingState;
  sentBytes: number;
  /** The service's own sentence, or empty if there was no answer. */
  error: string;
}

/** The pauses between attempts; afterwards the user is asked. A dropped rural link is often back within minutes. */
const retryDelays = [0, 1000, 3000, 5000, 10_000, 20_000, 30_000, 60_000];
const mostAtOnce = 2;

export const sendings = signal<readonly Sending[]>([]);
const uploads = new Map<number, Upload>();
let lastKey = 0;

export function send(chosen: readonly File[], targets: readonly number[]): void {
  const added = chosen.map((file): Sending =>
    ({key: ++lastKey, file, targets, state: 'waiting', sentBytes: 0, error: ''}));
  sendings.value = [...sendings.value, ...added];
  startNext();
}

export function pause(key: number): void {
  void uploads.get(key)?.abort();
  change(key, {state: 'paused'});
  startNext();
}

export function resume(key: number): void {
  change(key, {state: 'waiting', error: ''});
  startNext();
}

/** Removes a finished line, or ends the upload and deletes its bytes on the service. */
export function remove(key: number): void {
  const upload = uploads.get(key);
  const isDone = sendings.value.find((each) => each.key === key)?.state === 'done';
  uploads.delete(key);
  sendings.value = sendings.value.filter((each) => each.key !== key);
  if (upload && !isDone) void upload.abort(true).catch(() => undefined);
  startNext();
}

// The end of a session stops all files. The service keeps what it has: a later session may continue.
effect(() => {
  if (!user.value) stopAll();
});

function stopAll(): void {
  for (const upload of uploads.values()) void upload.abort();
  uploads.clear();
  sendings.value = [];
}

function change(key: number, changes: Partial<Sending>): void {
  sendings.value = sendings.value.map((each) => (each.key === key ? {...each, ...changes} : each));
}

function startNext(): void {
  const running = sendings.value.filter(({state}) => state === 'sending').length;
  const waiting = sendings.value.filter(({state}) => state === 'waiting');
  for (const {key} of waiting.slice(0, mostAtOnce - running)) {
    change(key, {state: 'sending'});
    void run(key);
  }
}

async function run(key: number): Promise<void> {
  const sending = sendings.value.find((each) => each.key === key);
  if (!sending) return;
  const upload = uploads.get(key) ?? newUpload(sending);
  uploads.set(key, upload);
  if (!upload.url) {
    const earlier = (await upload.findPreviousUploads())[0];
    if (earlier) upload.resumeFromPreviousUpload(earlier);
  }
  upload.start();
}

function newUpload({key, file, targets}: Sending): Upload {
  const finish = (changes: Partial<Sending>) => {
    change(key, changes);
    startNext();
  };
  return new Upload(file, {
    endpoint: `${apiPath}/uploads`,
    retryDelays,
    removeFingerprintOnSuccess: true,
    metadata: {name: file.name, targets: targets.join(',')},
    // The same file for other inboxes is another upload.
    fingerprint: async () => ['kelvo', file.name, file.size, file.lastModified, targets.join(',')].join('|'),
    onProgress: (sentBytes) => change(key, {sentBytes}),
    onSuccess: () => finish({state: 'done', sentBytes: file.size}),
    onError: (error) => finish({state: 'failed', error: detailOf(error)}),
  });
}

function detailOf(error: Error | DetailedError): string {
  const body = 'originalResponse' in error ? error.originalResponse?.getBody() : undefined;
  try {
    return body ? (JSON.parse(body) as {detail?: string}).detail ?? '' : '';
  } catch {
    return '';
  }
}
