// A table of which only the visible rows exist, so that 10,000 rows scroll smoothly. All rows have one height.
import {useSignal} from '@preact/signals';
import type {ComponentChildren} from 'preact';
import {useEffect, useRef} from 'preact/hooks';

const rowHeight = 44; // px, as in style.css
const spareRows = 20;

interface Props<Row> {
  heads: readonly string[];
  rows: readonly Row[];
  keyOf: (row: Row) => number;
  /** The cells of a row. */
  cells: (row: Row) => ComponentChildren[];
}

export function LongTable<Row>({heads, rows, keyOf, cells}: Props<Row>) {
  const box = useRef<HTMLDivElement>(null);
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
      <table aria-rowcount={rows.length + 1}>
        <thead>
          <tr>{heads.map((head) => <th key={head} scope="col">{head}</th>)}</tr>
        </thead>
        <tbody>
          {space(from)}
          {shown.map((row, index) => (
            <tr key={keyOf(row)} aria-rowindex={from + index + 2}>
              {cells(row).map((cell, column) => <td key={heads[column]}>{cell}</td>)}
            </tr>
          ))}
          {space(rows.length - from - shown.length)}
        </tbody>
      </table>
    </div>
  );
}
