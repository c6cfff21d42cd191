// The people of the farm. #/people/7 is the user 7.
import {useSignal} from '@preact/signals';
import {useEffect} from 'preact/hooks';
import {client, documentOf, type User} from '../api/client';
import {user} from '../model/farm';
import {reconnections} from '../model/session';
import {t} from '../texts';
import {Ask, type Question} from './Ask';
import {Audit} from './Audit';
import {PersonDetail} from './PersonDetail';
import {newestList} from './newest';
import {matches, Search} from './Search';

export const [people, readPeople] = newestList<'users', User>('/users?limit=1000', 'users');
const passwordLength = 8;

export function People({userId}: {userId: number | undefined}) {
  const search = useSignal('');
  const question = useSignal<Question | undefined>(undefined);
  // A change of the people brings a new snapshot.
  useEffect(() => void readPeople(), [user.value, reconnections.value]);
  if (!people.value) return <p class="empty" role="status">{t('page.loading')}</p>;
  const found = people.value.filter(({name}) => matches(search.value, name));
  const chosen = people.value.find(({id}) => id === userId);
  return (
    <div class="people">
      <section class="people-list">
        <div class="bar">
          <Search text={search} label={t('people.search')} />
          <button class="main" onClick={() => {
            question.value = newOperator();
          }}>{t('people.add')}</button>
        </div>
        <ul class="consoles">
          <li><a href="#/people" aria-current={userId === undefined ? 'true' : undefined}>{t('everybody')}</a></li>
          {found.map((each) => (
            <li key={each.id}>
              <a href={`#/people/${each.id}`} aria-current={each === chosen ? 'true' : undefined}>
                <b>{each.name}</b>
                <span class="detail">{t(`people.role.${each.role}`)}{each.disabled && ` · ${t('people.disabled')}`}</span>
              </a>
            </li>
          ))}
        </ul>
        {found.length === 0 && <p class="empty">{t('people.noMatch')}</p>}
      </section>
      <section class="person">
        {userId !== undefined && !chosen && <p role="alert">{t('people.noPerson')}</p>}
        {chosen && <PersonDetail key={chosen.id} person={chosen} all={people.value} />}
        {(userId === undefined || chosen) && <Audit key={userId} userId={userId} people={people.value} />}
      </section>
      {question.value && <Ask question={question.value} onEnd={() => {
        question.value = undefined;
      }} />}
    </div>
  );
}

function newOperator(): Question {
  return {
    title: t('people.add'),
    fields: [
      {name: 'name', label: t('login.user')},
      {name: 'password', label: t('login.password'), type: 'password', autocomplete: 'new-password', minLength: passwordLength},
    ],
    doText: t('people.add.do'),
    onDo: async ({name = '', password = ''}) => {
      const farm = user.value?.farm?.name ?? '';
      const body = {farm, name, password, role: 'operator' as const, inboxes: true};
      const {id} = await documentOf(client.POST('/users', {body}));
      await readPeople();
      location.hash = `#/people/${id}`;
    },
  };
}
