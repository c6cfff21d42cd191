// A list that a view reads anew when something changes.
import {signal, type ReadonlySignal} from '@preact/signals';
import {listAll} from '../api/client';
import {tellError} from './Toast';

/** The list, undefined until it is read, and the function that reads it. An older answer that comes later is dropped. */
export function newestList<Name extends string, Item>(path: string, name: Name) {
  const list = signal<readonly Item[] | undefined>(undefined);
  let reads = 0;
  const read = async () => {
    const own = ++reads;
    try {
      const found = await listAll<Name, Item>(path, name);
      if (own === reads) list.value = found;
    } catch (error) {
      tellError(error);
    }
  };
  return [list as ReadonlySignal<readonly Item[] | undefined>, read] as const;
}
