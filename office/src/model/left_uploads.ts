// Uploads that an earlier page has begun, and files that waited there. The browser gives the file only when the user chooses it again.
import {signal} from '@preact/signals';
import {defaultOptions, Upload, type PreviousUpload} from 'tus-js-client';
import {inboxes, user} from './farm';

/** The service deletes an upload without progress after this time. */
const longestMs = 7 * 24 * 3600 * 1000;
/** A tab holds this lock while it sends. */
const lockName = 'kelvo-sending';

export interface LeftUpload {
  key: string;
  name: string;
  size: number;
  targets: readonly number[];
  /** Empty without a note. */
  note: string;
  /** Empty for a file that waited: the service has none of its bytes. */
  address: string;
}

/** A file that has no upload yet. */
interface Waiting {
  file: File;
  targets: readonly number[];
  note: string;
}

export const leftUploads = signal<readonly LeftUpload[]>([]);

/** All users of the browser share the storage. Only the owner of an upload can continue it. */
const ownPrefix = (): string => `kelvo-${user.value?.id}|`;

/** An upload continues if the same user sends the same file to the same inboxes with the same note. */
export const fingerprintOf = (file: File, targets: readonly number[], note: string): string =>
  ownPrefix() + [file.name, file.size, file.lastModified, targets.join(','), note].join('|');

/** Lists nothing while another tab sends: these uploads are not left. */
export async function findLeftUploads(): Promise<void> {
  const {held = []} = await navigator.locks.query();
  const all = held.some(({name}) => name === lockName) ? [] : await defaultOptions.urlStorage.findAllUploads();
  const left = all.map(leftUpload);
  leftUploads.value = left.filter(({key, targets}, index) => key.startsWith(`tus::${ownPrefix()}`)
    && targets.every((id) => inboxes.value.has(id)) && Date.now() - Date.parse(all[index]!.creationTime) < longestMs);
}

/** Holds the lock until `whenDone` is settled. */
export function noteSending(whenDone: Promise<unknown>): void {
  void navigator.locks.request(lockName, {mode: 'shared'}, () => whenDone);
}

export const isSame = ({key, targets, note}: LeftUpload, file: File): boolean =>
  key.startsWith(`tus::${fingerprintOf(file, targets, note)}::`);

/** Takes the file from the list, because it is sent now. */
export function unlistSame(file: File, targets: readonly number[], note: string): void {
  const prefix = `tus::${fingerprintOf(file, targets, note)}::`;
  leftUploads.value.filter(({key}) => key.startsWith(prefix)).forEach(unlist);
}

function unlist(upload: LeftUpload): void {
  leftUploads.value = leftUploads.value.filter((each) => each !== upload);
  if (!upload.address) void defaultOptions.urlStorage.removeUpload(upload.key);
}

/** A later page lists the file until it has an upload, if the browser's storage has a place for its name. */
export async function noteWaiting({file, targets, note}: Waiting): Promise<void> {
  const upload = {size: file.size, metadata: metadataOf(file, targets, note), creationTime: new Date().toString()};
  try {
    await defaultOptions.urlStorage.addUpload(fingerprintOf(file, targets, note), upload as PreviousUpload);
  } catch {
    // The file is sent all the same.
  }
}

export async function forgetWaiting({file, targets, note}: Waiting): Promise<void> {
  for (const {uploadUrl, urlStorageKey} of await defaultOptions.urlStorage.findUploadsByFingerprint(fingerprintOf(file, targets, note))) {
    if (!uploadUrl) await defaultOptions.urlStorage.removeUpload(urlStorageKey);
  }
}

export const metadataOf = ({name}: File, targets: readonly number[], note: string): Record<string, string> =>
  ({name, targets: targets.join(','), ...(note && {note})});

/** Deletes the bytes on the service. The service also deletes them by itself after some days. */
export async function removeLeft(upload: LeftUpload): Promise<void> {
  unlist(upload);
  await defaultOptions.urlStorage.removeUpload(upload.key);
  if (upload.address) await Upload.terminate(upload.address).catch(() => undefined);
}

function leftUpload({size, metadata, urlStorageKey, uploadUrl}: PreviousUpload): LeftUpload {
  const {name = '', targets = '', note = ''} = metadata;
  return {key: urlStorageKey, name, size: size ?? 0, targets: targets.split(',').map(Number), note, address: uploadUrl ?? ''};
}
