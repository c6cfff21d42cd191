// The warnings that the page shows before it sends a file.
import {beforeEach, describe, expect, it, vi} from 'vitest';
import type {Answer, Layer, Reading} from '../../src/map/model';
import {doubtsOf} from '../../src/model/doubts';
import {files, forgetAll, type InboxOfProject} from '../../src/model/farm';
import {sendings, type Sending, type SendingState} from '../../src/model/sending';

const inbox = (id: number, projectName: string): InboxOfProject =>
  ({id, kind: 'user-inbox', name: 'olga', project: 1, owner: {id: 7, name: 'olga'}, projectName});

const reading = (changes: Partial<Reading>): Answer =>
  ({reading: {layers: [], notes: [], fields: [], names: [], hasTaskData: true, ...changes}});

const kinds = (projectName: string, answer: Answer | undefined) =>
  doubtsOf('a.zip', [inbox(1, projectName)], answer).map(({kind}) => kind);

const rates = reading({layers: [{kind: 'grid', name: '', extent: [0, 0, 1, 1], channels: []} as Layer]});

describe('a doubt', () => {
  beforeEach(forgetAll);

  it('is about a prescription among other files only', () => {
    expect(kinds('Curves', rates)).toEqual(['misplaced']);
    expect(kinds('To Console', rates)).toEqual([]);
  });

  it('is about prescriptions without task data and files that are no archive', () => {
    expect(kinds('To Console', reading({hasTaskData: false}))).toEqual(['noTaskData']);
    expect(kinds('To Console', {refusal: 'notArchive'})).toEqual(['notArchive']);
    expect(kinds('Curves', reading({hasTaskData: false}))).toEqual([]);
  });

  it('is about a damaged archive among guidance lines, but not about their other files', () => {
    expect(kinds('Curves', {refusal: 'notArchive'})).toEqual(['notArchive']);
    expect(kinds('AB Lines', {refusal: 'damaged'})).toEqual(['notArchive']);
    expect(kinds('From Console', {refusal: 'notArchive'})).toEqual([]);
    expect(doubtsOf('one.crv', [inbox(1, 'Curves')], {refusal: 'notArchive'})).toEqual([]);
  });

  it('is not about a file that is only too large to be drawn, or not read yet', () => {
    expect(kinds('To Console', {refusal: 'tooLarge'})).toEqual([]);
    expect(kinds('To Console', undefined)).toEqual([]);
  });

  it('is about a name that one of the inboxes has', () => {
    const known = {id: 5, container: 2, kind: 'file' as const, name: 'a.zip', size: 1, sha256: '', created_at: '', etag: ''};
    files.value = new Map([[5, known]]);
    expect(doubtsOf('a.zip', [inbox(1, 'Curves'), inbox(2, 'Curves')], undefined)).toEqual([{kind: 'twice', name: 'a.zip', inbox: 'olga'}]);
    expect(doubtsOf('a.zip', [inbox(1, 'Curves')], undefined)).toEqual([]);
  });

  it('is about a name that goes to an inbox twice', () => {
    vi.stubGlobal('navigator', {locks: {request: () => undefined}}); // A tab that sends holds a lock.
    const targets = [inbox(1, 'Curves')];
    const twice = [{kind: 'twice', name: 'a.zip', inbox: 'olga'}];
    expect(doubtsOf('a.zip', targets, undefined, ['b.zip', 'a.zip'])).toEqual(twice);
    expect(doubtsOf('a.zip', targets, undefined, ['b.zip'])).toEqual([]);
    const sending = (state: SendingState, target: number): Sending =>
      ({key: 1, file: new File([], 'a.zip'), targets: [target], note: '', state, sentBytes: 0});
    const found = ([['sending', 1], ['paused', 1], ['done', 1], ['sending', 2]] as const).map(([state, target]) => {
      sendings.value = [sending(state, target)];
      return doubtsOf('a.zip', targets, undefined).length;
    });
    sendings.value = [];
    expect(found).toEqual([1, 1, 0, 0]);
  });
});
