// The time for texts like "5 minutes ago". It is updated every ten seconds.
import {signal} from '@preact/signals';
import {locale} from '../texts';

export const now = signal(Date.now());

setInterval(() => {
  now.value = Date.now();
}, 10_000);

const relative = new Intl.RelativeTimeFormat(locale, {numeric: 'auto'});
const units = [['day', 86_400], ['hour', 3600], ['minute', 60]] as const;

/** For example "5 minutes ago". A time in the future is now: the clock of the service may be ahead. */
export function agoText(milliseconds: number): string {
  const seconds = Math.max(0, (now.value - milliseconds) / 1000);
  const [unit, size] = units.find(([, each]) => seconds >= each) ?? ['minute', 60];
  return relative.format(-Math.floor(seconds / size), unit);
}
