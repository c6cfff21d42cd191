// The stream of changes. It reconnects for ever, and tells when the snapshot has to be read again.
import {createParser} from 'eventsource-parser';
import {backoffMs, pauseOffline, untilTold} from './backoff';
import {apiPath} from './client';

/** Twice the service's time between two comments, and some seconds for a slow link. */
const silenceMs = 130_000;

export interface ServiceEvent {
  /** Empty for an event that the log does not keep. */
  id: string;
  name: string;
  data: unknown;
}

export type StreamEnd = 'logged-out' | 'cursor-too-old' | 'aborted';

export interface StreamHandlers {
  onOpen(): void;
  onEvent(event: ServiceEvent): void;
  /** The connection is lost; the next attempt starts after `pauseMs`. */
  onLost(pauseMs: number): void;
}

/** Follows the changes after `cursor` until the session ends, the cursor is too old or `signal` aborts. */
export async function followEvents(cursor: string, handlers: StreamHandlers, signal: AbortSignal): Promise<StreamEnd> {
  let lastId = cursor;
  let failures = 0;
  const onEvent = (event: ServiceEvent) => {
    lastId = event.id || lastId;
    handlers.onEvent(event);
  };
  while (!signal.aborted) {
    const status = await untilTold('offline', signal, (either) => readStream(lastId, {...handlers, onEvent, onOpen: () => {
      failures = 0;
      handlers.onOpen();
    }}, either));
    if (status === 401) return 'logged-out';
    if (status === 410) return 'cursor-too-old';
    const pauseMs = backoffMs(failures++);
    if (!signal.aborted) handlers.onLost(pauseMs);
    if (await pauseOffline(pauseMs, signal)) failures = 0;
  }
  return 'aborted';
}

/** Returns the status of the answer, or 0 without an answer. */
async function readStream(lastId: string, handlers: StreamHandlers, outer: AbortSignal): Promise<number> {
  const silence = new AbortController();
  const signal = AbortSignal.any([outer, silence.signal]);
  let timer = setTimeout(() => silence.abort(), silenceMs);
  let status = 0;
  try {
    const answer = await fetch(`${apiPath}/events`, {headers: {'Last-Event-ID': lastId}, signal, cache: 'no-store'});
    status = answer.status;
    if (!answer.ok || !answer.body) return status;
    handlers.onOpen();
    const parser = createParser({
      onEvent: ({id, event, data}) =>
        handlers.onEvent({id: id ?? '', name: event ?? '', data: JSON.parse(data)}),
    });
    const reader = answer.body.pipeThrough(new TextDecoderStream()).getReader();
    for (let piece = await reader.read(); !piece.done; piece = await reader.read()) {
      clearTimeout(timer);
      timer = setTimeout(() => silence.abort(), silenceMs);
      parser.feed(piece.value);
    }
  } catch {
    // Lost or aborted: the caller reconnects.
  } finally {
    clearTimeout(timer);
  }
  return status === 200 ? 0 : status;
}
