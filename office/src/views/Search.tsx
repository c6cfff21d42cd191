// The field to search a list.
import type {Signal} from '@preact/signals';

export function Search({text, label}: {text: Signal<string>; label: string}) {
  return (
    <input type="search" placeholder={label} aria-label={label} value={text} onInput={(event) => {
      text.value = event.currentTarget.value;
    }} />
  );
}

/** Whether one of the texts has the searched words. */
export function matches(search: string, ...texts: readonly string[]): boolean {
  const wanted = search.trim().toLocaleLowerCase();
  return texts.some((each) => each.toLocaleLowerCase().includes(wanted));
}
