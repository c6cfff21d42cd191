// The farm's inboxes, files and consoles: a snapshot of the service, kept current by events.
import {computed, signal} from '@preact/signals';
import type {Account, Console, ConsoleMoved, File, FileEvent, Inbox, InboxEvent, Position, User} from '../api/client';
import type {ServiceEvent} from '../api/events';
import {movementBetween, type Movement} from './movement';

export interface InboxOfProject extends Omit<Inbox, 'entries'> {
  projectName: string;
}

export interface ConsoleState extends Console {
  /** Undefined until the page knows two positions. */
  movement?: Movement | undefined;
}

export const user = signal<User | undefined>(undefined);
export const inboxes = signal<ReadonlyMap<number, InboxOfProject>>(new Map());
export const files = signal<ReadonlyMap<number, File>>(new Map());
export const consoles = signal<ReadonlyMap<number, ConsoleState>>(new Map());
/** False until the page has a list of the consoles, which may be empty. */
export const areConsolesRead = signal(false);
/** A number that changes when a file comes, goes or leaves the bin, but not when a console fetches a file. */
export const fileSet = signal(0);

let projectNames: ReadonlyMap<number, string> = new Map();

/** The files of each inbox, newest first. */
export const filesByInbox = computed(() => {
  const lists = new Map<number, File[]>();
  for (const file of files.value.values()) {
    const list = lists.get(file.container);
    if (list) list.push(file);
    else lists.set(file.container, [file]);
  }
  for (const list of lists.values()) list.sort((a, b) => b.id - a.id);
  return lists;
});

/** Consoles send job reports and never fetch them. */
export const isForConsoles = ({projectName}: InboxOfProject): boolean => projectName !== 'From Console';

/** The files of an inbox that no console has fetched yet. */
export function notFetched(inbox: InboxOfProject): File[] {
  const all = isForConsoles(inbox) ? filesByInbox.value.get(inbox.id) : undefined;
  return all?.filter(({fetched_at}) => !fetched_at) ?? [];
}

export function takeSnapshot(account: Account): void {
  user.value = account.user;
  projectNames = new Map(account.projects.map(({id, name}) => [id, name]));
  const newInboxes = new Map<number, InboxOfProject>();
  const newFiles = new Map<number, File>();
  for (const project of account.projects) {
    for (const {entries, ...inbox} of project.resources) {
      newInboxes.set(inbox.id, {...inbox, projectName: project.name});
      for (const file of entries ?? []) newFiles.set(file.id, file);
    }
  }
  inboxes.value = newInboxes;
  files.value = newFiles;
  ++fileSet.value;
}

/** `before` are the consoles at the start of the read: a console that moved during the read keeps its newer position. */
export function takeConsoles(list: readonly Console[], before = consoles.value): void {
  areConsolesRead.value = true;
  consoles.value = new Map(list.map((each) => [each.id, withMovement(each, before.get(each.id))]));
}

function withMovement(read: Console, before: ConsoleState | undefined): ConsoleState {
  const known = consoles.value.get(read.id);
  if (!known) return read;
  const {operator, position, movement} = known;
  if (position !== before?.position) return {...read, operator, position, movement};
  return {...read, movement: read.position ? movementTo(read.position, known) : undefined};
}

/** A position may come twice, with a list of consoles and as an event. */
function movementTo(position: Position, {position: before, movement}: ConsoleState): Movement | undefined {
  if (!before) return undefined;
  const isSame = position.received_at === before.received_at && position.time_s === before.time_s;
  return isSame ? movement : movementBetween(before, position);
}

/** Returns false for an event that asks for a new list of consoles. */
export function takeEvent({name, data}: ServiceEvent): boolean {
  switch (name) {
    case 'file-added':
    case 'file-fetched': {
      const {entry} = data as FileEvent;
      files.value = new Map(files.value).set(entry.id, entry);
      if (name === 'file-added') ++fileSet.value;
      return !entry.fetched_by || consoles.value.has(entry.fetched_by.console);
    }
    case 'file-removed': {
      const rest = new Map(files.value);
      rest.delete((data as FileEvent).entry.id);
      files.value = rest;
      ++fileSet.value;
      return true;
    }
    case 'bin-changed':
      ++fileSet.value;
      return true;
    case 'inbox-added':
      addInbox(data as InboxEvent);
      return true;
    case 'console-moved':
      return moveConsole(data as ConsoleMoved);
    default:
      return true;
  }
}

export const consoleName = ({console_string, hardware_address, id}: ConsoleState): string =>
  console_string || hardware_address || `#${id}`;

/** The name, with the operator if another console has this name. On the map no <bdi> isolates the name: a character does. */
export function labelOf(console: ConsoleState, all: readonly ConsoleState[]): string {
  const name = consoleName(console);
  const isUnique = all.every((each) => each === console || consoleName(each) !== name);
  return isUnique ? name : `\u2068${name}\u2069 · ${console.operator.name}`;
}

/**
 * By the service's clock. A position may have come after the list of the consoles. During an update of the service, an
 * answer may be of a version without `last_contact_at`. 0 if there was none.
 */
export const lastContactMs = ({last_contact_at, environment, position}: ConsoleState): number =>
  Math.max(...[last_contact_at, environment?.received_at, position?.received_at].map((time) => Date.parse(time ?? '') || 0));

/** By the service's clock if the console's clock is ahead of it. */
export const measuredMs = ({time_s, received_at}: Position): number => Math.min(time_s * 1000, Date.parse(received_at));

export function forgetAll(): void {
  user.value = undefined;
  inboxes.value = new Map();
  files.value = new Map();
  consoles.value = new Map();
  areConsolesRead.value = false;
}

function addInbox({entry: {entries, ...inbox}}: InboxEvent): void {
  const projectName = projectNames.get(inbox.project) ?? '';
  inboxes.value = new Map(inboxes.value).set(inbox.id, {...inbox, projectName});
  if (entries?.length) {
    files.value = new Map([...files.value, ...entries.map((file) => [file.id, file] as const)]);
    ++fileSet.value;
  }
}

function moveConsole({console, user: operator, ...position}: ConsoleMoved): boolean {
  const known = consoles.value.get(console);
  if (!known) return false;
  consoles.value = new Map(consoles.value).set(console, {...known, operator, position, movement: movementTo(position, known)});
  return true;
}
