// A table of which only the visible rows exist, so that 10,000 rows scroll smoothly. All rows have one height.
import {computed, useSignal} from '@preact/signals';
import type {ComponentChildren, RefObject} from 'preact';
import {useEffect, useLayoutEffect, useRef} from 'preact/hooks';
import {dateText} from '../texts';

const rowHeight = 44; // px, as in style.css
const spareRows = 20;

/** The width of a column of times, whose letters have this size beside the others. */
export const timeWidth = (size = 1): string => `${Math.ceil(longestTime.value * size) + 28}px`;

/** px of the longest time of a year: the hour has two digits with 12 and with 24 hours. */
const longestTime = computed(() => {
  const context = document.createElement('canvas').getContext('2d') as CanvasRenderingContext2D;
  context.font = getComputedStyle(document.body).font;
  return Math.max(...[...Array(12).keys()].map((month) => context.measureText(dateText(new Date(2026, month, 28, 22, 58).getTime())).width));
});

interface Props<Row> {
  heads: readonly string[];
  /** Of the columns that do not share the rest of the width. */
  widths?: Readonly<Record<number, string>>;
  rows: readonly Row[];
  keyOf: (row: Row) => number;
  /** The cells of a row. */
  cells: (row: Row) => ComponentChildren[];
}

export function LongTable<Row>({heads, widths = {}, rows, keyOf, cells}: Props<Row>) {
  const box = useRef<HTMLDivElement>(null);
  const noteFocus = useKeptFocus(box, rows.length);
  const first = useSignal(0);
  const count = useSignal(60);
  const look = () => {
    const element = box.current;
    if (!element) return;
    first.value = Math.max(0, Math.floor(element.scrollTop / rowHeight) - spareRows);
    count.value = Math.ceil(element.clientHeight / rowHeight) + 2 * spareRows;
  };
  useEffect(() => {
    look();
    addEventListener('resize', look);
    return () => removeEventListener('resize', look);
  }, []);
  const from = Math.min(first.value, Math.max(0, rows.length - count.value));
  const shown = rows.slice(from, from + count.value);
  const space = (rowCount: number) => <tr aria-hidden="true" style={{height: `${rowCount * rowHeight}px`}} />;
  return (
    <div class="scroll" ref={box} onScroll={look} tabIndex={0} role="region" aria-label={heads[0]}>
      <table aria-rowcount={rows.length + 1} onFocusIn={({target}) => noteFocus(target as HTMLElement)}>
        <thead>
          <tr>{heads.map((head, column) => <th key={head} scope="col" style={{width: widths[column]}}>{head}</th>)}</tr>
        </thead>
        <tbody>
          {space(from)}
          {shown.map((row, index) => (
            <tr key={keyOf(row)} aria-rowindex={from + index + 2}>
              {cells(row).map((cell, column) => (
                <td key={heads[column]} title={typeof cell === 'string' ? cell : undefined}>{cell}</td>
              ))}
            </tr>
          ))}
          {space(rows.length - from - shown.length)}
        </tbody>
      </table>
    </div>
  );
}

/** If the row with the focus goes, the next row takes the focus. Without rows, the view takes it. */
function useKeptFocus(box: RefObject<HTMLElement | null>, rowCount: number) {
  const last = useRef<{element: HTMLElement; row: number; place: number} | undefined>(undefined);
  const note = (element: HTMLElement) => {
    const row = element.closest('[aria-rowindex]');
    last.current = row ? {element, row: Number(row.getAttribute('aria-rowindex')), place: controlsOf(row).indexOf(element)} : undefined;
  };
  useLayoutEffect(() => {
    if (!last.current) return;
    const {element, row, place} = last.current;
    if (element.isConnected) return note(element);
    if (document.activeElement !== document.body) return;
    const next = box.current?.querySelector(`[aria-rowindex="${Math.min(row, rowCount + 1)}"]`);
    ((next && controlsOf(next)[place]) ?? box.current)?.focus();
  });
  useLayoutEffect(() => () => {
    // The table goes with its last row. The clean-up of useEffect would run after the next frame, when nothing has the focus.
    if (box.current?.contains(document.activeElement)) document.querySelector<HTMLElement>('main')?.focus();
  }, []);
  return note;
}

const controlsOf = (row: Element): HTMLElement[] => [...row.querySelectorAll<HTMLElement>('a, button, input')];
