// Tabs with one event stream for each session.
import {beforeEach, describe, expect, it, vi} from 'vitest';
import type {ServiceEvent, StreamEnd, StreamHandlers} from '../../src/api/events';
import {shareEvents} from '../../src/api/shared_events';

/** The streams that tabs read themselves, by their cursors. */
const streams = new Map<string, StreamHandlers>();
vi.mock('../../src/api/events', () => ({
  followEvents: (cursor: string, handlers: StreamHandlers) => {
    streams.set(cursor, handlers);
    return new Promise(() => undefined);
  },
}));

const held = new Set<string>();
vi.stubGlobal('navigator', {locks: {
  request: (name: string, {signal}: {signal: AbortSignal}, lead: () => Promise<void>) => {
    if (held.has(name) || signal.aborted) return new Promise((_, reject) => {
      if (signal.aborted) reject(signal.reason as Error);
      signal.addEventListener('abort', () => reject(signal.reason as Error));
    });
    held.add(name);
    return lead();
  },
}});

/** Opens a tab of the session, whose snapshot has the cursor. */
function open(session: string, cursor: string | Promise<string>, onEvent: (event: ServiceEvent) => void): Promise<StreamEnd> {
  const handlers = {onOpen: () => undefined, onLost: () => undefined, onEvent};
  return shareEvents(session, async () => cursor, handlers, new AbortController().signal);
}

describe('the tabs of a browser', () => {
  beforeEach(() => {
    streams.clear();
    held.clear();
  });

  it('share the stream of their session, and hear nothing of another session', async () => {
    const seen: string[] = [];
    const event = {id: '900', name: 'session-ended', data: {}};
    const shared = new Promise<void>((resolve) => {
      void open('hill', '100', () => seen.push('hill 1'));
      void open('dale', '200', () => seen.push('dale'));
      void open('hill', '300', () => {
        seen.push('hill 2');
        resolve();
      });
    });
    await vi.waitUntil(() => streams.size > 1);
    expect([...streams.keys()]).toEqual(['100', '200']);
    streams.get('100')!.onEvent(event);
    await shared;
    expect(seen).toEqual(['hill 1', 'hill 2']);
  });

  it('read a newer snapshot if another tab follows the stream after theirs', async () => {
    const event = {id: '106', name: 'file-added', data: {}};
    let tell: (cursor: string) => void = () => undefined;
    const slow = open('hill', new Promise((resolve) => {
      tell = resolve;
    }), () => undefined);
    void open('hill', '105', () => undefined);
    await vi.waitUntil(() => streams.size > 0);
    const heard = new Promise<void>((resolve) => {
      void open('hill', '105', () => resolve());
    });
    streams.get('105')!.onOpen();
    streams.get('105')!.onEvent(event);
    await heard;
    tell('100');
    expect(await slow).toBe('cursor-too-old');
  });
});
