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
  const undo = () => {
    message.value = undefined;
    now?.undo?.();
  };
  return (
    <div class="toast" role="status" hidden={!now}>
      {now?.text}
      {now?.undo && <button onClick={undo}>{t('undo')}</button>}
    </div>
  );
}
