// The account of the user who is logged in: the password and the sessions.
import {useSignal} from '@preact/signals';
import {useEffect} from 'preact/hooks';
import {client, documentOf, type OwnSession} from '../api/client';
import {user} from '../model/farm';
import {reconnections} from '../model/session';
import {t} from '../texts';
import {Ask, type Question} from './Ask';
import {Sessions} from './Sessions';
import {tell, tellError} from './Toast';

export function OwnAccount() {
  const sessions = useSignal<readonly OwnSession[] | undefined>(undefined);
  const question = useSignal<Question | undefined>(undefined);
  const read = async () => {
    try {
      sessions.value = (await documentOf(client.GET('/sessions'))).sessions;
    } catch (error) {
      tellError(error);
    }
  };
  useEffect(() => void read(), [reconnections.value]);
  const end = async (session: string) => {
    try {
      await documentOf(client.DELETE('/sessions/{session}', {params: {path: {session}}}));
      await read();
    } catch (error) {
      tellError(error);
    }
  };
  return (
    <section class="person">
      <h2>{user.value?.name}</h2>
      <p><button onClick={() => {
        question.value = ownPassword(read);
      }}>{t('account.password')}</button></p>
      <h3>{t('sessions.title')}</h3>
      {sessions.value ? <Sessions sessions={sessions.value} action={({id, current}) => !current &&
        <button onClick={() => void end(id)}>{t('sessions.end')}</button>} /> : <p role="status">{t('page.loading')}</p>}
      {question.value && <Ask question={question.value} onEnd={() => {
        question.value = undefined;
      }} />}
    </section>
  );
}

const ownPassword = (onChanged: () => Promise<void>): Question => ({
  title: t('account.password'),
  text: t('account.password.text'),
  fields: [
    {name: 'current', label: t('account.current'), type: 'password', autocomplete: 'current-password'},
    {name: 'new', label: t('people.newPassword'), type: 'password', autocomplete: 'new-password', minLength: 8},
  ],
  doText: t('ask.change'),
  onDo: async (values) => {
    const body = {current: values['current'] ?? '', new: values['new'] ?? ''};
    await documentOf(client.POST('/account/password', {body}));
    tell(t('account.changed'));
    await onChanged();
  },
});
