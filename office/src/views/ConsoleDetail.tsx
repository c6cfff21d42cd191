// One console: its reports, its equipment, and the track of a day with replay.
import {type Signal, useSignal} from '@preact/signals';
import {useEffect} from 'preact/hooks';
import {client, documentOf, ignoreMissing, type TrackPoint} from '../api/client';
import {consoleName, measuredMs, type ConsoleState} from '../model/farm';
import {movementBetween, type Movement} from '../model/movement';
import {dayOf} from '../model/day';
import {followTrack} from '../model/track';
import {dateText, numberText, t, timeText} from '../texts';
import {Ask} from './Ask';
import {agoText, now} from './clock';
import {tell, tellError} from './Toast';

/** A position that needed longer from the console to the service came late. */
const lateMs = 2 * 60 * 1000;
const frameMs = 200;

interface Props {
  console: ConsoleState;
  track: Signal<readonly TrackPoint[]>;
  replay: Signal<TrackPoint | undefined>;
}

export function ConsoleDetail({console, track, replay}: Props) {
  return (
    <div class="console-detail">
      <h2>{consoleName(console)}</h2>
      <Facts console={console} />
      <Equipment console={console} />
      <Track id={console.id} track={track} replay={replay} />
      <Remove console={console} />
    </div>
  );
}

function Facts({console: {position, movement, environment}}: {console: ConsoleState}) {
  const receivedMs = position ? Date.parse(position.received_at) : 0;
  return (
    <dl>
      {position && (
        <>
          <dt>{t('fleet.position')}</dt>
          <dd>{position.latitude.toFixed(5)}°, {position.longitude.toFixed(5)}°</dd>
          <dt>{t('fleet.measured')}</dt>
          <dd>
            {dateText(position.time_s * 1000)}
            {position.time_s * 1000 - receivedMs > lateMs ? ` · ${t('fleet.clockAhead')}` : ` (${agoText(measuredMs(position))})`}
          </dd>
          <dt>{t('fleet.received')}</dt>
          <dd>{dateText(receivedMs)}{receivedMs - position.time_s * 1000 > lateMs && ` · ${t('fleet.late')}`}</dd>
        </>
      )}
      {movement && <><dt>{t('fleet.movement')}</dt><dd>{movementText(movement)}</dd></>}
      {environment?.console.host_string && <><dt>{t('fleet.software')}</dt><dd>{environment.console.host_string}</dd></>}
    </dl>
  );
}

function movementText({speedKmh, heading}: Movement): string {
  return heading === undefined ? t('fleet.stands') : `${numberText(Math.round(speedKmh * 10) / 10)} km/h · ${Math.round(heading)}°`;
}

function Equipment({console: {devices}}: {console: ConsoleState}) {
  return (
    <>
      <h3>{t('fleet.equipment')}</h3>
      {devices.length === 0 && <p>{t('fleet.noEquipment')}</p>}
      <ul>
        {devices.map(({device, state, received_at}, index) => (
          <li key={index}>
            {[device.kind, device.console_string, device.hardware_address].filter(Boolean)
              .map((each, place) => <>{place > 0 && ' · '}<bdi>{each}</bdi></>)}
            <span class="detail">{t(state === 1 ? 'fleet.connected' : 'fleet.disconnected')} · {agoText(Date.parse(received_at))}</span>
          </li>
        ))}
      </ul>
    </>
  );
}

function Track({id, track, replay}: {id: number} & Omit<Props, 'console'>) {
  const chosenDay = useSignal<string | undefined>(undefined);
  const today = dayOf(now.value);
  const day = chosenDay.value ?? today;
  const isLoading = useSignal(false);
  useEffect(() => {
    isLoading.value = true;
    const stop = followTrack(id, day, (points) => {
      track.value = points;
      isLoading.value = false;
    }, (error) => {
      if (isLoading.value) tellError(error);
      isLoading.value = false;
    });
    return () => {
      stop();
      track.value = [];
    };
  }, [id, day]);
  return (
    <>
      <h3>{t('fleet.track')}</h3>
      <label class="field">
        {t('day')}
        <input type="date" value={day} max={today} onChange={(event) => {
          if (event.currentTarget.value) chosenDay.value = event.currentTarget.value;
        }} />
      </label>
      {track.value.length > 1 ? <Replay points={track.value} day={day} replay={replay} />
        : <p role="status">{t(isLoading.value ? 'page.loading' : 'fleet.noTrack')}</p>}
    </>
  );
}

/** For a console that is no longer in use. The service refuses while a session reports for it. */
function Remove({console}: {console: ConsoleState}) {
  const isAsked = useSignal(false);
  const {id} = console;
  const name = consoleName(console);
  const onDo = async () => {
    await documentOf(client.DELETE('/consoles/{id}', {params: {path: {id}}})).catch(ignoreMissing);
    location.hash = '#/fleet';
    tell(t('fleet.removed', {name}));
  };
  return (
    <p>
      <button onClick={() => {
        isAsked.value = true;
      }}>{t('fleet.remove')}</button>
      {isAsked.value && (
        <Ask question={{title: t('fleet.remove'), text: t('fleet.remove.text', {name}), fields: [], doText: t('fleet.remove'), onDo}}
          onEnd={() => {
            isAsked.value = false;
          }} />
      )}
    </p>
  );
}

function Replay({points, day, replay}: {points: readonly TrackPoint[]; day: string; replay: Signal<TrackPoint | undefined>}) {
  const index = useSignal(0);
  const isPlaying = useSignal(false);
  const point = points[Math.min(index.value, points.length - 1)] as TrackPoint;
  useEffect(() => {
    replay.value = point;
    return () => {
      replay.value = undefined;
    };
  }, [point]);
  useEffect(() => {
    if (!isPlaying.value) return undefined;
    const timer = setInterval(() => {
      if (index.value >= points.length - 1) isPlaying.value = false;
      else ++index.value;
    }, frameMs);
    return () => clearInterval(timer);
  }, [isPlaying.value, points]);
  const before = points[index.value - 1];
  const timeMs = point.time_s * 1000;
  const time = dayOf(timeMs) === day ? timeText(timeMs) : dateText(timeMs);
  const movement = before && movementBetween(before, point);
  return (
    <div class="replay">
      <button onClick={() => {
        if (!isPlaying.value && index.value >= points.length - 1) index.value = 0;
        isPlaying.value = !isPlaying.value;
      }}>{t(isPlaying.value ? 'fleet.stop' : 'fleet.play')}</button>
      <input type="range" min={0} max={points.length - 1} value={index} aria-label={t('fleet.time')}
        aria-valuetext={time} onInput={(event) => {
          index.value = Number(event.currentTarget.value);
        }} />
      <output>
        {time} · {point.operator.name}{movement && ` · ${movementText(movement)}`}
      </output>
    </div>
  );
}
