// The place in the page, as the address names it: #/files/10 is the inbox 10.
import {signal} from '@preact/signals';

const views = ['files', 'reports', 'fleet', 'people', 'storage', 'bin', 'map', 'account'] as const;
export type View = (typeof views)[number];

export interface Place {
  view: View;
  id: number | undefined;
}

export function placeOf(hash: string): Place {
  const [, view, id] = hash.split('/');
  return {
    view: views.find((each) => each === view) ?? 'files',
    id: id && /^[1-9]\d{0,9}$/.test(id) ? Number(id) : undefined,
  };
}

export const place = signal(placeOf(location.hash));

addEventListener('hashchange', () => {
  place.value = placeOf(location.hash);
});
