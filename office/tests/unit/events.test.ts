// The stream of changes over a network that fails.
import {afterEach, beforeEach, describe, expect, it, vi} from 'vitest';
import {followEvents, type ServiceEvent} from '../../src/api/events';

type Answer = {status: number; text?: string} | 'unreachable';

/** Answers each request in turn. A stream ends after its text. Returns the cursors that were sent. */
function serve(answers: Answer[]): string[] {
  const cursors: string[] = [];
  vi.stubGlobal('fetch', async (_url: string, options: RequestInit) => {
    cursors.push(new Headers(options.headers).get('Last-Event-ID') ?? '');
    const answer = answers.shift() ?? {status: 401};
    if (answer === 'unreachable') throw new TypeError('network');
    return new Response(answer.text ?? null, {status: answer.status});
  });
  return cursors;
}

async function follow(controller = new AbortController()) {
  const seen: ServiceEvent[] = [];
  const pauses: number[] = [];
  const ended = followEvents('5', {
    onOpen: () => undefined,
    onEvent: (event) => seen.push(event),
    onLost: (pauseMs) => pauses.push(pauseMs),
  }, controller.signal);
  await vi.runAllTimersAsync();
  return {end: await ended, seen, pauses};
}

describe('the stream of events', () => {
  const startMs = 1_800_000_000_000;
  beforeEach(() => void vi.useFakeTimers({now: startMs}));
  afterEach(() => void vi.useRealTimers());

  it('resumes after the last event that it has', async () => {
    const cursors = serve([
      {status: 200, text: ': connected\n\nid: 6\nevent: file-added\ndata: {"a":1}\n\n'},
      {status: 200, text: 'id: 7\nevent: file-removed\ndata: {}\n\n'},
    ]);
    const {seen, end} = await follow();
    expect(seen).toEqual([{id: '6', name: 'file-added', data: {a: 1}}, {id: '7', name: 'file-removed', data: {}}]);
    expect(cursors).toEqual(['5', '6', '7']);
    expect(end).toBe('logged-out');
  });

  it('keeps its cursor after an event without an id', async () => {
    const cursors = serve([{status: 200, text: 'event: session-ended\ndata: {"reason":"revoked"}\n\n'}]);
    await follow();
    expect(cursors).toEqual(['5', '5']);
  });

  it('waits longer after each failure, at most 30 s', async () => {
    serve(Array<Answer>(7).fill('unreachable'));
    const {pauses} = await follow();
    expect(pauses).toEqual([1000, 2000, 4000, 8000, 16_000, 30_000, 30_000]);
  });

  it('ends without a pause when it is aborted during a request', async () => {
    const controller = new AbortController();
    vi.stubGlobal('fetch', async () => {
      controller.abort();
      throw new DOMException('aborted', 'AbortError');
    });
    expect((await follow(controller)).end).toBe('aborted');
    expect(Date.now()).toBe(startMs);
  });

  it('is lost at once when the browser goes offline, and tries at once when it is online', async () => {
    const browser = new EventTarget();
    vi.stubGlobal('addEventListener', browser.addEventListener.bind(browser));
    vi.stubGlobal('removeEventListener', browser.removeEventListener.bind(browser));
    let requests = 0;
    vi.stubGlobal('fetch', async (_url: string, {signal}: RequestInit) => {
      if (++requests > 3) return new Response(null, {status: 401});
      if (requests > 1) throw new TypeError('network');
      return new Promise((_, reject) => signal?.addEventListener('abort', () => reject(signal.reason as Error)));
    });
    const pauses: number[] = [];
    const ended = followEvents('5', {onOpen: () => undefined, onEvent: () => undefined, onLost: (pauseMs) => pauses.push(pauseMs)},
      new AbortController().signal);
    const wait = () => vi.advanceTimersByTimeAsync(0);
    await wait();
    browser.dispatchEvent(new Event('offline'));
    await wait();
    expect(pauses).toEqual([1000]);
    for (let count = 0; count < 2; ++count) {
      browser.dispatchEvent(new Event('online'));
      await wait();
    }
    expect(pauses, 'the pauses begin again').toEqual([1000, 1000, 1000]);
    browser.dispatchEvent(new Event('online'));
    expect(await ended).toBe('logged-out');
    expect(Date.now()).toBe(startMs);
  });

  it('asks for a new snapshot if the cursor is too old', async () => {
    serve([{status: 503}, {status: 410}]);
    expect((await follow()).end).toBe('cursor-too-old');
  });
});
