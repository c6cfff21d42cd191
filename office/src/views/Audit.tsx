// The audit trail: of one person, or of the farm.
import {useSignal} from '@preact/signals';
import {useEffect} from 'preact/hooks';
import {apiPath, pageOf, type AuditEntry} from '../api/client';
import {files, inboxes} from '../model/farm';
import {reconnections} from '../model/session';
import {dateText, projectName, t} from '../texts';
import {LongTable} from './LongTable';
import {matches, Search} from './Search';
import {tellError} from './Toast';

const pageSize = 200;

export function Audit({userId}: {userId: number | undefined}) {
  const entries = useSignal<readonly AuditEntry[] | undefined>(undefined);
  const next = useSignal<string | undefined>(undefined);
  const search = useSignal('');
  const read = async (address: string) => {
    try {
      const page = await pageOf<{entries: AuditEntry[]}>(address);
      entries.value = [...entries.value ?? [], ...page.document.entries];
      next.value = page.next;
    } catch (error) {
      tellError(error);
    }
  };
  useEffect(() => {
    if (!entries.value) void read(`${apiPath}/audit?limit=${pageSize}${userId === undefined ? '' : `&user=${userId}`}`);
  }, [reconnections.value]);
  const found = (entries.value ?? []).filter((entry) =>
    matches(search.value, entry.action, actionText(entry), entry.actor?.name ?? '', objectText(entry), entry.address));
  return (
    <section class="audit">
      <h2>{t('audit.title')}</h2>
      <div class="bar wrap">
        <Search text={search} label={t('audit.search')} />
        <span role="status">{t('audit.count', {count: found.length})}</span>
        {next.value && <button onClick={() => void read(next.value as string)}>{t('audit.more')}</button>}
      </div>
      {found.length === 0 ? <p class="empty">{t(entries.value ? 'audit.none' : 'page.loading')}</p> : (
        <LongTable heads={[t('audit.at'), t('audit.actor'), t('audit.action'), t('audit.object'), t('audit.address')]}
          rows={found} keyOf={({id}) => Number(id)} cells={(entry) => [
            dateText(entry.at), entry.actor?.name ?? '–', actionText(entry), objectText(entry), entry.address,
          ]} />
      )}
    </section>
  );
}

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
