// Requests over a link that brings no answer, or no more bytes.
import {afterEach, beforeEach, describe, expect, it, vi} from 'vitest';
import {client, documentOf, listAll, ServiceError} from '../../src/api/client';

/** An answer of two pieces, the second after `pauseMs`. */
function slowly(pauseMs: number, signal: AbortSignal): Response {
  const [first = '', second = ''] = ['{"users":', '[]}'];
  return new Response(new ReadableStream({
    start: (pieces) => {
      pieces.enqueue(new TextEncoder().encode(first));
      const timer = setTimeout(() => {
        pieces.enqueue(new TextEncoder().encode(second));
        pieces.close();
      }, pauseMs);
      signal.addEventListener('abort', () => {
        clearTimeout(timer);
        pieces.error(signal.reason);
      });
    },
  }));
}

/** Like a browser's fetch: the request ends when its signal aborts. */
function serve(answer: (signal: AbortSignal) => Promise<Response>): void {
  vi.stubGlobal('fetch', (_input: unknown, {signal}: {signal: AbortSignal}) => answer(signal));
}

const never = (signal: AbortSignal) => new Promise<Response>((_, reject) =>
  signal.addEventListener('abort', () => reject(signal.reason as Error)));

/** How the request ends, and after how many seconds. */
async function ended(request: Promise<unknown>): Promise<[string, number]> {
  const startMs = Date.now();
  const end = request.then(() => 'answer', (error: unknown) => (error instanceof ServiceError ? error.kind : String(error)))
    .then((how): [string, number] => [how, Math.round((Date.now() - startMs) / 1000)]);
  await vi.advanceTimersByTimeAsync(100_000);
  return end;
}

const read = () => listAll('/users?limit=1000', 'users');
const remove = () => documentOf(client.DELETE('/resources/{id}', {params: {path: {id: 5}}, baseUrl: 'https://farm.example'}));

describe('a request', () => {
  beforeEach(() => void vi.useFakeTimers());
  afterEach(() => void vi.useRealTimers());

  it('without an answer fails after 30 s', async () => {
    serve(never);
    expect(await ended(read())).toEqual(['no-answer', 30]);
    expect(await ended(remove())).toEqual(['no-answer', 30]);
  });

  it('whose bytes stop fails 30 s after the last piece', async () => {
    serve(async (signal) => slowly(40_000, signal));
    expect(await ended(read())).toEqual(['no-answer', 30]);
  });

  it('that is slow, but not silent, gets its answer', async () => {
    serve(async (signal) => {
      await new Promise((resolve) => setTimeout(resolve, 20_000));
      return slowly(20_000, signal);
    });
    expect(await ended(read())).toEqual(['answer', 40]);
    serve(async () => new Response(null, {status: 204}));
    expect(await ended(remove())).toEqual(['answer', 0]);
  });
});
