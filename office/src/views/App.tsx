// The page as a whole: the login, or the office.
import {isKnown} from '../model/session';
import {user} from '../model/farm';
import {t} from '../texts';
import {lazily} from './lazily';
import {Login} from './Login';

const Office = lazily(async () => (await import('./Office')).Office);

export function App() {
  if (!isKnown.value) return <main><p class="empty" role="status">{t('link.connecting')}</p></main>;
  if (!user.value) return <main><Login /></main>;
  return <Office />;
}
