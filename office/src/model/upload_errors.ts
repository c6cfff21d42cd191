// Why an upload failed, and whether another attempt may succeed.
import type {DetailedError, HttpRequest, HttpResponse} from 'tus-js-client';
import {backoffMs} from '../api/backoff';
import {isProblem, kindOf, type Problem} from '../api/client';
import type {Difference} from './stored_copy';

/** Why a file was not sent, waits for the next attempt, or was not compared. */
export type Failure =
  /** `problem` is undefined if the answer has none. */
  | {kind: 'refused'; problem: Problem | undefined}
  | {kind: 'noAnswer'}
  | {kind: 'unreadable'}
  | Difference;

export type UploadError = Error | DetailedError;

/** The service has not told the offset of an upload. */
class NoOffset extends Error {
  constructor(readonly response: HttpResponse) {
    super();
  }
}

/**
 * After a refused HEAD the library forgets the upload and begins a new one. This is right only if the upload is gone.
 * The exception makes it a failed attempt instead.
 */
export function keepUpload(request: HttpRequest, response: HttpResponse): void {
  const status = response.getStatus();
  if (request.getMethod() === 'HEAD' && status >= 300 && status !== 404 && status !== 410) throw new NoOffset(response);
}

/** The service's refusals are final, also at a limit of the farm. It may be back soon if it does not answer, is busy or has a fault. */
export function maySucceedLater(error: UploadError): boolean {
  const response = responseOf(error);
  const status = response?.getStatus() ?? 0;
  const problem = response && problemOf(response.getBody());
  if (problem && kindOf(problem) === 'quota-exceeded') return false;
  return status < 400 || status >= 500 || status === 409 || status === 423 || status === 429;
}

/** The pause after this error and `failures` earlier ones. The service may ask for a longer one. */
export const pauseMs = (error: UploadError, failures: number): number =>
  Math.max(backoffMs(failures), 1000 * (Number(responseOf(error)?.getHeader('Retry-After')) || 0));

export async function failureOf(error: UploadError, file: Blob): Promise<Failure> {
  const response = responseOf(error);
  if (response && response.getStatus() >= 400) return {kind: 'refused', problem: problemOf(response.getBody())};
  return {kind: await isReadable(file) ? 'noAnswer' : 'unreadable'};
}

function responseOf(error: UploadError): HttpResponse | null | undefined {
  if (!('causingError' in error)) return undefined;
  return error.causingError instanceof NoOffset ? error.causingError.response : error.originalResponse;
}

const isReadable = (file: Blob): Promise<boolean> => file.slice(0, 1).arrayBuffer().then(() => true, () => false);

function problemOf(body: string): Problem | undefined {
  try {
    const document: unknown = JSON.parse(body);
    return isProblem(document) ? document : undefined;
  } catch {
    return undefined;
  }
}
