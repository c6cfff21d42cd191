// The job reports by operator, day and field.
import {useSignal} from '@preact/signals';
import {useEffect, useRef} from 'preact/hooks';
import {apiPath} from '../api/client';
import {fieldsOf, findFields, largestArchive, packReports, reports, type Report} from '../model/reports';
import {dateText, sizeText, t} from '../texts';
import {LongTable, timeWidth} from './LongTable';
import {matches, Search} from './Search';
import {tell, tellError} from './Toast';

export function Reports() {
  const search = useSignal('');
  const operator = useSignal('');
  const day = useSignal('');
  const all = reports.value;
  if (all.length === 0) return <p class="empty">{t('reports.none')}</p>;
  const operators = [...new Set(all.map((report) => report.operator))].sort((a, b) => a.localeCompare(b));
  const found = all.filter((report) => (operator.value === '' || report.operator === operator.value)
    && (day.value === '' || report.day === day.value)
    && matches(search.value, report.file.name, ...fieldsOf.value.get(report.file.sha256) ?? []));
  return (
    <>
      <div class="bar wrap">
        <Search text={search} label={t('reports.search')} />
        <label>
          {t('operator')}{' '}
          <select value={operator} onChange={(event) => {
            operator.value = event.currentTarget.value;
          }}>
            <option value="">{t('everybody')}</option>
            {operators.map((name) => <option key={name} value={name}>{name}</option>)}
          </select>
        </label>
        <label>
          {t('day')}{' '}
          <input type="date" value={day} onInput={(event) => {
            day.value = event.currentTarget.value;
          }} />
        </label>
        <span role="status">{t('files.count', {count: found.length})}</span>
        <FindFields found={found} />
        {day.value !== '' && found.length > 0 && <DownloadAll found={found} day={day.value} />}
      </div>
      {found.length === 0 ? <p class="empty">{t(all.some((report) => day.value === '' || report.day === day.value) ? 'files.noMatch' : 'reports.noneOnDay')}</p> : <Table found={found} />}
    </>
  );
}

function Table({found}: {found: readonly Report[]}) {
  const heads = [t('files.name'), t('operator'), t('reports.field'), t('files.size'), t('files.received'), t('action')];
  return (
    <LongTable heads={heads} widths={{3: `max(104px, ${t('files.size').length}ch + 32px)`, 4: timeWidth(), 5: '120px'}} rows={found} keyOf={({file}) => file.id} cells={({file, operator}) => [
      <a href={`${apiPath}/resources/${file.id}/content`} download={file.name} title={file.name}><bdi>{file.name}</bdi></a>,
      operator,
      fieldsOf.value.get(file.sha256)?.join(', ') ?? '…',
      sizeText(file.size),
      dateText(file.created_at),
      <a class="button" href={`#/map/${file.id}`} aria-label={`${t('files.map')} ${file.name}`}>{t('files.map')}</a>,
    ]} />
  );
}

/** The names of the fields are inside the reports: the page reads them when it is asked. */
function FindFields({found}: {found: readonly Report[]}) {
  const running = useRef<AbortController | undefined>(undefined);
  const isRunning = useSignal(false);
  useEffect(() => () => running.current?.abort(), []);
  const unknown = found.filter(({file}) => !fieldsOf.value.has(file.sha256));
  if (unknown.length === 0) return null;
  const start = async () => {
    running.current = new AbortController();
    isRunning.value = true;
    await findFields(unknown, running.current.signal);
    isRunning.value = false;
  };
  if (isRunning.value) return <button onClick={() => running.current?.abort()}>{t('reports.stop', {count: unknown.length})}</button>;
  return <button onClick={() => void start()}>{t('reports.findFields', {count: unknown.length})}</button>;
}

function DownloadAll({found, day}: {found: readonly Report[]; day: string}) {
  const isBusy = useSignal(false);
  const size = found.reduce((sum, {file}) => sum + file.size, 0);
  if (size > largestArchive) return <span>{t('reports.tooLarge', {size: sizeText(largestArchive)})}</span>;
  const download = async () => {
    isBusy.value = true;
    try {
      save(await packReports(found), `${day}.zip`);
      tell(t('reports.packed', {count: found.length}));
    } catch (error) {
      tellError(error);
    } finally {
      isBusy.value = false;
    }
  };
  return (
    <button class="main" disabled={isBusy} onClick={() => void download()}>
      {t('reports.download', {count: found.length, size: sizeText(size)})}
    </button>
  );
}

function save(content: Blob, name: string): void {
  const address = URL.createObjectURL(content);
  Object.assign(document.createElement('a'), {href: address, download: name}).click();
  setTimeout(() => URL.revokeObjectURL(address), 60_000); // The browser needs the address until it has started.
}
