// How much of its quota a farm or a user uses.
import type {FarmUsage} from '../api/client';

export type Limits = FarmUsage['quota']['farm'] | FarmUsage['quota']['user'];
export type Usage = FarmUsage['users'][number]['usage'];

/** At this share the service counts a farm as nearly full. */
const nearlyFullShare = 0.9;

export type Fill = 'free' | 'nearlyFull' | 'full';

export interface Amount {
  kind: 'bytes' | 'files' | 'uploads' | 'sessions' | 'users';
  used: number;
  limit: number;
  /** Of the limit; above 1 if the limit was lowered. */
  share: number;
  /** A login beyond the limit ends the oldest session, so sessions are always free. */
  fill: Fill;
}

/** Whether deleted files would help: the space or the files are nearly full. */
export const asksForRoom = (amounts: readonly Amount[]): boolean =>
  amounts.some(({kind, fill}) => (kind === 'bytes' || kind === 'files') && fill !== 'free');

/**
 * One amount for each limit that has a use: nothing stores the number of positions. During an update of the service, an
 * answer may be of a version without `upload_files`.
 */
export function amountsOf(usage: Usage, limits: Limits): Amount[] {
  const list = [
    amount('bytes', usage.bytes + usage.upload_bytes, limits.bytes),
    amount('files', usage.files + (usage.upload_files ?? 0), limits.files),
    amount('uploads', usage.uploads, limits.uploads),
  ];
  if ('sessions' in limits) list.push(amount('sessions', usage.sessions, limits.sessions));
  else if (usage.users !== undefined) list.push(amount('users', usage.users, limits.users));
  return list;
}

function amount(kind: Amount['kind'], used: number, limit: number): Amount {
  const share = limit > 0 ? used / limit : 1;
  const fill = kind === 'sessions' || share < nearlyFullShare ? 'free' : share < 1 ? 'nearlyFull' : 'full';
  return {kind, used, limit, share, fill};
}
