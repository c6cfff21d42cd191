// The page as a whole: the login, or the frame with the view of the address.
import {link, isKnown, logOut} from '../model/session';
import {user} from '../model/farm';
import {t, timeText} from '../texts';
import {Bin} from './Bin';
import {Files} from './Files';
import {Fleet} from './Fleet';
import {Login} from './Login';
import {place, type View} from './place';
import {Sendings} from './Sendings';
import {tellError, Toast} from './Toast';

export function App() {
  if (!isKnown.value) return <main><p class="empty" role="status">{t('link.connecting')}</p></main>;
  if (!user.value) return <main><Login /></main>;
  return (
    <>
      <Header />
      <main>{user.value.role === 'admin' ? <p class="empty">{t('forbidden')}</p> : <CurrentView />}</main>
      <Sendings />
      <Toast />
    </>
  );
}

function CurrentView() {
  switch (place.value.view) {
    case 'fleet':
      return <Fleet />;
    case 'bin':
      return <Bin />;
    default:
      return <Files inboxId={place.value.id} />;
  }
}

function Header() {
  const views: View[] = user.value?.role === 'office' ? ['files', 'fleet', 'bin'] : ['files'];
  return (
    <header>
      <h1>{user.value?.farm?.name ?? 'KELVO'}</h1>
      <nav>
        {views.map((view) => (
          <a key={view} href={`#/${view}`} aria-current={place.value.view === view ? 'page' : undefined}>
            {t(`nav.${view}`)}
          </a>
        ))}
      </nav>
      <LinkState />
      <span class="user">{user.value?.name}</span>
      <button onClick={() => void logOut().catch(tellError)}>{t('logout')}</button>
    </header>
  );
}

function LinkState() {
  const now = link.value;
  const text = now.kind === 'lost' ? t('link.lost', {time: timeText(now.sinceMs)}) : t(`link.${now.kind}`);
  return <span class={`link ${now.kind}`} role="status">{text}</span>;
}
