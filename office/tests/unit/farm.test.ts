// The farm as a snapshot and the events after it.
import {beforeEach, describe, expect, it} from 'vitest';
import type {Account, Console, File} from '../../src/api/client';
import {consoles, files, filesByInbox, fileSet, forgetAll, inboxes, labelOf, lastContactMs, measuredMs, notFetched, takeConsoles, takeEvent, takeSnapshot} from '../../src/model/farm';

const file = (id: number, container = 10): File => ({
  id, container, kind: 'file', name: `field ${id}.zip`, size: 5, sha256: 'a'.repeat(64), created_at: '2026-05-01T06:12:30Z',
  etag: `"${'a'.repeat(64)}"`,
});

const account: Account = {
  user: {id: 8, name: 'office', role: 'office', disabled: false, farm: {id: 1, name: 'Hill Farm'}},
  cursor: '5',
  projects: [{
    id: 1, kind: 'project', name: 'To Console',
    resources: [{id: 10, kind: 'user-inbox', name: 'olga', project: 1, owner: {id: 7, name: 'olga'}, entries: [file(1), file(2)]}],
  }, {id: 2, kind: 'project', name: 'From Console', resources: []}],
};

const event = (name: string, data: unknown) => ({id: '6', name, data});

describe('the farm', () => {
  beforeEach(() => {
    forgetAll();
    takeSnapshot(account);
  });

  it('lists the files of an inbox, newest first', () => {
    expect(filesByInbox.value.get(10)?.map(({id}) => id)).toEqual([2, 1]);
    expect(inboxes.value.get(10)?.projectName).toBe('To Console');
  });

  it('follows files that come and go', () => {
    const container = {id: 10, kind: 'user-inbox', project: 1};
    takeEvent(event('file-added', {container, entry: file(3)}));
    takeEvent(event('file-added', {container, entry: file(3)}));
    takeEvent(event('file-removed', {container, entry: file(1)}));
    expect(filesByInbox.value.get(10)?.map(({id}) => id)).toEqual([3, 2]);
  });

  it('tells files that come, go or leave the bin from files that a console fetches', () => {
    const container = {id: 10, kind: 'user-inbox', project: 1};
    const changes = ['file-added', 'file-fetched', 'file-removed', 'bin-changed'].filter((name) => {
      const before = fileSet.value;
      takeEvent(event(name, {container, entry: file(3)}));
      return fileSet.value !== before;
    });
    expect(changes).toEqual(['file-added', 'file-removed', 'bin-changed']);
    const before = fileSet.value;
    takeSnapshot(account);
    expect(fileSet.value).not.toBe(before);
  });

  it('knows which files no console has fetched', () => {
    const container = {id: 10, kind: 'user-inbox', project: 1};
    const fetch = {fetched_at: '2026-05-01T07:00:00Z', fetched_by: {console: 3, user: {id: 7, name: 'olga'}}};
    expect(takeEvent(event('file-fetched', {container, entry: {...file(2), ...fetch}})), 'the console is unknown').toBe(false);
    expect(files.value.get(2)).toMatchObject(fetch);
    expect(notFetched(inboxes.value.get(10)!).map(({id}) => id)).toEqual([1]);
    expect(notFetched({...inboxes.value.get(10)!, projectName: 'From Console'})).toEqual([]);
  });

  it('adds an inbox with its files and its project', () => {
    const entry = {id: 11, kind: 'user-inbox', name: 'piet', project: 1, owner: {id: 9, name: 'piet'}, entries: [file(4, 11)]};
    takeEvent(event('inbox-added', {container: {id: 1, kind: 'project'}, entry}));
    expect(inboxes.value.get(11)?.projectName).toBe('To Console');
    expect(files.value.has(4)).toBe(true);
  });

  it('knows the project of the first inbox in it', () => {
    const entry = {id: 12, kind: 'user-inbox', name: 'olga', project: 2, owner: {id: 7, name: 'olga'}, entries: []};
    takeEvent(event('inbox-added', {container: {id: 2, kind: 'project'}, entry}));
    expect(inboxes.value.get(12)?.projectName).toBe('From Console');
  });

  it('moves a known console and asks for the list of an unknown one', () => {
    const known: Console = {id: 3, console_string: 'Console 12', hardware_address: '', operator: {id: 7, name: 'olga'},
      environment: null, devices: [], position: null, last_contact_at: '1970-01-01T00:06:00Z'};
    takeConsoles([known]);
    const move = {console: 3, user: {id: 9, name: 'piet'}, time_s: 100, latitude: 51.5, longitude: 5.5,
      received_at: '1970-01-01T00:05:00.000Z'};
    expect(takeEvent(event('console-moved', move))).toBe(true);
    const moved = consoles.value.get(3)!;
    expect(moved).toMatchObject({operator: {name: 'piet'}, position: {time_s: 100, received_at: move.received_at}});
    expect(lastContactMs(moved)).toBe(360_000);
    takeEvent(event('console-moved', {...move, received_at: '1970-01-01T00:07:00.000Z'}));
    expect(lastContactMs(consoles.value.get(3)!)).toBe(420_000);
    const {last_contact_at: _, ...old} = known;
    expect(lastContactMs(old as Console), 'of a service before an update').toBe(0);
    expect(takeEvent(event('console-moved', {...move, console: 4}))).toBe(false);
  });

  it('tells the time of a position by the service if the clock of the console is ahead', () => {
    const position = {latitude: 51, longitude: 5, received_at: '1970-01-01T00:05:00Z'};
    expect(measuredMs({...position, time_s: 400})).toBe(300_000);
    expect(measuredMs({...position, time_s: 100})).toBe(100_000);
  });

  it('knows the movement after a new list of consoles, and no older place', () => {
    const place = (time_s: number, latitude: number) => ({time_s, latitude, longitude: 5, received_at: new Date(time_s * 1000).toISOString()});
    const at = (position: Console['position']): Console => ({id: 3, console_string: '', hardware_address: '', operator: {id: 7, name: 'olga'},
      environment: null, devices: [], position, last_contact_at: '1970-01-01T00:00:00Z'});
    const shown = () => consoles.value.get(3)!;
    takeConsoles([at(place(100, 51))]);
    takeConsoles([at(place(160, 51.001))]);
    expect(shown().movement?.heading).toBe(0);
    takeConsoles([at(place(160, 51.001))]);
    expect(shown().movement?.heading).toBe(0);
    takeEvent(event('console-moved', {console: 3, user: {id: 7, name: 'olga'}, ...place(160, 51.001)}));
    expect(shown().movement?.heading).toBe(0);
    const before = consoles.value;
    takeEvent(event('console-moved', {console: 3, user: {id: 9, name: 'piet'}, ...place(220, 51)}));
    takeConsoles([at(place(160, 51.001))], before);
    expect(shown()).toMatchObject({operator: {name: 'piet'}, position: {time_s: 220}, movement: {heading: 180}});
    takeConsoles([at(null)]);
    expect(shown()).toMatchObject({position: null});
    expect(shown().movement).toBeUndefined();
  });

  it('adds the operator to a name that two consoles have', () => {
    const all = [[3, 'Console 12', 'olga'], [4, 'Console 12', 'piet'], [5, 'Console 13', 'piet']].map(([id, name, operator]) =>
      ({id, console_string: name, hardware_address: '', operator: {id: 7, name: operator}, environment: null, devices: [], position: null,
        last_contact_at: ''}) as Console);
    expect(all.map((each) => labelOf(each, all))).toEqual(['\u2068Console 12\u2069 · olga', '\u2068Console 12\u2069 · piet', 'Console 13']);
  });

  it('knows nothing after the session', () => {
    forgetAll();
    expect([files.value.size, inboxes.value.size, consoles.value.size]).toEqual([0, 0, 0]);
  });
});
