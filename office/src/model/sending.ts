// Files on their way to inboxes. An upload continues after a lost link, and after a reload if the same file is chosen.
import {effect, signal, untracked} from '@preact/signals';
import {DetailedError, Upload, type HttpResponse} from 'tus-js-client';
import {apiPath, client} from '../api/client';
import {digestOf} from './digest';
import {user} from './farm';
import {fingerprintOf, noteSending} from './left_uploads';
import {link} from './session';

export type SendingState = 'waiting' | 'sending' | 'paused' | 'done' | 'failed';

/** Why a file was not sent. */
export type Failure =
  /** In the service's own sentence. */
  | {kind: 'refused'; detail: string}
  | {kind: 'noAnswer'}
  | {kind: 'unreadable'}
  /** The SHA-256 of the stored bytes is not the SHA-256 of the file. */
  | {kind: 'changed'}
  /** The page lacks a part, because the page on the service is new. */
  | {kind: 'renewed'};

export interface Sending {
  key: number;
  file: File;
  targets: readonly number[];
  /** Empty without a note. */
  note: string;
  state: SendingState;
  sentBytes: number;
  failure?: Failure;
}

/** The pauses between attempts. Then the upload waits until the page has its connection again. */
const retryDelays = [0, 1000, 3000, 5000, 10_000, 20_000, 30_000, 60_000];
const mostAtOnce = 2;

interface Running {
  upload: Upload;
  digest: Promise<string | undefined>;
  isUnreadable: boolean;
}

export const sendings = signal<readonly Sending[]>([]);
const running = new Map<number, Running>();
let lastKey = 0;
let letGo: (() => void) | undefined;

export const isUnfinished = ({state}: Sending): boolean => state !== 'done';

export function send(chosen: readonly File[], targets: readonly number[], note: string): void {
  const added = chosen.map((file): Sending => ({key: ++lastKey, file, targets, note, state: 'waiting', sentBytes: 0}));
  sendings.value = [...sendings.value, ...added];
  startNext();
}

export function pause(key: number): void {
  void running.get(key)?.upload.abort();
  change(key, {state: 'paused'});
  startNext();
}

export function resume(key: number): void {
  change(key, {state: 'waiting'});
  startNext();
}

/** Removes a finished line, or ends the upload and deletes its bytes on the service. */
export function remove(key: number): void {
  const upload = running.get(key)?.upload;
  const isDone = sendings.value.find((each) => each.key === key)?.state === 'done';
  running.delete(key);
  sendings.value = sendings.value.filter((each) => each.key !== key);
  if (upload && !isDone) void upload.abort(true).catch(() => undefined);
  startNext();
}

// The end of a session stops all files. The service keeps what it has: a later session may continue.
effect(() => {
  if (!user.value) stopAll();
});

effect(() => {
  if (link.value.kind === 'live') untracked(resumeUnanswered);
});

function resumeUnanswered(): void {
  for (const {key, failure} of sendings.value) if (failure?.kind === 'noAnswer') resume(key);
}

// Other tabs learn that these uploads are not left, and the browser asks before it leaves the page.
effect(() => {
  const isBusy = sendings.value.some(isUnfinished);
  if (isBusy && !letGo) noteSending(new Promise<void>((resolve) => {
    letGo = resolve;
  }));
  if (isBusy) return;
  letGo?.();
  letGo = undefined;
});

addEventListener('beforeunload', (event) => {
  if (letGo) event.preventDefault();
});

function stopAll(): void {
  for (const {upload} of running.values()) void upload.abort();
  running.clear();
  sendings.value = [];
}

function change(key: number, changes: Partial<Sending>): void {
  sendings.value = sendings.value.map((each) => {
    if (each.key !== key) return each;
    const {failure: _, ...rest} = each;
    return {...rest, ...changes};
  });
}

function startNext(): void {
  const count = sendings.value.filter(({state}) => state === 'sending').length;
  const waiting = sendings.value.filter(({state}) => state === 'waiting');
  for (const {key} of waiting.slice(0, Math.max(0, mostAtOnce - count))) {
    change(key, {state: 'sending'});
    void run(key);
  }
}

async function run(key: number): Promise<void> {
  const sending = sendings.value.find((each) => each.key === key);
  if (!sending) return;
  const {upload} = running.get(key) ?? begin(sending);
  if (!upload.url) {
    const earlier = (await upload.findPreviousUploads())[0];
    if (earlier) upload.resumeFromPreviousUpload(earlier);
  }
  upload.start();
}

function begin(sending: Sending): Running {
  const begun = {upload: newUpload(sending), digest: digestOf(sending.file), isUnreadable: false};
  running.set(sending.key, begun);
  return begun;
}

function newUpload({key, file, targets, note}: Sending): Upload {
  const finish = (changes: Partial<Sending>) => {
    change(key, changes);
    startNext();
  };
  return new Upload(file, {
    endpoint: `${apiPath}/uploads`,
    retryDelays,
    onShouldRetry: (error) => isWorthRetry(key, file, error),
    removeFingerprintOnSuccess: true,
    metadata: {name: file.name, targets: targets.join(','), ...(note && {note})},
    fingerprint: async () => fingerprintOf(file, targets, note),
    onProgress: (sentBytes) => change(key, {sentBytes}),
    onSuccess: async ({lastResponse}) => {
      const failure = await compare(key, lastResponse);
      finish(failure ? {state: 'failed', failure} : {state: 'done', sentBytes: file.size});
    },
    onError: async (error) => finish({state: 'failed', failure: await failureOf(error, file)}),
  });
}

/** The service's refusals are final. If the computer has no network, the upload tries again: the link is often back soon. */
function isWorthRetry(key: number, file: File, {originalResponse: response}: DetailedError): boolean {
  const begun = running.get(key);
  if (!response) void isReadable(file).then((isFine) => {
    if (begun) begun.isUnreadable = !isFine; // The next attempt learns it.
  });
  if (begun?.isUnreadable) return false;
  const status = response?.getStatus() ?? 0;
  return status < 400 || status >= 500 || status === 409 || status === 423 || status === 429;
}

/** Returns nothing if the service has stored the bytes of the file. Otherwise deletes the copy; the next attempt starts anew. */
async function compare(key: number, response: HttpResponse): Promise<Failure | undefined> {
  const digest = await running.get(key)?.digest;
  if (digest && response.getHeader('Repr-Digest') === `sha-256=:${digest}:`) return undefined;
  running.delete(key);
  const ids = (response.getHeader('Kelvo-File-Ids') ?? '').split(',').map(Number).filter((id) => id > 0);
  await Promise.all(ids.map((id) => client.DELETE('/resources/{id}', {params: {path: {id}}}).catch(() => undefined)));
  return {kind: digest ? 'changed' : digest === '' ? 'unreadable' : 'renewed'};
}

async function failureOf(error: Error | DetailedError, file: File): Promise<Failure> {
  const body = 'originalResponse' in error ? error.originalResponse?.getBody() : undefined;
  if (body) return {kind: 'refused', detail: detailOf(body)};
  return {kind: await isReadable(file) ? 'noAnswer' : 'unreadable'};
}

const isReadable = (file: File): Promise<boolean> => file.slice(0, 1).arrayBuffer().then(() => true, () => false);

function detailOf(body: string): string {
  try {
    return (JSON.parse(body) as {detail?: string}).detail ?? '';
  } catch {
    return '';
  }
}
