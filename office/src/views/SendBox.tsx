// The place to drop files for an inbox, and for further inboxes of the same project.
import {type Signal, useSignal} from '@preact/signals';
import type {InboxOfProject} from '../model/farm';
import {t} from '../texts';
import {Review, type Chosen} from './Review';

export function SendBox({inbox, all}: {inbox: InboxOfProject; all: readonly InboxOfProject[]}) {
  const isOver = useSignal(false);
  const also = useSignal<ReadonlySet<number>>(new Set());
  const chosen = useSignal<Chosen | undefined>(undefined);
  const others = all.filter(({id, project}) => project === inbox.project && id !== inbox.id);
  const take = (list: FileList | null | undefined) => {
    const files = [...(list ?? [])];
    const targets = [inbox, ...others.filter(({id}) => also.value.has(id))];
    if (files.length > 0) chosen.value = {files, targets};
  };
  return (
    <>
      <div class={`send ${isOver.value ? 'over' : ''}`}
        onDragOver={(event) => {
          event.preventDefault();
          isOver.value = true;
        }}
        onDragLeave={() => {
          isOver.value = false;
        }}
        onDrop={(event) => {
          event.preventDefault();
          isOver.value = false;
          take(event.dataTransfer?.files);
        }}>
        <p>{t('send.drop', {inbox: inbox.owner.name})}</p>
        <label class="button main">
          {t('send.choose')}
          <input type="file" multiple onChange={(event) => {
            take(event.currentTarget.files);
            event.currentTarget.value = '';
          }} />
        </label>
        {others.length > 0 && <Others inboxes={others} chosen={also} />}
      </div>
      {chosen.value && <Review chosen={chosen.value} onEnd={() => {
        chosen.value = undefined;
      }} />}
    </>
  );
}

/** The same kind of inbox of other operators, to be marked. */
function Others({inboxes, chosen}: {inboxes: readonly InboxOfProject[]; chosen: Signal<ReadonlySet<number>>}) {
  const mark = (id: number, isMarked: boolean) => {
    const marked = new Set(chosen.value);
    if (isMarked) marked.add(id);
    else marked.delete(id);
    chosen.value = marked;
  };
  return (
    <fieldset>
      <legend>{t('send.also')}</legend>
      {inboxes.map(({id, owner}) => (
        <label key={id}>
          <input type="checkbox" checked={chosen.value.has(id)}
            onChange={(event) => mark(id, event.currentTarget.checked)} />
          {owner.name}
        </label>
      ))}
    </fieldset>
  );
}
