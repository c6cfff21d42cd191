// The job reports of the farm, and the names of the fields in them.
import {computed, signal} from '@preact/signals';
import {Zip, ZipPassThrough} from 'fflate';
import {apiPath, ServiceError, type File} from '../api/client';
import {largestFile} from '../map/model';
import {readFile} from '../map/reader';
import {files, inboxes} from './farm';
import {dayOf} from './day';

const project = 'From Console';
/** Without Zip64 an archive has at most 4 GB. Half of 4 GB leaves room. */
export const largestArchive = 2e9;

export interface Report {
  file: File;
  operator: string;
  /** The day of the receipt by the browser's clock, like "2026-05-01". */
  day: string;
}

/** Newest first. */
export const reports = computed<readonly Report[]>(() => [...files.value.values()].flatMap((file) => {
  const inbox = inboxes.value.get(file.container);
  return inbox?.projectName === project ? [{file, operator: inbox.owner.name, day: dayOf(file.created_at)}] : [];
}).sort((a, b) => b.file.id - a.file.id));

/** The fields of each content that was read, by its SHA-256. */
export const fieldsOf = signal<ReadonlyMap<string, readonly string[]>>(new Map());

/** Reads the reports whose fields are not known, one after the other. A file that cannot be read has no fields. */
export async function findFields(list: readonly Report[], signal: AbortSignal): Promise<void> {
  for (const {file} of list) {
    if (signal.aborted) return;
    if (fieldsOf.value.has(file.sha256)) continue;
    const names = file.size > largestFile ? [] : await fieldsIn(file);
    if (names) fieldsOf.value = new Map(fieldsOf.value).set(file.sha256, names);
  }
}

async function fieldsIn(file: File): Promise<readonly string[] | undefined> {
  try {
    const answer = await readFile(file.name, await (await contentOf(file)).blob());
    return 'reading' in answer ? answer.reading.fields : [];
  } catch {
    return undefined;
  }
}

/** Throws ServiceError. */
async function contentOf({id}: File): Promise<Response> {
  const response = await fetch(`${apiPath}/resources/${id}/content`).catch(() => undefined);
  if (!response?.ok) throw new ServiceError(undefined, undefined);
  return response;
}

/** The names in the archive of a day: a folder for each operator, and no name twice. */
export function archiveNames(list: readonly Report[]): string[] {
  const used = new Set<string>();
  const folders = new Map<string, string>();
  return list.map(({file, operator}) => {
    const folder = folders.get(operator) ?? unusedName('', operator, used);
    folders.set(operator, folder);
    return unusedName(`${folder}/`, file.name, used);
  });
}

/** A name in the folder that is not used, also if a system does not distinguish capital letters. */
function unusedName(folder: string, name: string, used: Set<string>): string {
  const [, stem = '', extension = ''] = /^(.*?)(\.[^.]*)?$/s.exec(safeName(name)) ?? [];
  for (let count = 1; ; ++count) {
    const path = `${folder}${stem}${count > 1 ? ` (${count})` : ''}${extension}`;
    const key = path.normalize().toLowerCase();
    if (!used.has(key)) {
      used.add(key);
      return path;
    }
  }
}

/** A name that Windows takes, too: without its special characters, an end of dots or blanks, and its devices. */
function safeName(name: string): string {
  const safe = name.replaceAll(/[/\\<>:"|?*\p{Cc}]|[. ](?=[. ]*$)/gu, '_');
  return /^(con|prn|aux|nul|conin\$|conout\$|(com|lpt)[\d¹²³])\s*(\.|$)/i.test(safe) ? `_${safe}` : safe || '_';
}

/** Packs the reports into one archive, without compression: reports are archives themselves. Throws ServiceError. */
export async function packReports(list: readonly Report[]): Promise<Blob> {
  const parts: Uint8Array<ArrayBuffer>[] = [];
  const zip = new Zip((_error, part) => parts.push(part as Uint8Array<ArrayBuffer>));
  const names = archiveNames(list);
  for (const [index, {file}] of list.entries()) {
    const entry = new ZipPassThrough(names[index] as string);
    entry.mtime = file.created_at;
    zip.add(entry);
    const reader = ((await contentOf(file)).body as ReadableStream<Uint8Array>).getReader();
    try {
      for (let piece = await reader.read(); !piece.done; piece = await reader.read()) entry.push(piece.value);
    } catch {
      throw new ServiceError(undefined, undefined); // The answer was cut.
    }
    entry.push(new Uint8Array(), true);
  }
  zip.end();
  return new Blob(parts, {type: 'application/zip'});
}
