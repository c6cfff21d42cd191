// The files on their way, at the bottom of every view.
import {pause, remove, resume, sendings, type Sending} from '../model/sending';
import {inboxes} from '../model/farm';
import {t} from '../texts';

export function Sendings() {
  if (sendings.value.length === 0) return null;
  return (
    <aside class="sendings">
      {sendings.value.map((sending) => <Line key={sending.key} sending={sending} />)}
    </aside>
  );
}

function Line({sending}: {sending: Sending}) {
  const {key, file, state, targets} = sending;
  const names = targets.map((id) => inboxes.value.get(id)?.owner.name ?? '').join(', ');
  return (
    <div class={`sending ${state}`}>
      <span class="name" title={file.name}>{file.name}</span>
      <span>{t('send.to', {inbox: names})}</span>
      <progress max={file.size || 1} value={state === 'done' ? file.size || 1 : sending.sentBytes}
        aria-label={file.name} />
      <span role="status">{stateText(sending)}</span>
      {(state === 'sending' || state === 'waiting') &&
        <button onClick={() => pause(key)}>{t('send.pause')}</button>}
      {(state === 'paused' || state === 'failed') &&
        <button onClick={() => resume(key)}>{t('send.resume')}</button>}
      <button aria-label={`${t('send.remove')} ${file.name}`} onClick={() => remove(key)}>{t('send.remove')}</button>
    </div>
  );
}

function stateText({state, file, sentBytes, error}: Sending): string {
  const percent = Math.floor((100 * sentBytes) / (file.size || 1));
  return t(`send.${state}`, {percent, reason: error || t('send.noAnswer')});
}
