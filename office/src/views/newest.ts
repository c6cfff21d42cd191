// Lists and documents that a view reads anew when something changes.
import {signal, useSignal, type ReadonlySignal} from '@preact/signals';
import {useEffect} from 'preact/hooks';
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

/** The document, undefined until it is read. It is read again after a change of `causes`. */
export function useNewest<Document>(read: () => Promise<Document>, causes: readonly unknown[]): Document | undefined {
  const found = useSignal<Document | undefined>(undefined);
  useEffect(() => {
    let isCurrent = true;
    read().then((document) => {
      if (isCurrent) found.value = document;
    }, tellError);
    return () => {
      isCurrent = false;
    };
  }, [...causes]);
  return found.value;
}
