// The inboxes of the farm and the files in one of them.
import {useSignal, type Signal} from '@preact/signals';
import {apiPath, client, documentOf, type File} from '../api/client';
import {filesByInbox, inboxes, isForConsoles, notFetched, user, type InboxOfProject} from '../model/farm';
import {dateText, projectName, sizeText, t, type TextKey} from '../texts';
import {useDropTarget} from './dropTarget';
import {Fetched} from './Fetched';
import {LongTable, timeWidth} from './LongTable';
import {Review, type Chosen} from './Review';
import {restore, tellTwice} from './restore';
import {matches, Search} from './Search';
import {SendBox} from './SendBox';
import {tell, tellError} from './Toast';

export function Files({inboxId}: {inboxId: number | undefined}) {
  const chosen = useSignal<Chosen | undefined>(undefined);
  const onlyNotFetched = useSignal(false);
  const mine = [...inboxes.value.values()].filter(({owner}) =>
    user.value?.role === 'office' || owner.id === user.value?.id);
  if (mine.length === 0) return <p class="empty">{t('files.noInboxes')}</p>;
  const inbox = inboxId === undefined ? mine[0] : mine.find(({id}) => id === inboxId);
  const choose = (files: Chosen) => {
    if (files.files.length > 0) chosen.value = files;
  };
  return (
    <div class="files">
      <InboxList all={mine} shown={inbox} onlyNotFetched={onlyNotFetched.value} onChoose={choose} />
      {inbox ? (
        <SendBox key={inbox.id} inbox={inbox} all={mine} onChoose={choose}>
          <FileList inbox={inbox} onlyNotFetched={onlyNotFetched} />
        </SendBox>
      ) : <p class="empty" role="alert">{t('files.noInbox')}</p>}
      {chosen.value && <Review chosen={chosen.value} onEnd={() => {
        chosen.value = undefined;
      }} />}
    </div>
  );
}

interface ListProps {
  all: readonly InboxOfProject[];
  shown: InboxOfProject | undefined;
  onlyNotFetched: boolean;
  onChoose: (chosen: Chosen) => void;
}

function InboxList({all, shown, ...props}: ListProps) {
  const owners = [...new Map(all.map(({owner}) => [owner.id, owner])).values()]
    .sort((a, b) => a.name.localeCompare(b.name));
  return (
    <nav class="inboxes" aria-label={t('files.operators')}>
      {owners.map(({id}) => <Operator key={id} all={all.filter(({owner}) => owner.id === id)} shown={shown} {...props} />)}
    </nav>
  );
}

/** The inboxes of an operator. The name takes dropped files for the shown kind of inbox. */
function Operator({all, shown, onlyNotFetched, onChoose}: ListProps) {
  const owner = all[0]?.owner;
  const target = all.find(({project}) => project === shown?.project);
  const {isOver, handlers} = useDropTarget((files) => target && onChoose({files, targets: [target]}));
  return (
    <details open={owner?.id === shown?.owner.id}>
      <summary class={isOver.value ? 'over' : ''} {...(target && handlers)}>{owner?.name}</summary>
      {all.map((inbox) => (
        <InboxLink key={inbox.id} inbox={inbox} isShown={inbox.id === shown?.id} onlyNotFetched={onlyNotFetched} onChoose={onChoose} />
      ))}
    </details>
  );
}

/** Files can be dropped on the name of an inbox. */
function InboxLink({inbox, isShown, onlyNotFetched, onChoose}: {inbox: InboxOfProject; isShown: boolean} & Pick<ListProps, 'onlyNotFetched' | 'onChoose'>) {
  const {isOver, handlers} = useDropTarget((files) => onChoose({files, targets: [inbox]}));
  return (
    <a href={`#/files/${inbox.id}`} class={isOver.value ? 'over' : ''} aria-current={isShown ? 'page' : undefined} {...handlers}>
      {projectName(inbox.projectName)}
      <span class="count">{listed(inbox, onlyNotFetched).length}</span>
    </a>
  );
}

function listed(inbox: InboxOfProject, onlyNotFetched: boolean): readonly File[] {
  return onlyNotFetched && isForConsoles(inbox) ? notFetched(inbox) : filesByInbox.value.get(inbox.id) ?? [];
}

function FileList({inbox, onlyNotFetched}: {inbox: InboxOfProject; onlyNotFetched: Signal<boolean>}) {
  const search = useSignal('');
  const all = listed(inbox, onlyNotFetched.value);
  const found = all.filter(({name, note = '', sent_by: sender}) => matches(search.value, name, note, sender?.name ?? ''));
  const hasFetches = user.value?.role === 'office' && isForConsoles(inbox);
  return (
    <>
      <div class="bar">
        <Search text={search} label={t('files.search')} />
        {hasFetches && (
          <button aria-pressed={onlyNotFetched.value} onClick={() => {
            onlyNotFetched.value = !onlyNotFetched.value;
          }}>{t('files.notFetched')}</button>
        )}
        <span role="status">{t('files.count', {count: found.length})}</span>
      </div>
      {found.length === 0
        ? <p class="empty">{t(emptyText(all.length > 0, filesByInbox.value.has(inbox.id)))}</p>
        : <FileTable files={found} hasFetches={hasFetches} />}
    </>
  );
}

function emptyText(isSearched: boolean, hasFiles: boolean): TextKey {
  if (isSearched) return 'files.noMatch';
  return hasFiles ? 'files.allFetched' : 'files.none';
}

function FileTable({files, hasFetches}: {files: readonly File[]; hasFetches: boolean}) {
  const heads = [t('files.name'), t('files.size'), t('send.done'), ...(hasFetches ? [t('files.fetched')] : []), t('action')];
  return (
    <LongTable heads={heads} widths={{1: `max(104px, ${t('files.size').length}ch + 32px)`, 2: timeWidth(0.85), [heads.length - 1]: `calc(${(t('files.map') + t('files.delete')).length}ch + 78px)`}} rows={files} keyOf={({id}) => id} cells={(file) => [
      <Name file={file} />,
      sizeText(file.size),
      <span class="lines">
        <span title={file.sent_by?.name}>{file.sent_by?.name}</span>
        <span class="detail" title={dateText(file.created_at)}>{dateText(file.created_at)}</span>
      </span>,
      ...(hasFetches ? [<Fetched file={file} />] : []),
      <span class="actions">
        <a class="button" href={`#/map/${file.id}`} aria-label={`${t('files.map')} ${file.name}`}>{t('files.map')}</a>
        <button aria-label={`${t('files.delete')} ${file.name}`} onClick={() => void remove(file)}>
          {t('files.delete')}
        </button>
      </span>,
    ]} />
  );
}

function Name({file: {id, name, note}}: {file: File}) {
  const link = <a href={`${apiPath}/resources/${id}/content`} download={name} title={name}><bdi>{name}</bdi></a>;
  return note ? <span class="lines"><span>{link}</span><span class="detail" title={note}>{note}</span></span> : link;
}

async function remove(file: File): Promise<void> {
  try {
    await documentOf(client.DELETE('/resources/{id}', {params: {path: {id: file.id}}}));
    const canUndo = user.value?.role === 'office';
    tell(t('files.deleted', {name: file.name}),
      canUndo ? () => void tellTwice([file], () => restore(file)).catch(tellError) : undefined);
  } catch (error) {
    tellError(error);
  }
}
