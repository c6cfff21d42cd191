// Tabs with one event stream for each session.
import {beforeEach, describe, expect, it, vi} from 'vitest';
import type {ServiceEvent, StreamHandlers} from '../../src/api/events';
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
  request: (name: string, _options: unknown, lead: () => Promise<void>) => {
    if (held.has(name)) return new Promise(() => undefined);
    held.add(name);
    return lead();
  },
}});

/** Opens a tab of the session, whose snapshot has the cursor. */
function open(session: string, cursor: string, onEvent: (event: ServiceEvent) => void): void {
  const handlers = {onOpen: () => undefined, onLost: () => undefined, onEvent};
  void shareEvents(session, async () => cursor, handlers, new AbortController().signal);
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
      open('hill', '100', () => seen.push('hill 1'));
      open('dale', '200', () => seen.push('dale'));
      open('hill', '300', () => {
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
});
