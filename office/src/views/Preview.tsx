// What a file holds: its map, or the reason why there is none.
import {largestFile, type Answer, type Note, type Reading} from '../map/model';
import {numberText, sizeText, t} from '../texts';
import {lazily} from './lazily';

const MapPanel = lazily(async () => (await import('./MapPanel')).MapPanel);

/** The names that a list shows. */
const mostNames = 20;

export function Preview({answer}: {answer: Answer}) {
  if ('refusal' in answer) {
    return <p class="empty" role="status">{t(`map.refused.${answer.refusal}`, {size: sizeText(largestFile)})}</p>;
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
        {notes.map(({kind, name, km = 0}, index) =>
          <li key={index}>{t(`map.note.${kind}`, {name, km: numberText(Math.round(km))})}</li>)}
      </ul>
    </div>
  );
}

function Nothing({reading: {hasTaskData, names}}: {reading: Reading}) {
  return (
    <div class="empty">
      <p>{t(hasTaskData ? 'map.noMap' : 'map.noTaskData')}</p>
      <ul class="names">{names.slice(0, mostNames).map((name) => <li key={name}>{name}</li>)}</ul>
      {names.length > mostNames && <p>{t('map.moreNames', {count: names.length - mostNames})}</p>}
    </div>
  );
}
