// The files on their way, at the bottom of every view.
import {useEffect} from 'preact/hooks';
import {findLeftUploads, isSame, leftUploads, removeLeft, type LeftUpload} from '../model/left_uploads';
import {isUnfinished, pause, remove, resume, send, sendings, type Sending} from '../model/sending';
import type {Failure} from '../model/upload_errors';
import {inboxes, user} from '../model/farm';
import {countText, refusalText, t, type TextKey} from '../texts';
import {tell} from './Toast';

export function Sendings() {
  useEffect(() => void findLeftUploads(), [user.value?.id]);
  const done = sendings.value.filter((each) => !isUnfinished(each));
  const sent = done.filter(({failure}) => !failure);
  const collapsed = sent.length > 1 ? sent : [];
  if (sendings.value.length + leftUploads.value.length === 0) return null;
  return (
    <aside class="sendings">
      {leftUploads.value.map((upload) => <LeftLine key={upload.key} upload={upload} />)}
      {sendings.value.filter((each) => !collapsed.includes(each)).map((sending) => <Line key={sending.key} sending={sending} />)}
      {collapsed.length > 0 && (
        <details>
          <summary>{t('send.done')} ({countText(collapsed.length)})</summary>
          {collapsed.map((sending) => <Line key={sending.key} sending={sending} />)}
        </details>
      )}
      <ForAll text="send.resumeAll" list={sendings.value.filter(isHalted)} onDo={resume} />
      <ForAll text="send.removeFailed" list={sendings.value.filter(({state}) => state === 'failed')} onDo={remove} />
      <ForAll text="send.removeDone" list={done} onDo={remove} />
    </aside>
  );
}

/** One button for several lines. */
function ForAll({text, list, onDo}: {text: TextKey; list: readonly Sending[]; onDo: (key: number) => void}) {
  if (list.length < 2) return null;
  return (
    <button onClick={() => {
      document.querySelector<HTMLElement>('main')?.focus(); // The button goes.
      list.forEach(({key}) => onDo(key));
    }}>{t(text, {count: countText(list.length)})}</button>
  );
}

const isHalted = ({state}: Sending): boolean => state === 'paused' || state === 'failed';

function Line({sending}: {sending: Sending}) {
  const {key, file, state, targets} = sending;
  return (
    <div class={`sending ${state}`}>
      <span class="name" title={file.name}><bdi>{file.name}</bdi></span>
      <span>{targetsText(targets)}</span>
      {state !== 'done' && <progress max={file.size || 1} value={sending.sentBytes} aria-label={file.name} />}
      <span role="status">{stateText(sending)}</span>
      {state !== 'done' && <button onClick={() => (isHalted(sending) ? resume(key) : pause(key))}>
        {t(isHalted(sending) ? 'send.resume' : 'send.pause')}
      </button>}
      <RemoveButton name={file.name} onRemove={() => remove(key)} />
    </div>
  );
}

function LeftLine({upload}: {upload: LeftUpload}) {
  const {name, targets, note} = upload;
  const take = (file: File | undefined) => {
    if (!file) return;
    if (!isSame(upload, file)) return tell(t('send.otherFile', {name}));
    send([file], targets, note);
  };
  return (
    <div class="sending left">
      <span class="name" title={name}><bdi>{name}</bdi></span>
      <span>{targetsText(targets)}</span>
      <span>{t(upload.address ? 'send.left' : 'send.leftWaiting')}</span>
      <label class="button">
        {t('send.chooseAgain')}
        <input type="file" aria-label={`${t('send.chooseAgain')} ${name}`} onChange={(event) => {
          take(event.currentTarget.files?.[0]);
          event.currentTarget.value = '';
        }} />
      </label>
      <RemoveButton name={name} onRemove={() => void removeLeft(upload)} />
    </div>
  );
}

function RemoveButton({name, onRemove}: {name: string; onRemove: () => void}) {
  return (
    <button aria-label={`${t('send.remove')} ${name}`} onClick={({currentTarget}) => {
      passFocus(currentTarget);
      onRemove();
    }}>{t('send.remove')}</button>
  );
}

/** The line of the button goes: the next line takes the focus. Without lines, the view takes it. */
function passFocus(button: HTMLElement): void {
  if (button !== document.activeElement) return;
  const all = [...document.querySelectorAll<HTMLElement>('.sending > button:last-child')].filter((each) => each.checkVisibility());
  const place = all.indexOf(button);
  (all[place + 1] ?? all[place - 1] ?? document.querySelector<HTMLElement>('main'))?.focus();
}

const targetsText = (targets: readonly number[]): string =>
  t('send.to', {inbox: targets.map((id) => inboxes.value.get(id)?.owner.name ?? '–').join(', ')});

function stateText({state, file, sentBytes, failure}: Sending): string {
  const percent = Math.floor((100 * sentBytes) / (file.size || 1));
  if (!failure) return t(`send.${state}`, {percent});
  if (failure.kind === 'notCompared') return t('send.notCompared');
  return t(state === 'waiting' ? 'send.retry' : 'send.failed', {reason: reasonOf(failure)});
}

function reasonOf(failure: Exclude<Failure, {kind: 'notCompared'}>): string {
  if (failure.kind !== 'refused') return t(`send.${failure.kind}`);
  return failure.problem ? refusalText(failure.problem) : t('send.refused');
}
