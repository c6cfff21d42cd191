// One event stream for all tabs of a session: HTTP/1.1 allows six connections to a host, and a seventh would hang.
// The tab that holds the lock reads the stream and sends the events to the other tabs.
import {followEvents, type ServiceEvent, type StreamEnd, type StreamHandlers} from './events';

type Message =
  | {kind: 'event'; event: ServiceEvent}
  /** The stream has all events after `start`. */
  | {kind: 'open'; start: string}
  | {kind: 'lost'; pauseMs: number}
  | {kind: 'end'; end: StreamEnd}
  | {kind: 'newcomer'};

/**
 * Like followEvents, for all tabs with this name of a session. `readCursor` reads the snapshot and returns its cursor; it
 * starts after this tab listens to the others, so that no event is missed. Events may be repeated: skip ids that are known.
 * If the stream of the other tab starts after this cursor, the cursor is too old.
 */
export async function shareEvents(session: string, readCursor: () => Promise<string>, handlers: StreamHandlers,
    signal: AbortSignal): Promise<StreamEnd> {
  const name = `kelvo-events ${session}`;
  const tab = new Tab(name, handlers, signal);
  try {
    tab.startAfter(await readCursor());
    await navigator.locks.request(name, {signal: tab.signal}, () => tab.lead());
  } catch (error) {
    if (!tab.signal.aborted) throw error;
  } finally {
    tab.close();
  }
  return tab.end;
}

/** This tab's end of the channel. */
class Tab {
  end: StreamEnd = 'aborted';
  /** Aborts when the caller or another tab ends the stream. */
  readonly signal: AbortSignal;
  private readonly ended = new AbortController();
  private readonly channel: BroadcastChannel;
  /** Whether this tab reads the stream, and the stream is open. */
  private isOpen = false;
  private streamStart = '';
  /** Empty until the snapshot is read. Messages wait in `early` until then. */
  private lastId = '';
  private readonly early: Message[] = [];

  constructor(name: string, private readonly handlers: StreamHandlers, signal: AbortSignal) {
    this.signal = AbortSignal.any([signal, this.ended.signal]);
    this.channel = new BroadcastChannel(name);
    this.channel.onmessage = ({data}: MessageEvent<Message>) => this.hear(data);
  }

  startAfter(cursor: string): void {
    this.lastId = cursor;
    this.early.splice(0).forEach((message) => this.hear(message));
    this.post({kind: 'newcomer'});
  }

  /** Reads the stream for all tabs, until the stream ends. */
  async lead(): Promise<void> {
    this.streamStart = this.lastId;
    this.finish(await followEvents(this.streamStart, {
      onOpen: () => {
        this.isOpen = true;
        this.postOpen();
        this.handlers.onOpen();
      },
      onEvent: (event) => {
        this.post({kind: 'event', event});
        this.take(event);
      },
      onLost: (pauseMs) => {
        this.isOpen = false;
        this.post({kind: 'lost', pauseMs});
        this.handlers.onLost(pauseMs);
      },
    }, this.signal));
    if (this.end !== 'aborted') this.post({kind: 'end', end: this.end});
  }

  close(): void {
    this.channel.close();
  }

  private hear(message: Message): void {
    if (this.lastId === '' && message.kind !== 'end') return void this.early.push(message);
    switch (message.kind) {
      case 'event':
        return this.take(message.event);
      case 'open':
        return Number(message.start) > Number(this.lastId) ? this.finish('cursor-too-old') : this.handlers.onOpen();
      case 'lost':
        return this.handlers.onLost(message.pauseMs);
      case 'end':
        return this.finish(message.end);
      case 'newcomer':
        if (this.isOpen) this.postOpen();
    }
  }

  private take(event: ServiceEvent): void {
    if (event.id === '' || Number(event.id) > Number(this.lastId)) {
      this.lastId = event.id || this.lastId;
      this.handlers.onEvent(event);
    }
  }

  private finish(how: StreamEnd): void {
    this.end = how;
    this.ended.abort();
  }

  private postOpen(): void {
    this.post({kind: 'open', start: this.streamStart});
  }

  private post(message: Message): void {
    this.channel.postMessage(message);
  }
}
