// Units of task data, as the office reads them.

/** The factor and the unit on the screen. */
const shown: Readonly<Record<string, readonly [number, string]>> = {
  'mm³/m²': [0.01, 'l/ha'],
  'mg/m²': [0.01, 'kg/ha'],
  '/m²': [10_000, '1/ha'],
  '1/m²': [10_000, '1/ha'],
  'mm/s': [0.0036, 'km/h'],
  'mm³/s': [0.0036, 'l/h'],
  'mg/s': [0.0036, 'kg/h'],
};

export function shownUnit(unit: string): readonly [number, string] {
  return shown[unit] ?? [1, unit];
}

/** The unit of a rate per hectare without its hectares, for example "kg"; undefined for another unit. */
export function amountUnit(unit: string): string | undefined {
  const match = /^(.+)\/ha$/.exec(unit);
  return match ? (match[1] === '1' ? '' : match[1]) : undefined;
}
