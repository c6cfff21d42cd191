// The files that were chosen, before they are sent: their maps, and what speaks against sending.
import {useSignal} from '@preact/signals';
import {useEffect, useRef} from 'preact/hooks';
import type {Answer} from '../map/model';
import {readFile} from '../map/reader';
import {doubtsOf, type Doubt} from '../model/doubts';
import type {InboxOfProject} from '../model/farm';
import {send} from '../model/sending';
import {projectName, sizeText, t} from '../texts';
import {Preview} from './Preview';

export interface Chosen {
  files: readonly File[];
  /** Inboxes of one project. */
  targets: readonly InboxOfProject[];
  onSent?: () => void;
}

/** As in the service's API. */
const longestNote = 200;

export function Review({chosen: {files, targets, onSent}, onEnd}: {chosen: Chosen; onEnd: () => void}) {
  const answers = useAnswers(files);
  const shown = useSignal(0);
  const note = useSignal('');
  const box = useRef<HTMLDialogElement>(null);
  useEffect(() => box.current?.showModal(), []);
  const names = files.map(({name}) => name);
  const doubts = files.flatMap((file, index) => doubtsOf(file.name, targets, answers.get(file), names.slice(0, index)));
  const isReading = answers.size < files.length;
  const answer = answers.get(files[shown.value] as File);
  const title = t('review.title', {inbox: targets.map(({owner}) => owner.name).join(', '),
    project: projectName(targets[0]?.projectName ?? '')});
  return (
    <dialog class="review" ref={box} aria-label={title} onClose={onEnd}>
      <h2>{title}</h2>
      <FileChoice files={files} shown={shown.value} onShow={(index) => {
        shown.value = index;
      }} />
      <div class="review-map">
        {answer ? <Preview key={shown.value} answer={answer} /> : <p class="empty" role="status">{t('map.reading')}</p>}
      </div>
      {doubts.length > 0 && <Doubts doubts={doubts} />}
      <div class="bar end">
        <label class="note">
          {t('send.note')}
          <input value={note} maxLength={longestNote} onInput={(event) => {
            note.value = event.currentTarget.value;
          }} />
        </label>
        {isReading && <span role="status">{t('review.reading')}</span>}
        <button onClick={() => box.current?.close()}>{t('send.no')}</button>
        <button class="main" disabled={isReading} onClick={() => {
          send(files, targets.map(({id}) => id), note.value.replace(/[\p{Cc}\u2028-\u202e\u2066-\u2069]+/gu, ' ').trim());
          onSent?.();
          box.current?.close();
        }}>{t(doubts.length > 0 ? 'review.sendAnyway' : 'send.yes')}</button>
      </div>
    </dialog>
  );
}

/** Reads the files, one after the other, and returns the answers so far. */
function useAnswers(files: readonly File[]): ReadonlyMap<File, Answer> {
  const answers = useSignal<ReadonlyMap<File, Answer>>(new Map());
  useEffect(() => {
    let isOpen = true;
    void (async () => {
      for (const file of files) {
        const answer = await readFile(file.name, file);
        if (!isOpen) return;
        answers.value = new Map(answers.value).set(file, answer);
      }
    })();
    return () => {
      isOpen = false;
    };
  }, [files]);
  return answers.value;
}

function FileChoice({files, shown, onShow}: {files: readonly File[]; shown: number; onShow: (index: number) => void}) {
  return (
    <ul class="chosen">
      {files.map((file, index) => (
        <li key={index}>
          <button aria-pressed={index === shown} onClick={() => onShow(index)}><bdi>{file.name}</bdi> · {sizeText(file.size)}</button>
        </li>
      ))}
    </ul>
  );
}

function Doubts({doubts}: {doubts: readonly Doubt[]}) {
  return (
    <div role="alert">
      <ul class="notes">{doubts.map((doubt, index) => <li key={index}>{doubtText(doubt)}</li>)}</ul>
    </div>
  );
}

function doubtText(doubt: Doubt): string {
  if (doubt.kind === 'twice') return t('send.twice', {inbox: doubt.inbox, name: doubt.name});
  if (doubt.kind === 'misplaced') {
    return t('send.misplaced', {name: doubt.name, project: projectName(doubt.project), right: projectName('To Console')});
  }
  return t(`send.${doubt.kind}`, {name: doubt.name});
}
