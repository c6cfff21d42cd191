// The files on their way, at the bottom of every view.
import {useEffect} from 'preact/hooks';
import {findLeftUploads, isSame, leftUploads, removeLeft, unlist, type LeftUpload} from '../model/left_uploads';
import {isUnfinished, pause, remove, resume, send, sendings, type Sending} from '../model/sending';
import type {Failure} from '../model/upload_errors';
import {inboxes, user} from '../model/farm';
import {countText, refusalText, t} from '../texts';
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
      {done.length > 1 && (
        <button onClick={() => done.forEach(({key}) => remove(key))}>{t('send.removeDone', {count: done.length})}</button>
      )}
    </aside>
  );
}

function Line({sending}: {sending: Sending}) {
  const {key, file, state, targets} = sending;
  return (
    <div class={`sending ${state}`}>
      <span class="name" title={file.name}><bdi>{file.name}</bdi></span>
      <span>{targetsText(targets)}</span>
      {state !== 'done' && <progress max={file.size || 1} value={sending.sentBytes} aria-label={file.name} />}
      <span role="status">{stateText(sending)}</span>
      {(state === 'sending' || state === 'waiting') &&
        <button onClick={() => pause(key)}>{t('send.pause')}</button>}
      {(state === 'paused' || state === 'failed') &&
        <button onClick={() => resume(key)}>{t('send.resume')}</button>}
      <button aria-label={`${t('send.remove')} ${file.name}`} onClick={() => remove(key)}>{t('send.remove')}</button>
    </div>
  );
}

function LeftLine({upload}: {upload: LeftUpload}) {
  const {name, targets, note} = upload;
  const take = (file: File | undefined) => {
    if (!file) return;
    if (!isSame(upload, file)) return tell(t('send.otherFile', {name}));
    unlist(upload);
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
      <button aria-label={`${t('send.remove')} ${name}`} onClick={() => void removeLeft(upload)}>{t('send.remove')}</button>
    </div>
  );
}

const targetsText = (targets: readonly number[]): string =>
  t('send.to', {inbox: targets.map((id) => inboxes.value.get(id)?.owner.name ?? '').join(', ')});

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
