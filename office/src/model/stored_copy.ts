// Compares the bytes that the service has stored with the file.
import type {HttpResponse} from 'tus-js-client';
import {client, documentOf, ServiceError} from '../api/client';

export type Difference =
  /** The service or the page gave no SHA-256. The copy stays. */
  | {kind: 'notCompared'}
  /** The two SHA-256 differ, and the page has deleted the copy. */
  | {kind: 'changed'}
  /** The two SHA-256 differ, and the page could not delete the copy. */
  | {kind: 'changedKept'};

/** `digest` is the SHA-256 of the file in base64, or empty. `response` ended the upload. Deletes a copy only if it differs. */
export async function compare(digest: string | undefined, response: HttpResponse): Promise<Difference | undefined> {
  const [, stored] = /sha-256=:([^:]+):/.exec(response.getHeader('Repr-Digest') ?? '') ?? [];
  if (!digest || !stored) return {kind: 'notCompared'};
  if (stored === digest) return undefined;
  const ids = (response.getHeader('Kelvo-File-Ids') ?? '').split(',').map(Number).filter((id) => id > 0);
  const areGone = await Promise.all(ids.map(remove));
  return {kind: ids.length > 0 && areGone.every(Boolean) ? 'changed' : 'changedKept'};
}

/** Returns whether the file is gone. */
async function remove(id: number): Promise<boolean> {
  try {
    await documentOf(client.DELETE('/resources/{id}', {params: {path: {id}}}));
    return true;
  } catch (error) {
    return error instanceof ServiceError && error.problem?.status === 404;
  }
}
