// The audit trail: of one person, or of the farm.
import {useSignal} from '@preact/signals';
import {useEffect} from 'preact/hooks';
import {apiPath, pageOf, type AuditEntry} from '../api/client';
import {files, inboxes} from '../model/farm';
import {reconnections} from '../model/session';
import {dateText, projectName, t} from '../texts';
import {LongTable, timeWidth} from './LongTable';
import {useNewest} from './newest';
import {matches, Search} from './Search';
import {tellError} from './Toast';

const pageSize = 200;

/** Shows the newest entries again after each read of the people. */
export function Audit({userId, people}: {userId: number | undefined; people: unknown}) {
  const entries = useSignal<readonly AuditEntry[] | undefined>(undefined);
  const next = useSignal<string | undefined>(undefined);
  const search = useSignal('');
  const newest = useNewest(() => readPage(`${apiPath}/audit?limit=${pageSize}${userId === undefined ? '' : `&person=${userId}`}`),
    [people, reconnections.value]);
  useEffect(() => {
    if (!newest) return;
    const known = entries.value ?? [];
    const last = newest.document.entries.at(-1)?.id;
    const place = known.findIndex(({id}) => id === last);
    entries.value = [...newest.document.entries, ...(place < 0 ? [] : known.slice(place + 1))];
    if (place < 0) next.value = newest.next;
  }, [newest]);
  const readOlder = async (address: string) => {
    const page = await readPage(address);
    entries.value = [...entries.value ?? [], ...page.document.entries];
    next.value = page.next;
  };
  const found = (entries.value ?? []).filter((entry) =>
    matches(search.value, entry.action, actionText(entry), entry.actor?.name ?? '', objectText(entry), entry.address));
  return (
    <section class="audit">
      <h2>{t(userId === undefined ? 'audit.title' : 'audit.person')}</h2>
      <div class="bar wrap">
        <Search text={search} label={t('audit.search')} />
        <span role="status">{t('audit.count', {count: found.length})}</span>
        {next.value && <button onClick={() => void readOlder(next.value as string).catch(tellError)}>{t('audit.more')}</button>}
      </div>
      {found.length === 0 ? <p class="empty">{t(entries.value ? 'audit.none' : 'page.loading')}</p> : (
        <LongTable heads={[t('audit.at'), t('audit.actor'), t('audit.action'), t('audit.object'), t('audit.address')]}
          widths={{0: timeWidth()}} rows={found} keyOf={({id}) => Number(id)} cells={(entry) => [
            dateText(entry.at), entry.actor?.name ?? '–', actionText(entry), objectText(entry), entry.address,
          ]} />
      )}
    </section>
  );
}

const readPage = (address: string) => pageOf<{entries: AuditEntry[]}>(address);

function actionText({action, outcome}: AuditEntry): string {
  const text = t(`audit.do.${action}`);
  return outcome === 'done' ? text : `${text} · ${t(`audit.${outcome}`)}`;
}

function objectText({object}: AuditEntry): string {
  if (!object) return '';
  return object.name || nameNow(object) || `${t(`audit.kind.${object.kind}`)} ${object.id}`;
}

/** The audit trail has no names of files and inboxes. */
function nameNow({kind, id}: NonNullable<AuditEntry['object']>): string | undefined {
  if (kind === 'file') return files.value.get(id)?.name;
  const inbox = kind === 'inbox' ? inboxes.value.get(id) : undefined;
  return inbox && `${inbox.owner.name} · ${projectName(inbox.projectName)}`;
}
