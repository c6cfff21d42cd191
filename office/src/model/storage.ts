// How much of its quota a farm or a user uses.
import type {FarmUsage} from '../api/client';

type Limits = FarmUsage['quota']['farm'] | FarmUsage['quota']['user'];
type Usage = FarmUsage['users'][number]['usage'];

/** At this share the service counts a farm as nearly full. */
const nearlyFullShare = 0.9;

export type Fill = 'free' | 'nearlyFull' | 'full';

export interface Amount {
  kind: 'bytes' | 'files' | 'uploads' | 'sessions';
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
 * One amount for each limit. Positions are left out, because nothing stores their number. The limit of files also counts
 * the files of uploads in progress; the service does not tell their number.
 */
export function amountsOf(usage: Usage, limits: Limits): Amount[] {
  const list = [
    amount('bytes', usage.bytes + usage.upload_bytes, limits.bytes),
    amount('files', usage.files, limits.files),
    amount('uploads', usage.uploads, limits.uploads),
  ];
  return 'sessions' in limits ? [...list, amount('sessions', usage.sessions, limits.sessions)] : list;
}

function amount(kind: Amount['kind'], used: number, limit: number): Amount {
  const share = limit > 0 ? used / limit : 1;
  const fill = kind === 'sessions' || share < nearlyFullShare ? 'free' : share < 1 ? 'nearlyFull' : 'full';
  return {kind, used, limit, share, fill};
}
