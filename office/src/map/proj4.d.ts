// proj4 has no types for its single projections.
declare module 'proj4/lib/projections/*' {
  const projection: object;
  export default projection;
}
