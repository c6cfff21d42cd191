// The reads of the consoles that events ask for, and the end of a session.
import {beforeEach, describe, expect, it, vi} from 'vitest';
import type {Account, Console} from '../../src/api/client';
import type {StreamHandlers} from '../../src/api/events';
import {consoles, forgetAll, takeSnapshot, user} from '../../src/model/farm';
import {link, logOut, start} from '../../src/model/session';

let handlers: StreamHandlers;
vi.mock('../../src/api/shared_events', () => ({
  shareEvents: (_readCursor: unknown, given: StreamHandlers) => {
    handlers = given;
    return new Promise(() => undefined);
  },
}));
vi.mock('../../src/api/client', async (original) => ({
  ...(await original<object>()),
  client: {DELETE: async () => ({response: await fetch('')})},
}));

const account: Account = {user: {id: 8, name: 'office', role: 'office', disabled: false, farm: {id: 1, name: 'Hill Farm'}}, cursor: '5',
  projects: []};
const newConsole = (id: number): Console => ({id, console_string: '', hardware_address: '', operator: {id: 7, name: 'olga'},
  environment: null, devices: [], position: null});
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
