// Parts of the page that are loaded when they are needed.
import {signal} from '@preact/signals';
import type {FunctionComponent} from 'preact';
import {t} from '../texts';

/** A part that is missing was renewed on the service: the page has to be loaded again. */
export function lazily<Props extends object>(load: () => Promise<FunctionComponent<Props>>): FunctionComponent<Props> {
  const part = signal<{show: FunctionComponent<Props>} | 'missing' | undefined>(undefined);
  let isAsked = false;
  const ask = async () => {
    isAsked = true;
    try {
      part.value = {show: await load()};
    } catch {
      part.value = 'missing';
    }
  };
  return function Part(props) {
    if (!isAsked) void ask();
    if (part.value === 'missing') return <Renewed />;
    if (!part.value) return <p class="empty" role="status">{t('page.loading')}</p>;
    const Show = part.value.show;
    return <Show {...props} />;
  };
}

function Renewed() {
  return (
    <div class="empty" role="alert">
      <p>{t('page.renewed')}</p>
      <button class="main" onClick={() => location.reload()}>{t('page.reload')}</button>
    </div>
  );
}
