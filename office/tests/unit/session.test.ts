// Logins, the reads that events ask for, and the end of a session.
import {beforeEach, describe, expect, it, vi} from 'vitest';
import type {Account, Console} from '../../src/api/client';
import type {StreamHandlers} from '../../src/api/events';
import {consoles, forgetAll, takeSnapshot, user} from '../../src/model/farm';
import {link, logIn, logOut, start} from '../../src/model/session';

/** The streams that the page began, each with the name of its session. */
const sessions: string[] = [];
let handlers: StreamHandlers;
let readCursor: () => Promise<string>;
vi.mock('../../src/api/shared_events', () => ({
  shareEvents: (session: string, read: () => Promise<string>, given: StreamHandlers) => {
    sessions.push(session);
    [readCursor, handlers] = [read, given];
    return new Promise(() => undefined);
  },
}));
vi.mock('../../src/api/client', async (original) => ({
  ...(await original<object>()),
  client: {
    POST: async () => ({response: new Response()}),
    GET: async (_path: string, {signal}: {signal: AbortSignal}) => {
      await Promise.resolve();
      signal.throwIfAborted();
      return {data: account, response: new Response()};
    },
    DELETE: async () => ({response: await fetch('')}),
  },
}));

const storage = new Map<string, string>();
vi.stubGlobal('localStorage', {getItem: (key: string) => storage.get(key) ?? null, setItem: (key: string, value: string) => storage.set(key, value)});
const reload = vi.fn();
vi.stubGlobal('location', {hash: '', reload});
/** Another tab changes the storage. */
const {hearStorage} = vi.hoisted(() => {
  const heard = {hearStorage: (_event: {key: string; newValue: string | null}) => undefined as void};
  vi.stubGlobal('addEventListener', (name: string, listener: typeof heard.hearStorage) => {
    if (name === 'storage') heard.hearStorage = listener;
  });
  return {hearStorage: (key: string, newValue: string | null) => heard.hearStorage({key, newValue})};
});

const account: Account = {user: {id: 8, name: 'office', role: 'office', disabled: false, farm: {id: 1, name: 'Hill Farm'}}, cursor: '5',
  projects: []};
const newConsole = (id: number): Console => ({id, console_string: '', hardware_address: '', operator: {id: 7, name: 'olga'},
  environment: null, devices: [], position: null, last_contact_at: '1970-01-01T00:00:00Z'});
const listOf = (...ids: number[]) => new Response(JSON.stringify({consoles: ids.map(newConsole)}));

type Answer = Response | Promise<never>;

/** The requests without an answer. */
const requests: ((answer: Answer) => void)[] = [];
vi.stubGlobal('fetch', () => new Promise<Response>((resolve) => requests.push(resolve)));

/** Answers the oldest request. Returns when the page has taken the answer. */
async function serve(answer: Answer): Promise<void> {
  requests.shift()!(answer);
  await new Promise((resolve) => setTimeout(resolve)); // runs after the promises that the answer settles
}

function move(console: number): void {
  handlers.onEvent({id: '', name: 'console-moved', data: {console, user: {id: 7, name: 'olga'}, time_s: 1, latitude: 51, longitude: 5}});
}

describe('a login', () => {
  beforeEach(() => {
    while (requests.length > 0) requests.shift()!(listOf());
    sessions.length = 0;
    reload.mockClear();
  });

  it('begins a session with a name of its own', async () => {
    await logIn('office', 'right');
    await logIn('office', 'right');
    expect(new Set(sessions).size).toBe(2);
    expect(sessions).not.toContain('');
    expect(reload).not.toHaveBeenCalled();
  });

  const serveSession = async () => {
    start();
    const done = readCursor();
    await vi.waitUntil(() => requests.length > 0);
    await serve(listOf());
    await done;
    expect(user.value).toBeDefined();
  };

  it('loads a page anew that has served another session', async () => {
    await serveSession();
    await logIn('dale', 'right');
    expect(reload).toHaveBeenCalledOnce();
    expect(user.value).toBeUndefined();
  });

  it('of another tab loads the page anew, but a log-out of another tab does not', async () => {
    await serveSession();
    const [key = ''] = storage.keys();
    hearStorage(key, null);
    hearStorage('tus::1', 'x');
    expect(reload).not.toHaveBeenCalled();
    hearStorage(key, 'next');
    expect(reload).toHaveBeenCalledOnce();
    expect(user.value).toBeUndefined();
  });
});

describe('a change of the people or the consoles', () => {
  it('drops the snapshot before it, if its answer comes later', async () => {
    forgetAll();
    start();
    const older = expect(readCursor()).rejects.toThrow();
    handlers.onEvent({id: '6', name: 'people-changed', data: {}});
    await older;
    expect(user.value).toBeUndefined();
  });

  it.each(['people-changed', 'console-removed'])('brings one new snapshot, also if two changes come at once: %s', (name) => {
    takeSnapshot(account);
    start();
    sessions.length = 0;
    const {onEvent} = handlers;
    for (const id of ['6', '7']) onEvent({id, name, data: {}});
    expect(sessions).toHaveLength(1);
  });
});

describe('an event of an unknown console', () => {
  beforeEach(async () => {
    while (requests.length > 0) await serve(listOf());
    forgetAll();
    takeSnapshot(account);
    start();
    handlers.onOpen();
  });

  it('reads the consoles once at a time, and once more after events during the read', async () => {
    for (let i = 0; i < 100; ++i) move(3);
    expect(requests).toHaveLength(1);
    await serve(listOf());
    expect(requests).toHaveLength(1);
    await serve(listOf(3));
    expect(requests).toHaveLength(0);
    expect([...consoles.value.keys()]).toEqual([3]);
  });

  it('keeps the link live if the read fails, and the next event reads again', async () => {
    move(3);
    await serve(Promise.reject(new TypeError('network')));
    expect(link.value).toEqual({kind: 'live'});
    expect(requests).toHaveLength(0);
    move(3);
    await serve(listOf(3));
    expect([...consoles.value.keys()]).toEqual([3]);
  });

  it('brings no list to a newer snapshot', async () => {
    move(3);
    takeSnapshot({...account, user: {...account.user}});
    await serve(listOf(3));
    expect(consoles.value.size).toBe(0);
  });
});

describe('the end of the session', () => {
  const ended = {id: '', name: 'session-ended', data: {}};

  beforeEach(() => {
    takeSnapshot(account);
    start();
  });

  it('shows the login form after the answer to the log-out, which removes the cookie', async () => {
    const done = logOut();
    handlers.onEvent(ended);
    await new Promise((resolve) => setTimeout(resolve));
    expect(user.value).toBeDefined();
    await serve(new Response(null, {status: 204}));
    await done;
    expect(user.value).toBeUndefined();
  });

  it('is taken from the stream if the log-out gets no answer', async () => {
    const refused = expect(logOut()).rejects.toThrow();
    handlers.onEvent(ended);
    await serve(Promise.reject(new TypeError('network')));
    await refused;
    expect(user.value).toBeUndefined();
  });

  it('does not end the next session', async () => {
    const {onEvent} = handlers;
    start();
    onEvent(ended);
    await new Promise((resolve) => setTimeout(resolve));
    expect(user.value).toBeDefined();
  });
});
