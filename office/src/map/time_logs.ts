// Time logs as tracks.
import type {ExtendedTimeLog} from 'isoxml';
import {channelOfPoints, noClass, type Classified} from './channels';
import {extentOf, shapesOf, type Parts, type Point} from './geometry';
import type {Layer, Note, Shapes} from './model';
import {plainName, scaled} from './quantities';

/** A longer track is drawn with fewer points. */
const mostPoints = 30_000;

type Parsed = ReturnType<ExtendedTimeLog['parseBinaryFile']>;
type Record = Parsed['timeLogs'][number];

export function readTimeLog(log: ExtendedTimeLog, {layers, notes}: {layers: Layer[]; notes: Note[]}): void {
  const name = log.attributes.Filename;
  const parsed = log.binaryData && log.timeLogHeader ? parse(log) : undefined;
  if (!parsed || log.parsingErrors.length > 0) notes.push({kind: 'logDamaged', name});
  const records = parsed?.timeLogs ?? [];
  const placed = [...records.keys()].filter((index) => hasPlace(records[index] as Record));
  if (!parsed || placed.length < 2) return;
  const step = Math.ceil(placed.length / mostPoints);
  if (step > 1) notes.push({kind: 'thinned', name});
  const drawn = placed.filter((_, index) => index % step === 0);
  const points = drawn.map((index): Point => {
    const {PositionEast: east, PositionNorth: north} = (records[index] as Record).position;
    return [east, north];
  });
  const channels = parsed.valuesInfo.map((info) => {
    const {unit, shownValue} = scaled(info);
    const title = [plainName(info.DDEntityName) || info.DDIString, info.deviceElementDesignator].filter(Boolean).join(' · ');
    let last = NaN; // A record has only the values that changed. A change can be in a record that is not drawn.
    const filled = Float64Array.from(records, ({values: changed}) => {
      const raw = changed[info.valueKey];
      if (raw !== undefined) last = shownValue(raw);
      return last;
    });
    const values = Float64Array.from(drawn, (index) => filled[index] as number);
    return channelOfPoints({name: title, unit}, values, (classified) => runsOf(points, classified));
  });
  const withValues = channels.filter(({values}) => values.some((value) => !Number.isNaN(value)));
  const track = {kind: 'track' as const, name, extent: extentOf([[points]]), channels: withValues};
  layers.push(withValues.length > 0 ? track : {...track, shapes: shapesOf('lines', [[points]])});
}

const hasPlace = ({isValidPosition, position}: Record): boolean =>
  isValidPosition && Math.abs(position.PositionNorth) <= 90 && Math.abs(position.PositionEast) <= 180;

function parse(log: ExtendedTimeLog): Parsed | undefined {
  try {
    log.binaryData = log.binaryData.slice(); // The parser reads from the start of the buffer.
    return log.parseBinaryFile();
  } catch {
    return undefined;
  }
}

/** For each class the stretches of the track with its values; a stretch ends at the first point of the next. */
function runsOf(points: readonly Point[], {classes, classOf}: Classified): Shapes[] {
  const runs: Parts[][] = classes.map(() => []);
  let start = 0;
  for (let index = 1; index <= points.length; ++index) {
    if (index < points.length && classOf[index] === classOf[start]) continue;
    const found = classOf[start] as number;
    if (found !== noClass) runs[found]?.push([points.slice(start, index + 1)]);
    start = index;
  }
  return runs.map((lines) => shapesOf('lines', lines.filter(([part]) => (part?.length ?? 0) > 1)));
}
