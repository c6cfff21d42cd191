// The deleted files of the farm.
import {useSignal} from '@preact/signals';
import {useEffect} from 'preact/hooks';
import {client, documentOf, ignoreMissing, type BinFile} from '../api/client';
import {fileSet, inboxes} from '../model/farm';
import {reconnections} from '../model/session';
import {dateText, projectName, t} from '../texts';
import {Ask, type Question} from './Ask';
import {LongTable, timeWidth} from './LongTable';
import {newestList} from './newest';
import {restore, tellTwice} from './restore';
import {matches, Search} from './Search';
import {useSlowly} from './slowly';
import {tellError} from './Toast';

/** Many files may come or go at once: the bin is read at most once in this time. */
const pauseMs = 1000;

const [bin, read] = newestList<'files', BinFile>('/bin?limit=1000', 'files');

export function Bin() {
  const search = useSignal('');
  const marked = useSignal<ReadonlySet<number>>(new Set());
  // Each file that comes or goes may change the bin.
  const current = useSlowly(fileSet, pauseMs);
  useEffect(() => void read(), [current, reconnections.value]);
  if (!bin.value) return <p class="empty" role="status">{t('link.connecting')}</p>;
  if (bin.value.length === 0) return <p class="empty">{t('bin.none')}</p>;
  const found = bin.value.filter((file) => matches(search.value, file.name, file.deleted_by, inboxText(file)));
  const chosen = found.filter(({id}) => marked.value.has(id));
  const mark = (list: readonly BinFile[], isMarked: boolean) => {
    const all = new Set(marked.value);
    for (const {id} of list) {
      if (isMarked) all.add(id);
      else all.delete(id);
    }
    marked.value = all;
  };
  return (
    <>
      <div class="bar wrap">
        <Search text={search} label={t('files.search')} />
        <label>
          <input type="checkbox" checked={found.length > 0 && chosen.length === found.length}
            onChange={(event) => mark(found, event.currentTarget.checked)} />
          {t('bin.markAll')}
        </label>
        <span role="status">{t('files.count', {count: found.length})}</span>
        <Actions chosen={chosen} />
      </div>
      {found.length === 0 ? <p class="empty">{t('files.noMatch')}</p>
        : <Table found={found} marked={marked.value} onMark={(file, isMarked) => mark([file], isMarked)} />}
    </>
  );
}

interface TableProps {
  found: readonly BinFile[];
  marked: ReadonlySet<number>;
  onMark: (file: BinFile, isMarked: boolean) => void;
}

function Table({found, marked, onMark}: TableProps) {
  const heads = [t('files.name'), t('bin.inbox'), t('bin.by'), t('bin.deleted'), t('bin.until'), t('action')];
  return (
    <LongTable heads={heads} widths={{2: '12%', 3: timeWidth(), 4: timeWidth(), 5: `calc(${t('bin.restore').length}ch + 52px)`}} rows={found} keyOf={({id}) => id} cells={(file) => [
      <label title={file.name}>
        <input type="checkbox" checked={marked.has(file.id)} onChange={(event) => onMark(file, event.currentTarget.checked)} />
        <bdi>{file.name}</bdi>
      </label>,
      inboxText(file), file.deleted_by, dateText(file.deleted_at), dateText(file.expires_at),
      <button aria-label={`${t('bin.restore')} ${file.name}`} onClick={() => void restoreAll([file])}>
        {t('bin.restore')}
      </button>,
    ]} />
  );
}

/** Restores or deletes the marked files, one after the other. */
function Actions({chosen}: {chosen: readonly BinFile[]}) {
  const question = useSignal<Question | undefined>(undefined);
  const count = chosen.length;
  return (
    <>
      <button class="main" disabled={count === 0} onClick={() => void restoreAll(chosen)}>
        {t('bin.restoreSome', {count})}
      </button>
      <button disabled={count === 0} onClick={() => {
        question.value = {
          title: t('bin.purge', {count}),
          text: t('bin.purge.text'),
          fields: [],
          doText: t('bin.purge', {count}),
          onDo: () => each(chosen, purge),
        };
      }}>{t('bin.purge', {count})}</button>
      {question.value && <Ask question={question.value} onEnd={() => {
        question.value = undefined;
      }} />}
    </>
  );
}

const restoreAll = (list: readonly BinFile[]) => tellTwice(list, () => each(list, restore)).catch(tellError);

const purge = ({id}: BinFile) => documentOf(client.DELETE('/bin/{id}', {params: {path: {id}}}));

/**
 * Skips a file that another window or an earlier attempt has taken out of the bin. Ends at the first other failure, with the
 * bin as it is then. Throws ServiceError.
 */
async function each(list: readonly BinFile[], action: (file: BinFile) => Promise<unknown>): Promise<void> {
  try {
    for (const file of list) await action(file).catch(ignoreMissing);
  } finally {
    await read();
  }
}

function inboxText({container}: BinFile): string {
  const inbox = inboxes.value.get(container);
  return inbox ? `${inbox.owner.name} · ${projectName(inbox.projectName)}` : '';
}
