// What a file holds: its map, or the reason why there is none.
import {largestFile, type Answer, type Note, type Reading, type RefusalKind} from '../map/model';
import {numberText, sizeText, t} from '../texts';
import {lazily} from './lazily';

const MapPanel = lazily(async () => (await import('./MapPanel')).MapPanel);

/** The names that a list shows. */
const mostNames = 20;

export function Preview({answer}: {answer: Answer}) {
  if ('refusal' in answer) {
    return <p class="empty" role="status">{refusalText(answer.refusal)}</p>;
  }
  const {reading} = answer;
  return (
    <>
      <Notes notes={reading.notes} />
      {reading.layers.length > 0 ? <MapPanel reading={reading} /> : <Nothing reading={reading} />}
    </>
  );
}

function Notes({notes}: {notes: readonly Note[]}) {
  if (notes.length === 0) return null;
  return (
    <div role="status">
      <ul class="notes">
        {notes.map((note, index) => <li key={index}>{noteText(note)}</li>)}
      </ul>
    </div>
  );
}

function noteText(note: Note): string {
  if (note.kind === 'refused') return `${note.name}: ${refusalText(note.refusal)}`;
  if ('count' in note) return t(note.kind === 'more' ? 'map.moreNames' : 'map.note.leftOut', {count: note.count});
  return t(`map.note.${note.kind}`, {name: note.name, km: numberText(Math.round(note.km ?? 0))});
}

const refusalText = (kind: RefusalKind): string => t(`map.refused.${kind}`, {size: sizeText(largestFile)});

function Nothing({reading: {hasTaskData, notes, names}}: {reading: Reading}) {
  return (
    <div class="empty">
      <p>{t(hasTaskData || notes.length > 0 ? 'map.noMap' : 'map.noTaskData')}</p>
      <ul class="names">{names.slice(0, mostNames).map((name) => <li key={name}><bdi>{name}</bdi></li>)}</ul>
      {names.length > mostNames && <p>{t('map.moreNames', {count: names.length - mostNames})}</p>}
    </div>
  );
}
