// Files on their way to inboxes. An upload continues after a lost link, and after a reload if the same file is chosen.
import {effect, signal, untracked} from '@preact/signals';
import {Upload, type HttpResponse} from 'tus-js-client';
import {apiPath} from '../api/client';
import {digestOf} from './digest';
import {user} from './farm';
import {fingerprintOf, forgetWaiting, leftUploads, metadataOf, noteSending, noteWaiting, unlistSame} from './left_uploads';
import {link} from './session';
import {compare} from './stored_copy';
import {failureOf, keepUpload, maySucceedLater, pauseMs, type Failure, type UploadError} from './upload_errors';

export type SendingState = 'waiting' | 'sending' | 'paused' | 'done' | 'failed';

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

/** The pauses between attempts to delete the bytes of a removed upload. */
const deletionDelays = [0, 1000, 3000, 5000, 10_000, 20_000, 30_000, 60_000];
const mostAtOnce = 2;
/** The browser's storage is small. */
const mostNoted = 1000;

interface Running {
  upload: Upload;
  digest: Promise<string | undefined>;
  /** Failed attempts since the upload last had more bytes than before. */
  failures: number;
  mostBytes: number;
}

export const sendings = signal<readonly Sending[]>([]);
const running = new Map<number, Running>();
let lastKey = 0;
let letGo: (() => void) | undefined;

export const isUnfinished = ({state}: Sending): boolean => state !== 'done';

export function send(chosen: readonly File[], targets: readonly number[], note: string): void {
  const added = chosen.map((file): Sending => ({key: ++lastKey, file, targets, note, state: 'waiting', sentBytes: 0}));
  for (const file of chosen) unlistSame(file, targets, note);
  for (const each of added.slice(0, mostNoted)) void noteWaiting(each);
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
  const removed = sendings.value.find((each) => each.key === key);
  const isDone = removed?.state === 'done';
  if (removed) void forgetWaiting(removed);
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
  if (link.value.kind === 'live') untracked(resumeWaiting);
});

function resumeWaiting(): void {
  for (const {key, state} of sendings.value) if (state === 'waiting') resume(key);
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
  leftUploads.value = [];
}

function change(key: number, changes: Partial<Sending>): void {
  sendings.value = sendings.value.map((each) => {
    if (each.key !== key) return each;
    const {failure: _, ...rest} = each;
    return {...rest, ...changes};
  });
}

/** A file between two attempts keeps its place: during an outage no further file begins. */
function startNext(): void {
  const count = sendings.value.filter(({state, failure}) => state === 'sending' || (state === 'waiting' && failure)).length;
  const waiting = sendings.value.filter(({state, failure}) => state === 'waiting' && !failure);
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
    const earlier = (await upload.findPreviousUploads()).find(({uploadUrl}) => uploadUrl);
    if (earlier) upload.resumeFromPreviousUpload(earlier);
  }
  if (isSending(key)) upload.start();
}

const isSending = (key: number): boolean => sendings.value.some((each) => each.key === key && each.state === 'sending');

function begin(sending: Sending): Running {
  const begun: Running = {upload: newUpload(sending), digest: digestOf(sending.file), failures: 0, mostBytes: 0};
  running.set(sending.key, begun);
  return begun;
}

function newUpload({key, file, targets, note}: Sending): Upload {
  return new Upload(file, {
    endpoint: `${apiPath}/uploads`,
    retryDelays: deletionDelays,
    onShouldRetry: (error) => error.originalRequest.getMethod() === 'DELETE' && maySucceedLater(error),
    onAfterResponse: keepUpload,
    removeFingerprintOnSuccess: true,
    metadata: metadataOf(file, targets, note),
    fingerprint: async () => fingerprintOf(file, targets, note),
    onUploadUrlAvailable: () => void forgetWaiting({file, targets, note}),
    onProgress: (sentBytes) => noteProgress(key, sentBytes),
    onSuccess: ({lastResponse}) => void takeSuccess(key, file, lastResponse),
    onError: (error) => void takeError(key, file, error),
  });
}

function noteProgress(key: number, sentBytes: number): void {
  const begun = running.get(key);
  if (begun && sentBytes > begun.mostBytes) Object.assign(begun, {failures: 0, mostBytes: sentBytes});
  change(key, {sentBytes});
}

async function takeSuccess(key: number, file: File, response: HttpResponse): Promise<void> {
  if (!response.getHeader('Kelvo-File-Ids')) return takeError(key, file, new Error()); // The library counts bytes only.
  const digest = await running.get(key)?.digest || await digestOf(file);
  const failure = await compare(digest, response);
  running.delete(key); // Another attempt starts anew.
  const isDone = !failure || failure.kind === 'notCompared';
  change(key, {state: isDone ? 'done' : 'failed', sentBytes: file.size, ...(failure && {failure})});
  startNext();
}

async function takeError(key: number, file: File, error: UploadError): Promise<void> {
  const failure = await failureOf(error, file);
  if (!isSending(key)) return;
  const isWaiting = failure.kind !== 'unreadable' && maySucceedLater(error);
  change(key, {state: isWaiting ? 'waiting' : 'failed', failure});
  const begun = running.get(key);
  if (isWaiting && begun) setTimeout(() => resumeAfter(failure), pauseMs(error, begun.failures++));
  startNext();
}

/** Does nothing if the file does not wait for this reason any more. */
function resumeAfter(failure: Failure): void {
  for (const each of sendings.value) if (each.failure === failure) resume(each.key);
}
