// One event stream for all tabs of a browser: HTTP/1.1 allows six connections to a host, and a seventh would hang.
// The tab that holds the lock reads the stream and sends the events to the other tabs.
import {followEvents, type ServiceEvent, type StreamEnd, type StreamHandlers} from './events';

const name = 'kelvo-events';

type Message =
  | {kind: 'event'; event: ServiceEvent}
  | {kind: 'open'}
  | {kind: 'lost'; pauseMs: number}
  | {kind: 'end'; end: StreamEnd}
  | {kind: 'newcomer'};

/**
 * Like followEvents. `readCursor` reads the snapshot and returns its cursor; it starts after this tab listens to the
 * others, so that no event is missed. Events may be repeated: skip ids that are known.
 */
export async function shareEvents(readCursor: () => Promise<string>, handlers: StreamHandlers,
    signal: AbortSignal): Promise<StreamEnd> {
  const channel = new BroadcastChannel(name);
  const inner = new AbortController();
  const either = AbortSignal.any([signal, inner.signal]);
  let isOpen = false;
  let lastId = '';
  let end: StreamEnd = 'aborted';
  const early: ServiceEvent[] = [];
  const take = (event: ServiceEvent) => {
    if (lastId === '') {
      early.push(event);
    } else if (event.id === '' || Number(event.id) > Number(lastId)) {
      lastId = event.id || lastId;
      handlers.onEvent(event);
    }
  };
  const finish = (how: StreamEnd) => {
    end = how;
    inner.abort();
  };
  channel.onmessage = ({data}: MessageEvent<Message>) => {
    if (data.kind === 'event') take(data.event);
    if (data.kind === 'open') handlers.onOpen();
    if (data.kind === 'lost') handlers.onLost(data.pauseMs);
    if (data.kind === 'end') finish(data.end);
    if (data.kind === 'newcomer' && isOpen) post({kind: 'open'});
  };
  const post = (message: Message) => channel.postMessage(message);
  try {
    lastId = await readCursor();
    early.splice(0).forEach(take);
    post({kind: 'newcomer'});
    await navigator.locks.request(name, {signal: either}, async () => {
      finish(await followEvents(lastId, {
        onOpen: () => {
          isOpen = true;
          post({kind: 'open'});
          handlers.onOpen();
        },
        onEvent: (event) => {
          post({kind: 'event', event});
          take(event);
        },
        onLost: (pauseMs) => {
          isOpen = false;
          post({kind: 'lost', pauseMs});
          handlers.onLost(pauseMs);
        },
      }, either));
      if (end !== 'aborted') post({kind: 'end', end});
    });
  } catch (error) {
    if (!either.aborted) throw error;
  } finally {
    channel.close();
  }
  return end;
}
