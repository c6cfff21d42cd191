// Stand-ins for parts of libraries that write task data. The page only reads them: see vite.config.ts.
const absent = undefined;
export default absent;
export {absent as area, absent as bbox, absent as cellCenterBasedGridGenerator, absent as createGridParamsGenerator};
