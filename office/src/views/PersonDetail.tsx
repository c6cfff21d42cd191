// One person: inboxes, sessions, and what the office may change.
import {useSignal} from '@preact/signals';
import {useEffect} from 'preact/hooks';
import {apiPath, client, documentOf, ignoreMissing, type Inbox, type OwnSession, type User} from '../api/client';
import {inboxes, user} from '../model/farm';
import {reconnections, renewConsoles} from '../model/session';
import {amountsOf, type Amount} from '../model/storage';
import {projectName, t} from '../texts';
import {Ask, type Question} from './Ask';
import {readPeople} from './People';
import {Sessions} from './Sessions';
import {Amounts} from './Storage';
import {tell, tellError} from './Toast';

interface Holdings {
  sessions: OwnSession[];
  inboxes: Inbox[];
  amounts: Amount[];
}

export function PersonDetail({person, all}: {person: User; all: readonly User[]}) {
  const holdings = useSignal<Holdings | undefined>(undefined);
  const isOperator = person.role === 'operator';
  const read = () => readHoldings(person.id).then((found) => {
    holdings.value = found;
  }, tellError);
  useEffect(() => {
    if (isOperator) void read();
  }, [person, reconnections.value]);
  const endSession = (session: string) =>
    documentOf(client.DELETE('/users/{id}/sessions/{session}', {params: {path: {id: person.id, session}}}))
      .catch(ignoreMissing).then(read, tellError);
  return (
    <>
      <h2>{person.name}</h2>
      <p class="detail">{t(`people.role.${person.role}`)}{person.disabled && ` · ${t('people.disabled')}`}</p>
      {isOperator ? <Actions person={person} all={all} /> : <p>{t('people.onlyAdmin')}</p>}
      {holdings.value && <HoldingsLists {...holdings.value} onEnd={endSession} />}
    </>
  );
}

/** Throws ServiceError. */
async function readHoldings(id: number): Promise<Holdings> {
  const farm = user.value?.farm?.id ?? 0;
  const [{sessions, inboxes: owned}, {users, quota}] = await Promise.all([
    documentOf(client.GET('/users/{id}/export', {params: {path: {id}}})),
    documentOf(client.GET('/farms/{id}/usage', {params: {path: {id: farm}}})),
  ]);
  return {sessions, inboxes: owned, amounts: users.filter((each) => each.id === id).flatMap(({usage}) => amountsOf(usage, quota.user))};
}

function Actions({person, all}: {person: User; all: readonly User[]}) {
  const question = useSignal<Question | undefined>(undefined);
  const ask = (asked: Question) => () => {
    question.value = asked;
  };
  return (
    <>
      <div class="bar wrap">
        <button onClick={ask(rename(person))}>{t('people.rename')}</button>
        <button onClick={ask(newPassword(person))}>{t('people.password')}</button>
        <button onClick={() => void change(person, {disabled: !person.disabled}).catch(tellError)}>
          {t(person.disabled ? 'people.enable' : 'people.disable')}
        </button>
        <button onClick={ask(eraseTrack(person))}>{t('people.erase')}</button>
        <button onClick={ask(remove(person, all))}>{t('people.delete')}</button>
        <a class="button" href={`${apiPath}/users/${person.id}/export`} download={`${person.name}.json`}>{t('people.export')}</a>
      </div>
      {question.value && <Ask question={question.value} onEnd={() => {
        question.value = undefined;
      }} />}
    </>
  );
}

function HoldingsLists({inboxes: owned, sessions, amounts, onEnd}: Holdings & {onEnd: (session: string) => Promise<void>}) {
  return (
    <>
      <h3>{t('people.inboxes')}</h3>
      {owned.length === 0 && <p>{t('people.noInboxes')}</p>}
      <ul class="tags">
        {owned.map(({id, entries = []}) => (
          <li key={id}>
            <a class="button" href={`#/files/${id}`}>
              {projectName(inboxes.value.get(id)?.projectName ?? '')} <span class="count">{entries.length}</span>
            </a>
          </li>
        ))}
      </ul>
      <h3>{t('sessions.title')}</h3>
      <Sessions sessions={sessions} action={({id, console}) => (
        <button aria-label={`${t('sessions.end')} ${console}`} onClick={() => void onEnd(id)}>{t('sessions.end')}</button>
      )} />
      <h3>{t('nav.storage')}</h3>
      <Amounts amounts={amounts} />
    </>
  );
}

async function change({id}: User, body: {disabled?: boolean; name?: string; password?: string}): Promise<void> {
  await documentOf(client.PATCH('/users/{id}', {params: {path: {id}}, body}));
  await readPeople();
}

const rename = (person: User): Question => ({
  title: t('people.rename'),
  fields: [{name: 'name', label: t('login.user'), value: person.name}],
  doText: t('ask.change'),
  onDo: ({name = ''}) => change(person, {name}),
});

const newPassword = (person: User): Question => ({
  title: t('people.password'),
  text: t('people.password.text', {name: person.name}),
  fields: [{name: 'password', label: t('people.newPassword'), type: 'password', autocomplete: 'new-password', minLength: 8}],
  doText: t('ask.change'),
  onDo: ({password = ''}) => change(person, {password}),
});

const eraseTrack = ({id, name}: User): Question => ({
  title: t('people.erase'),
  text: t('people.erase.text', {name}),
  fields: [],
  doText: t('people.erase'),
  onDo: async () => {
    await documentOf(client.DELETE('/users/{id}/track', {params: {path: {id}}}));
    void renewConsoles();
    tell(t('people.erased', {name}));
  },
});

function remove({id, name}: User, all: readonly User[]): Question {
  const heirs = all.filter((each) => each.id !== id && !each.disabled).map((each) => [String(each.id), each.name] as const);
  return {
    title: t('people.delete'),
    text: t('people.delete.text', {name}),
    fields: [{name: 'heir', label: t('people.heir'), options: [['', t('people.noHeir')], ...heirs]}],
    doText: t('people.delete'),
    onDo: async ({heir}) => {
      const query = heir ? {heir: Number(heir)} : {};
      await documentOf(client.DELETE('/users/{id}', {params: {path: {id}, query}})).catch(ignoreMissing);
      location.hash = '#/people';
      await readPeople();
    },
  };
}
