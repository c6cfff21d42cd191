// An empty module in the place of jszip: see vite.config.ts.
export default undefined;
