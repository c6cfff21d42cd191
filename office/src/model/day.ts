// Days by the browser's clock, like "2026-05-01".

export function dayOf(time: string | number): string {
  const date = new Date(time);
  return [date.getFullYear(), date.getMonth() + 1, date.getDate()].map((each) => String(each).padStart(2, '0')).join('-');
}

/** The start of the day and of the next. */
export function rangeOf(day: string): {from: string; to: string} {
  const [year = 0, month = 1, date = 1] = day.split('-').map(Number);
  return {from: new Date(year, month - 1, date).toISOString(), to: new Date(year, month - 1, date + 1).toISOString()};
}
