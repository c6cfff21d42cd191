// One person: inboxes, sessions, and what the office may change.
import {useSignal} from '@preact/signals';
import {apiPath, client, documentOf, ignoreMissing, type User} from '../api/client';
import {filesByInbox, inboxes} from '../model/farm';
import {reconnections, renewConsoles} from '../model/session';
import {projectName, t} from '../texts';
import {Ask, type Question} from './Ask';
import {useNewest} from './newest';
import {readPeople} from './People';
import {Sessions} from './Sessions';
import {Amounts, useUsage} from './Storage';
import {tell, tellError} from './Toast';

/** `person` is a new object after each read of the people: then the sessions and the storage are read again. */
export function PersonDetail({person, all}: {person: User; all: readonly User[]}) {
  return (
    <>
      <h2>{person.name}</h2>
      <p class="detail">{t(`people.role.${person.role}`)}{person.disabled && ` · ${t('people.disabled')}`}</p>
      {person.role === 'operator' ? (
        <>
          <Actions person={person} all={all} />
          <Inboxes id={person.id} />
          <OpenSessions person={person} />
          <UsedStorage person={person} />
        </>
      ) : <p>{t('people.onlyAdmin')}</p>}
    </>
  );
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

function Inboxes({id: person}: {id: number}) {
  const owned = [...inboxes.value.values()].filter(({owner}) => owner.id === person);
  return (
    <>
      <h3>{t('people.inboxes')}</h3>
      {owned.length === 0 && <p>{t('people.noInboxes')}</p>}
      <ul class="tags">
        {owned.map((inbox) => (
          <li key={inbox.id}>
            <a class="button" href={`#/files/${inbox.id}`}>
              {projectName(inbox.projectName)} <span class="count">{filesByInbox.value.get(inbox.id)?.length ?? 0}</span>
            </a>
          </li>
        ))}
      </ul>
    </>
  );
}

function OpenSessions({person}: {person: User}) {
  const {id} = person;
  const found = useNewest(() => documentOf(client.GET('/users/{id}/export', {params: {path: {id}}})), [person, reconnections.value]);
  const end = (session: string) =>
    documentOf(client.DELETE('/users/{id}/sessions/{session}', {params: {path: {id, session}}}))
      .catch(ignoreMissing).then(readPeople, tellError);
  if (!found) return null;
  return (
    <>
      <h3>{t('sessions.title')}</h3>
      <Sessions sessions={found.sessions} action={({id: session, console}) => (
        <button aria-label={`${t('sessions.end')} ${console}`} onClick={() => void end(session)}>{t('sessions.end')}</button>
      )} />
    </>
  );
}

function UsedStorage({person}: {person: User}) {
  const found = useUsage(person);
  const own = found?.users.find(({id}) => id === person.id);
  return found && own ? <><h3>{t('nav.storage')}</h3><Amounts usage={own.usage} limits={found.quota.user} /></> : null;
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
    await readPeople();
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
