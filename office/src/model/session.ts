// Logging in and out, and the link to the service while logged in.
import {signal} from '@preact/signals';
import {pauseOffline} from '../api/backoff';
import {client, documentOf, listAll, ServiceError, type Console} from '../api/client';
import type {ServiceEvent} from '../api/events';
import {shareEvents} from '../api/shared_events';
import {consoles, forgetAll, takeConsoles, takeEvent, takeSnapshot, user} from './farm';

export type Link =
  | {kind: 'connecting'}
  | {kind: 'live'}
  /** No connection since `sinceMs`; the page shows what it knew then. */
  | {kind: 'lost'; sinceMs: number};

export const link = signal<Link>({kind: 'connecting'});
/** Whether the service has ended the session, for example after 12 hours. */
export const isEnded = signal(false);
/** Grows each time a lost connection is back: the views read again what they could not read. */
export const reconnections = signal(0);
/** False until the page knows whether the browser has a session. */
export const isKnown = signal(false);

/** The name of the browser's session in its storage. A change tells the other tabs of a login. */
const sessionItem = 'kelvo-session';

let running: AbortController | undefined;
let hasServed = false;
let loggingOut: Promise<unknown> = Promise.resolve();

/** Throws ServiceError. */
export async function logIn(name: string, password: string): Promise<void> {
  await documentOf(client.POST('/sessions', {body: {user: name, password, kind: 'browser'}}));
  localStorage.setItem(sessionItem, crypto.randomUUID());
  isEnded.value = false;
  renew();
}

// The login has replaced the cookie of all tabs.
addEventListener('storage', ({key, newValue}) => {
  if (key === sessionItem && newValue) renew();
});

/** A page serves one session only: nothing of it may be shown to the next user, or act on the next farm. */
function renew(): void {
  if (!hasServed) return start();
  end();
  isKnown.value = false;
  location.reload();
}

/** Throws ServiceError. After an error the session continues: only the service can remove the cookie. */
export async function logOut(): Promise<void> {
  const request = documentOf(client.DELETE('/sessions/current'));
  loggingOut = request.catch(() => undefined);
  try {
    await request;
  } catch (error) {
    if (!hasNoSession(error)) throw error;
  }
  end();
}

/** Follows the farm until the session ends. Finds out whether there is a session. */
export function start(): void {
  running?.abort();
  running = new AbortController();
  void follow(running.signal);
}

/**
 * The service has ended the session of `signal`. The answer to a log-out removes the cookie, so the login form comes
 * after it: the answer would also remove the cookie of a new session.
 */
async function takeEnd(signal: AbortSignal): Promise<void> {
  await loggingOut;
  if (signal.aborted) return;
  isEnded.value = user.value !== undefined;
  end();
}

function end(): void {
  running?.abort();
  running = undefined;
  forgetAll();
  isKnown.value = true;
}

async function follow(signal: AbortSignal): Promise<void> {
  link.value = {kind: 'connecting'};
  while (!signal.aborted) {
    try {
      const session = localStorage.getItem(sessionItem) ?? '';
      const how = await shareEvents(session, () => readSnapshot(signal), handlersOf(signal), signal);
      if (how === 'logged-out') return takeEnd(signal);
    } catch (error) {
      if (hasNoSession(error)) return takeEnd(signal);
      noteLoss();
      await pauseOffline(5000, signal);
    }
  }
}

function hasNoSession(error: unknown): boolean {
  return error instanceof ServiceError && error.problem?.status === 401;
}

async function readSnapshot(signal: AbortSignal): Promise<string> {
  const account = await documentOf(client.GET('/account', {signal}));
  hasServed = true;
  takeSnapshot(account);
  isKnown.value = true;
  await readConsoles();
  return account.cursor;
}

/** Only the office may list the consoles. Drops a list that comes after a newer snapshot or after the session's end. */
async function readConsoles(): Promise<void> {
  const reader = user.value;
  if (reader?.role !== 'office') return;
  const before = consoles.value;
  const list = await listAll<'consoles', Console>('/consoles?limit=1000', 'consoles');
  if (user.value === reader) takeConsoles(list, before);
}

let isReading = false;
let isOutdated = false;

/**
 * One read runs at a time: a call during a read causes one more read. A failed read does not change
 * the link, because the stream of events tells its state. The next call reads again.
 */
export async function renewConsoles(): Promise<void> {
  isOutdated = true;
  if (isReading) return;
  isReading = true;
  while (isOutdated) {
    isOutdated = false;
    await readConsoles().catch(() => undefined);
  }
  isReading = false;
}

const handlersOf = (signal: AbortSignal) => ({
  onOpen: () => {
    if (link.value.kind === 'lost') ++reconnections.value;
    link.value = {kind: 'live'};
  },
  onLost: noteLoss,
  onEvent: (event: ServiceEvent) => {
    if (signal.aborted) return;
    if (event.name === 'session-ended') void takeEnd(signal);
    else if (event.name === 'people-changed' || event.name === 'console-removed') start(); // Inboxes or fetches are gone.
    else if (!takeEvent(event)) void renewConsoles();
  },
});

function noteLoss(): void {
  if (link.value.kind !== 'lost') link.value = {kind: 'lost', sinceMs: Date.now()};
}
