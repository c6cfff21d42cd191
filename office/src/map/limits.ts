// Limits what the page gets of one file, because the main thread has to stay responsive.
import type {Layer, Note, Reading, Shapes} from './model';

const mostNotes = 100;
/** The values of all grids, zones and tracks that the page offers. */
const mostChannels = 1000;
/** The points of all boundaries and guidance lines. A line costs more than its points, and a layer more than its lines. */
const mostCost = 100_000;
export const costOfLine = 4;
const costOfLayer = 30;

/** Leaves out the layers and notes beyond the limits, and tells it. */
export function limited({layers, notes, ...reading}: Reading): Reading {
  let channelCount = 0;
  let cost = 0;
  const kept = layers.filter((layer) => {
    if (layer.channels.length > 0) return (channelCount += layer.channels.length) <= mostChannels;
    return (cost += costOf(layer)) <= mostCost;
  });
  joinShapes(kept);
  const missing: Note[] = kept.length < layers.length ? [{kind: 'leftOut', name: '', count: layers.length - kept.length}] : [];
  const more: Note[] = notes.length > mostNotes ? [{kind: 'more', name: '', count: notes.length - mostNotes}] : [];
  return {...reading, layers: kept, notes: [...missing, ...notes.slice(0, mostNotes), ...more]};
}

/** The first boundary gets the shapes of all boundaries, and the first guidance line those of all: the page draws fewer features. */
function joinShapes(layers: readonly Layer[]): void {
  const groupOf = ({kind, shapes}: Layer) => shapes && `${kind} ${shapes.kind}`;
  for (const group of new Set(layers.map(groupOf))) {
    const [first, ...others] = group ? layers.filter((layer) => groupOf(layer) === group) : [];
    if (!first?.shapes) continue;
    first.shapes = joined([first.shapes, ...others.map(({shapes}) => shapes as Shapes)]);
    for (const layer of others) delete layer.shapes;
  }
}

function joined(all: readonly [Shapes, ...Shapes[]]): Shapes {
  const flat = new Float64Array(all.reduce((sum, each) => sum + each.flat.length, 0));
  let start = 0;
  const partEnds = all.flatMap((each) => {
    const ends = each.partEnds.map((parts) => parts.map((end) => start + end));
    flat.set(each.flat, start);
    start += each.flat.length;
    return ends;
  });
  return {kind: all[0].kind, flat, partEnds};
}

const costOf = ({shapes}: Layer): number =>
  costOfLayer + (shapes ? shapes.flat.length / 2 + costOfLine * shapes.partEnds.length : 0);
