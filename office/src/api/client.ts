// The typed client of the service's API. The browser sends the session's cookie with each request.
import createClient from 'openapi-fetch';
import {fetchInTime} from './in_time';
import type {components, paths} from './schema';

export const apiPath = '/kelvo-api/v1';

type Schemas = components['schemas'];
export type Account = Schemas['Account'];
export type Project = Schemas['Project'];
export type Inbox = Schemas['Inbox'];
export type File = Schemas['File'];
export type BinFile = Schemas['BinFile'];
export type User = Schemas['User'];
export type Console = Schemas['ConsoleRecord'];
export type Position = Schemas['ReportedPosition'];
export type TrackPoint = Schemas['TrackPoint'];
export type OwnSession = Schemas['OwnSession'];
export type FarmUsage = Schemas['FarmUsage'];
export type AuditEntry = Schemas['AuditEntry'];
export type Problem = Schemas['Problem'];
export type FileEvent = Schemas['FileEvent'];
export type InboxEvent = Schemas['InboxEvent'];
export type ConsoleMoved = Schemas['ConsoleMoved'];

export type BaseMap = paths['/base-map']['get']['responses'][200]['content']['application/json'];

export const client = createClient<paths>({baseUrl: apiPath, fetch: fetchInTime});

/** A refusal of the service, or no answer at all (`problem` is undefined). */
export class ServiceError extends Error {
  constructor(
    readonly problem: Problem | undefined,
    readonly retryAfterS: number | undefined,
  ) {
    super(problem?.detail ?? 'no answer');
  }

  get kind(): string {
    return this.problem ? kindOf(this.problem) : 'no-answer';
  }
}

/** The last part of the problem's type, for example "not-found". */
export const kindOf = ({type}: Problem): string => type.replace(/^.*:/, '');

/** Somebody else has done the same. */
export function ignoreMissing(error: unknown): void {
  if (!(error instanceof ServiceError && error.kind === 'not-found')) throw error;
}

type Answer<T> = {data?: T; error?: unknown; response: Response};

/** The document of an answer. Throws ServiceError. */
export async function documentOf<T>(request: Promise<Answer<T>>): Promise<T> {
  let answer: Answer<T>;
  try {
    answer = await request;
  } catch {
    throw new ServiceError(undefined, undefined);
  }
  if (!answer.response.ok) {
    const wait = Number(answer.response.headers.get('Retry-After'));
    throw new ServiceError(isProblem(answer.error) ? answer.error : undefined, wait || undefined);
  }
  return answer.data as T;
}

/** A proxy before the service may answer with HTML instead. */
export const isProblem = (document: unknown): document is Problem =>
  typeof document === 'object' && document !== null && 'type' in document && typeof document.type === 'string';

/** The address of the next page of a list, from the answer's `Link`. */
export function nextPage(headers: Headers): string | undefined {
  return /^<([^>]+)>; rel="next"$/.exec(headers.get('Link') ?? '')?.[1];
}

/** One page of a list. Throws ServiceError. */
export async function pageOf<T>(address: string): Promise<{document: T; next: string | undefined}> {
  let next: string | undefined;
  const document = await documentOf<T>((async () => {
    const response = await fetchInTime(address);
    next = nextPage(response.headers);
    const body: unknown = await response.json();
    return response.ok ? {data: body as T, response} : {error: body, response};
  })());
  return {document, next};
}

/** All items of a list with pages. `path` is below the API's path. Throws ServiceError. */
export async function listAll<Name extends string, Item>(path: string, name: Name): Promise<Item[]> {
  const items: Item[] = [];
  for (let address: string | undefined = `${apiPath}${path}`; address;) {
    const page: {document: Record<Name, Item[]>; next: string | undefined} = await pageOf(address);
    items.push(...page.document[name]);
    address = page.next;
  }
  return items;
}
