// What the farm stores, against its quota.
import {useSignal} from '@preact/signals';
import {client, documentOf, type FarmUsage} from '../api/client';
import {fileSet, user} from '../model/farm';
import {reconnections} from '../model/session';
import {amountsOf, asksForRoom, type Amount, type Limits, type Usage} from '../model/storage';
import {countText, percentText, sizeText, t, type TextKey} from '../texts';
import {LongTable} from './LongTable';
import {useNewest} from './newest';
import {matches, Search} from './Search';
import {useSlowly} from './slowly';

/** Many files may come at once: the usage is read at most once in this time. */
const pauseMs = 1000;

const names: Record<Amount['kind'], TextKey> = {
  bytes: 'storage.bytes',
  files: 'storage.files',
  uploads: 'storage.uploads',
  sessions: 'sessions.title',
  users: 'storage.users',
};

export function Storage() {
  const usage = useUsage();
  if (!usage) return <p class="empty" role="status">{t('page.loading')}</p>;
  return (
    <div class="storage">
      <FarmPart usage={usage} />
      <People usage={usage} />
    </div>
  );
}

/** The use of the farm's storage. It is read again when a file comes or goes, and after a change of `cause`. */
export function useUsage(cause?: unknown): FarmUsage | undefined {
  const id = user.value?.farm?.id ?? 0;
  return useNewest(() => documentOf(client.GET('/farms/{id}/usage', {params: {path: {id}}})),
    [id, useSlowly(fileSet, pauseMs), reconnections.value, cause]);
}

function FarmPart({usage: {quota, usage}}: {usage: FarmUsage}) {
  return (
    <section>
      <h2>{t('storage.title')}</h2>
      {asksForRoom(amountsOf(usage, quota.farm)) && <p class="notes" role="alert">{t('storage.advice')}</p>}
      <Amounts usage={usage} limits={quota.farm} />
    </section>
  );
}

/** All that the service tells of the use by a farm or a person. The sessions of a farm have no limit. */
export function Amounts({usage, limits}: {usage: Usage; limits: Limits}) {
  return (
    <>
      <dl class="amounts">
        {amountsOf(usage, limits).map((amount) => [
          <dt key={`${amount.kind} name`}>{t(names[amount.kind])}</dt>,
          <dd key={amount.kind}><Bar amount={amount} name={t(names[amount.kind])} /> {amountText(amount)}</dd>,
        ])}
        {!('sessions' in limits) && <><dt>{t('sessions.title')}</dt><dd>{countText(usage.sessions)}</dd></>}
        <dt>{t('storage.positions')}</dt><dd>{t('storage.most', {limit: countText(limits.positions)})}</dd>
      </dl>
      <p>
        {t('storage.bin', {size: sizeText(usage.bin_bytes), count: countText(usage.bin_files)})}{' '}
        <a href="#/bin">{t('nav.bin')}</a>
      </p>
      {usage.uploads > 0 && (
        <p>{t('storage.uploadShare', {size: sizeText(usage.upload_bytes), count: countText(usage.upload_files ?? 0)})}</p>
      )}
    </>
  );
}

const ofPeople = ['bytes', 'files', 'uploads', 'sessions'] as const satisfies Amount['kind'][];

/** The users who store most come first. */
function People({usage: {quota, users}}: {usage: FarmUsage}) {
  const search = useSignal('');
  const found = users.filter(({name}) => matches(search.value, name)).sort((a, b) => b.usage.bytes - a.usage.bytes);
  const heads = [t('nav.people'), ...ofPeople.map((kind) => t(names[kind]))];
  return (
    <section>
      <div class="bar wrap">
        <h2>{t('storage.people')}</h2>
        <Search text={search} label={t('people.search')} />
      </div>
      {found.length === 0 ? <p class="empty">{t('people.noMatch')}</p> : (
        <LongTable heads={heads} rows={found} keyOf={({id}) => id} cells={(person) => [
          <a href={`#/people/${person.id}`}>{person.name}</a>,
          ...amountsOf(person.usage, quota.user).map((amount) => <PersonAmount amount={amount} name={person.name} />),
        ]} />
      )}
    </section>
  );
}

function PersonAmount({amount, name}: {amount: Amount; name: string}) {
  return (
    <span title={amountText(amount)}>
      {amount.kind === 'bytes' && <Bar amount={amount} name={name} />} {valueText(amount.kind, amount.used)}
      {amount.fill !== 'free' && ` · ${t(`storage.${amount.fill}`)}`}
    </span>
  );
}

function Bar({amount: {share, fill}, name}: {amount: Amount; name: string}) {
  const percent = Math.round(1000 * Math.min(share, 1)) / 10; // A tiny number would have an exponent.
  return (
    <span class={`fill ${fill}`} role="meter" aria-label={name} aria-valuenow={percent} aria-valuemax={100}
      aria-valuetext={percentText(share)}>
      <span style={{width: `${percent}%`}} />
    </span>
  );
}

function amountText({kind, used, limit, share, fill}: Amount): string {
  const text = t('storage.of', {used: valueText(kind, used), limit: valueText(kind, limit), percent: percentText(share)});
  return fill === 'free' ? text : `${text} · ${t(`storage.${fill}`)}`;
}

const valueText = (kind: Amount['kind'], value: number): string => (kind === 'bytes' ? sizeText(value) : countText(value));
