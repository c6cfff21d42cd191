// The place to drop files for an inbox, and for further inboxes of the same project.
import {type Signal, useSignal} from '@preact/signals';
import {filesByInbox, type InboxOfProject} from '../model/farm';
import {send} from '../model/sending';
import {t} from '../texts';

interface Question {
  files: readonly globalThis.File[];
  targets: readonly number[];
  text: string;
}

export function SendBox({inbox, all}: {inbox: InboxOfProject; all: readonly InboxOfProject[]}) {
  const isOver = useSignal(false);
  const also = useSignal<ReadonlySet<number>>(new Set());
  const question = useSignal<Question | undefined>(undefined);
  const others = all.filter(({id, project}) => project === inbox.project && id !== inbox.id);
  const take = (list: FileList | null | undefined) => {
    const files = [...(list ?? [])];
    const targets = [inbox.id, ...others.map(({id}) => id).filter((id) => also.value.has(id))];
    const text = namedTwice(files, targets, all);
    if (text) question.value = {files, targets, text};
    else send(files, targets);
  };
  const answer = (yes: boolean) => {
    if (yes && question.value) send(question.value.files, question.value.targets);
    question.value = undefined;
  };
  return (
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
      {question.value && (
        <div class="question" role="alertdialog" aria-label={question.value.text}>
          <p>{question.value.text}</p>
          <button class="main" onClick={() => answer(true)}>{t('send.yes')}</button>
          <button onClick={() => answer(false)}>{t('send.no')}</button>
        </div>
      )}
    </div>
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

/** The question about the first name that a target already has, or empty. */
export function namedTwice(files: readonly {name: string}[], targets: readonly number[],
    all: readonly InboxOfProject[]): string {
  for (const target of targets) {
    const names = new Set(filesByInbox.value.get(target)?.map(({name}) => name));
    const twice = files.find(({name}) => names.has(name));
    const owner = all.find(({id}) => id === target)?.owner.name ?? '';
    if (twice) return t('send.twice', {inbox: owner, name: twice.name});
  }
  return '';
}
