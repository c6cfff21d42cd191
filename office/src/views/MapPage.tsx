// A file of an inbox as a map: #/map/55 is the file 55.
import {useSignal} from '@preact/signals';
import {useEffect} from 'preact/hooks';
import {apiPath} from '../api/client';
import {files, inboxes} from '../model/farm';
import {reconnections} from '../model/session';
import {largestFile, type Answer} from '../map/model';
import {readFile} from '../map/reader';
import {dateText, sizeText, t} from '../texts';
import {Preview} from './Preview';

export function MapPage({fileId}: {fileId: number | undefined}) {
  const file = fileId === undefined ? undefined : files.value.get(fileId);
  const answer = useSignal<Answer | 'unreachable' | undefined>(undefined);
  useEffect(() => {
    const loading = new AbortController();
    if (answer.value === 'unreachable') answer.value = undefined;
    if (file && answer.value === undefined) void load(file, loading.signal).then((result) => {
      if (!loading.signal.aborted) answer.value = result;
    });
    return () => loading.abort();
  }, [file?.id, reconnections.value]);
  if (!file) return <p class="empty">{t('map.noFile')} <a href="#/files">{t('nav.files')}</a></p>;
  const inbox = inboxes.value.get(file.container);
  return (
    <section class="map-page">
      <div class="bar">
        <a class="button" href={`#/files/${file.container}`}>{t('map.back')}</a>
        <h2><bdi>{file.name}</bdi></h2>
        <span class="detail">
          {[inbox?.owner.name, sizeText(file.size), dateText(file.created_at), file.note].filter(Boolean).join(' · ')}
        </span>
      </div>
      {answer.value === undefined && <p class="empty" role="status">{t('map.reading')}</p>}
      {answer.value === 'unreachable' && <p class="empty" role="alert">{t('error.noAnswer')}</p>}
      {typeof answer.value === 'object' && <Preview answer={answer.value} />}
    </section>
  );
}

/** Reads the content. A file that is too large is not fetched. */
async function load({id, name, size}: {id: number; name: string; size: number},
    signal: AbortSignal): Promise<Answer | 'unreachable'> {
  if (size > largestFile) return {refusal: 'tooLarge'};
  try {
    const response = await fetch(`${apiPath}/resources/${id}/content`, {signal});
    if (!response.ok) return 'unreachable';
    return await readFile(name, await response.blob());
  } catch {
    return 'unreachable';
  }
}
