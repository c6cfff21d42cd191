// A short message at the bottom of the page, with a way back where there is one.
import {signal} from '@preact/signals';
import {ServiceError} from '../api/client';
import {refusalText, t} from '../texts';

interface Message {
  text: string;
  undo?: () => void;
}

const shownMs = 10_000;
const message = signal<Message | undefined>(undefined);
let timer: ReturnType<typeof setTimeout> | undefined;

export function tell(text: string, undo?: () => void): void {
  message.value = undo ? {text, undo} : {text};
  wait();
}

function wait(): void {
  clearTimeout(timer);
  timer = setTimeout(() => {
    message.value = undefined;
  }, shownMs);
}

/** Tells why the service refused. */
export function tellError(error: unknown): void {
  if (!(error instanceof ServiceError)) throw error;
  tell(refusalText(error.problem));
}

export function Toast() {
  const now = message.value;
  const undo = (button: EventTarget) => {
    if (button === document.activeElement) document.querySelector<HTMLElement>('main')?.focus(); // The button goes.
    message.value = undefined;
    now?.undo?.();
  };
  return (
    <div class="toast" role="status" hidden={!now} onFocusIn={() => clearTimeout(timer)} onFocusOut={wait}>
      {now?.text}
      {now?.undo && <button title={`${t('undo')} (U)`} aria-keyshortcuts="u" onClick={({currentTarget}) => undo(currentTarget)}>{t('undo')}</button>}
    </div>
  );
}
