// Which console has fetched a file, and whether it could unpack the file.
import type {File} from '../api/client';
import {consoleName, consoles} from '../model/farm';
import {dateText, t} from '../texts';

export function Fetched({file}: {file: File}) {
  const {fetched_at: time, fetched_by: by, unpack_error: reason} = file;
  if (!time || !by) return <span class="detail">{t('files.notFetched')}</span>;
  const known = consoles.value.get(by.console);
  const name = known ? consoleName(known) : `#${by.console}`;
  const result = resultText(file);
  const all = [`\u2068${name}\u2069 (${by.user.name})`, `${t('files.fetched')} ${dateText(time)}`, result].filter(Boolean);
  return (
    <span class="lines" title={all.join(' · ')}>
      <span><bdi>{name}</bdi> ({by.user.name})</span>
      <span class={reason === undefined ? 'detail' : 'error'}>{result || dateText(time)}</span>
    </span>
  );
}

/** Empty until the console reports the unpacking. For a file that is no archive, it reports nothing. */
function resultText({unpacked_at: unpacked, unpack_error: reason}: File): string {
  if (unpacked) return t('files.unpacked', {time: dateText(unpacked)});
  return reason === undefined ? '' : t('files.notUnpacked', {reason});
}
