// An inbox on which files can be dropped, for it and for further inboxes of the same project.
import {type Signal, useSignal} from '@preact/signals';
import type {ComponentChildren} from 'preact';
import type {InboxOfProject} from '../model/farm';
import {projectName, t} from '../texts';
import {useDropTarget} from './dropTarget';
import type {Chosen} from './Review';

interface Props {
  inbox: InboxOfProject;
  all: readonly InboxOfProject[];
  onChoose: (chosen: Chosen) => void;
  children: ComponentChildren;
}

export function SendBox({inbox, all, onChoose, children}: Props) {
  const also = useSignal<ReadonlySet<number>>(new Set());
  const others = all.filter(({id, project}) => project === inbox.project && id !== inbox.id);
  const take = (files: readonly File[]) =>
    onChoose({
      files,
      targets: [inbox, ...others.filter(({id}) => also.value.has(id))],
      onSent: () => {
        also.value = new Set();
      },
    });
  const {isOver, handlers} = useDropTarget(take);
  return (
    <section {...handlers}>
      <h2>{inbox.owner.name} · {projectName(inbox.projectName)}</h2>
      <div class={`send ${isOver.value ? 'over' : ''}`}>
        <p>{t('send.drop', {inbox: inbox.owner.name})}</p>
        <label class="button main">
          {t('send.choose')}
          <input type="file" multiple onChange={(event) => {
            take([...event.currentTarget.files ?? []]);
            event.currentTarget.value = '';
          }} />
        </label>
        {others.length > 0 && <Others inboxes={others} chosen={also} />}
      </div>
      {children}
    </section>
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
