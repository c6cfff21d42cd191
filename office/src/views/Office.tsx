// The frame of the office with the view of the address.
import {useEffect} from 'preact/hooks';
import {user} from '../model/farm';
import {link, logOut} from '../model/session';
import {t, timeText} from '../texts';
import {Bin} from './Bin';
import {Files} from './Files';
import {Fleet} from './Fleet';
import {MapPage} from './MapPage';
import {OwnAccount} from './OwnAccount';
import {People} from './People';
import {place, type View} from './place';
import {Reports} from './Reports';
import {Sendings} from './Sendings';
import './shortcuts';
import {Storage} from './Storage';
import {tellError, Toast} from './Toast';

export function Office() {
  const view = shownView();
  const title = view === 'account' ? user.value?.name : t(view === 'map' ? 'map.map' : `nav.${view}`);
  useEffect(() => {
    document.title = `${title} · ${user.value?.farm?.name ?? t('title')}`;
    return () => {
      document.title = t('title');
    };
  }, [title]);
  return (
    <>
      <Header />
      <main tabIndex={-1}>
        {user.value?.role === 'admin' && <p class="notes">{t('forbidden')}</p>}
        {mayUse(view) ? <CurrentView /> : <p class="empty">{t('forbidden')}</p>}
      </main>
      <Sendings />
      <Toast />
    </>
  );
}

/** An operator sees only their own inboxes. An administrator has no farm. */
function mayUse(view: View): boolean {
  switch (user.value?.role) {
    case 'office':
      return true;
    case 'operator':
      return view === 'files' || view === 'map' || view === 'account';
    default:
      return view === 'account';
  }
}

/** Nothing else works for an administrator. */
const shownView = (): View => (user.value?.role === 'admin' ? 'account' : place.value.view);

function CurrentView() {
  switch (shownView()) {
    case 'fleet':
      return <Fleet consoleId={place.value.id} />;
    case 'bin':
      return <Bin />;
    case 'people':
      return <People userId={place.value.id} />;
    case 'reports':
      return <Reports />;
    case 'storage':
      return <Storage />;
    case 'account':
      return <OwnAccount />;
    case 'map':
      return <MapPage key={place.value.id} fileId={place.value.id} />;
    default:
      return <Files inboxId={place.value.id} />;
  }
}

const officeViews = ['files', 'reports', 'fleet', 'people', 'storage', 'bin'] as const satisfies View[];

function Header() {
  return (
    <header>
      <h1>{user.value?.farm?.name ?? 'KELVO'}</h1>
      <nav>
        {officeViews.filter(mayUse).map((view) => (
          <a key={view} href={`#/${view}`} aria-current={place.value.view === view ? 'page' : undefined}>
            {t(`nav.${view}`)}
          </a>
        ))}
      </nav>
      <LinkState />
      <a class="user" href="#/account" aria-current={shownView() === 'account' ? 'page' : undefined}>{user.value?.name}</a>
      <button onClick={() => void logOut().catch(tellError)}>{t('logout')}</button>
    </header>
  );
}

function LinkState() {
  const now = link.value;
  const text = now.kind === 'lost' ? t('link.lost', {time: timeText(now.sinceMs)}) : t(`link.${now.kind}`);
  return <span class={`link ${now.kind}`} role="status">{text}</span>;
}
