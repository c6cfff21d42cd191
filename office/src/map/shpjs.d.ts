// The functions of shpjs that the page uses; the package has no types.
declare module 'shpjs' {
  export function parseShp(shp: Uint8Array, projection?: Uint8Array): unknown[];
  export function parseDbf(table: Uint8Array, encoding?: Uint8Array | string): unknown[];
  export function combine(parts: [unknown[], unknown[] | undefined]): {features: unknown[]};
}
