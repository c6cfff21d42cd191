// Which console has fetched a file, and when.
import type {File} from '../api/client';
import {consoleName, consoles} from '../model/farm';
import {dateText, t} from '../texts';

export function Fetched({file}: {file: File}) {
  const {fetched_at: time, fetched_by: by, unpack_error: reason} = file;
  if (!time || !by) return <span class="detail">{t('files.notFetched')}</span>;
  const known = consoles.value.get(by.console);
  const console = `${known ? consoleName(known) : `#${by.console}`} (${by.user.name})`;
  const result = reason === undefined ? dateText(time) : t('files.notUnpacked', {reason});
  return (
    <span class="lines" title={`${console} ${result}`}>
      <span>{console}</span>
      <span class={reason === undefined ? 'detail' : 'error'}>{result}</span>
    </span>
  );
}
