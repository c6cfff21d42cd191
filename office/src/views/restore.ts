// Takes files out of the bin.
import {client, documentOf} from '../api/client';
import {firstTwice} from '../model/doubts';
import {inboxes} from '../model/farm';
import {t} from '../texts';
import {tell} from './Toast';

interface Deleted {
  id: number;
  name: string;
  container: number;
}

/** Throws ServiceError. */
export const restore = ({id}: Deleted) => documentOf(client.POST('/bin/{id}/restore', {params: {path: {id}}}));

/** Restores files, and tells if an inbox has two files of the same name then. Throws what `action` throws. */
export async function tellTwice(list: readonly Deleted[], action: () => Promise<unknown>): Promise<void> {
  const twice = firstTwice(list);
  await action();
  if (twice) tell(t('bin.twice', {name: twice.name, inbox: inboxes.value.get(twice.container)?.owner.name ?? ''}));
}
