// The consoles of the farm.
import {consoles, type ConsoleState} from '../model/farm';
import {dateText, t} from '../texts';
import {LongTable} from './LongTable';

export function Fleet() {
  const all = [...consoles.value.values()];
  if (all.length === 0) return <p class="empty">{t('fleet.none')}</p>;
  const heads = [t('fleet.console'), t('fleet.operator'), t('fleet.position'), t('fleet.measured'), t('fleet.contact')];
  return (
    <LongTable heads={heads} rows={all} keyOf={({id}) => id} cells={(console) => [
      console.console_string || console.hardware_address,
      console.operator.name,
      ...positionCells(console),
      dateText(lastContactMs(console)),
    ]} />
  );
}

/** The place, and the time by the console's clock, which may be wrong or long before its receipt. */
function positionCells({position}: ConsoleState): [string, string] {
  if (!position) return [t('fleet.noPosition'), ''];
  return [`${position.latitude.toFixed(5)}°, ${position.longitude.toFixed(5)}°`, dateText(position.time_s * 1000)];
}

/** The last report of any kind, by the service's clock. */
function lastContactMs({environment, devices, positionReceivedMs}: ConsoleState): number {
  const times = [environment?.received_at, ...devices.map((each) => each.received_at)];
  return Math.max(positionReceivedMs, ...times.map((time) => (time ? Date.parse(time) : 0)));
}
