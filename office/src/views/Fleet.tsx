// The consoles of the farm, on a map and in a list. #/fleet/3 is the console 3.
import {useComputed, useSignal} from '@preact/signals';
import {useEffect} from 'preact/hooks';
import type {TrackPoint} from '../api/client';
import {areConsolesRead, consoleName, consoles, labelOf, lastContactMs, measuredMs, type ConsoleState} from '../model/farm';
import {reconnections, renewConsoles} from '../model/session';
import type {Marker} from '../map/fleet';
import type {Point} from '../map/geometry';
import {t} from '../texts';
import {agoText, now} from './clock';
import {ConsoleDetail} from './ConsoleDetail';
import {lazily} from './lazily';
import {matches, Search} from './Search';
import {useSlowly} from './slowly';

const FleetMapBox = lazily(async () => (await import('./FleetMapBox')).FleetMapBox);

const oldMs = 15 * 60 * 1000;
const silentMs = 60 * 60 * 1000;
/** Two hundred moving consoles must not draw the list two hundred times a second. */
const pauseMs = 250;
const readMs = 60_000;

export function Fleet({consoleId}: {consoleId: number | undefined}) {
  const search = useSignal('');
  const isSilentOnly = useSignal(false);
  const track = useSignal<readonly TrackPoint[]>([]);
  const replay = useSignal<TrackPoint | undefined>(undefined);
  const trackPoints = useComputed(() => track.value.map(placeOf));
  const replayPoint = useComputed(() => (replay.value ? placeOf(replay.value) : undefined));
  const known = useSlowly(consoles, pauseMs);
  useNewReports();
  const all = [...known.values()];
  if (all.length === 0) return <p class="empty" role="status">{t(areConsolesRead.value ? 'fleet.none' : 'page.loading')}</p>;
  const found = all.filter((console) => matches(search.value, consoleName(console), console.operator.name)
    && (!isSilentOnly.value || now.value - lastContactMs(console) > silentMs));
  const chosen = consoleId === undefined ? undefined : known.get(consoleId);
  return (
    <div class="fleet">
      <section class="fleet-list">
        <div class="bar">
          <Search text={search} label={t('fleet.search')} />
          <label>
            <input type="checkbox" checked={isSilentOnly.value} onChange={(event) => {
              isSilentOnly.value = event.currentTarget.checked;
            }} />
            {t('fleet.silent')}
          </label>
        </div>
        {found.length === 0 && <p class="empty">{t('fleet.noMatch')}</p>}
        <ul class="consoles">
          {found.map((console) => <Line key={console.id} console={console} isChosen={console === chosen} />)}
        </ul>
        {consoleId !== undefined && !chosen && <p role="alert">{t('fleet.noConsole')}</p>}
        {chosen && <ConsoleDetail key={chosen.id} console={chosen} track={track} replay={replay} />}
      </section>
      <FleetMapBox markers={markersOf(found, chosen)} track={trackPoints.value} replay={replayPoint.value}
        onChoose={(id) => {
          location.hash = `#/fleet/${id}`;
        }} />
    </div>
  );
}

/** No event tells of equipment, or of a console that has no position. */
function useNewReports(): void {
  useEffect(() => {
    const read = () => {
      if (!document.hidden) void renewConsoles();
    };
    read();
    const timer = setInterval(read, readMs);
    document.addEventListener('visibilitychange', read);
    return () => {
      clearInterval(timer);
      document.removeEventListener('visibilitychange', read);
    };
  }, [reconnections.value]);
}

function Line({console, isChosen}: {console: ConsoleState; isChosen: boolean}) {
  const {operator, position} = console;
  const movement = movementNow(console);
  const contactMs = lastContactMs(console);
  return (
    <li>
      <a href={`#/fleet/${console.id}`} aria-current={isChosen ? 'true' : undefined}>
        <b><bdi>{consoleName(console)}</bdi></b> {operator.name}
        <span class="detail">{contactMs > 0 ? t('fleet.contactAgo', {ago: agoText(contactMs)}) : t('fleet.noContact')}</span>
        <span class="detail">
          {position ? t('fleet.positionAgo', {ago: agoText(measuredMs(position))}) : t('fleet.noPosition')}
          {movement && ` · ${Math.round(movement.speedKmh)} km/h`}
        </span>
      </a>
    </li>
  );
}

const isOld = ({position}: ConsoleState): boolean => !!position && now.value - measuredMs(position) > oldMs;

/** Undefined if the position is old. */
const movementNow = (console: ConsoleState) => (isOld(console) ? undefined : console.movement);

const placeOf = ({longitude, latitude}: {longitude: number; latitude: number}): Point => [longitude, latitude];

function markersOf(list: readonly ConsoleState[], chosen: ConsoleState | undefined): Marker[] {
  return list.flatMap((console) => (console.position ? [{
    id: console.id,
    name: labelOf(console, list),
    place: placeOf(console.position),
    heading: movementNow(console)?.heading,
    isOld: isOld(console),
    isChosen: console === chosen,
  }] : []));
}
