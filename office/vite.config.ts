// The build: hashed files below assets/, each also in its compressed forms, which the service sends as they are.
import {readdir, readFile, writeFile} from 'node:fs/promises';
import {join} from 'node:path';
import {brotliCompressSync, constants, gzipSync} from 'node:zlib';
import {defineConfig, type Plugin} from 'vite';

const compressible = /\.(html|js|css|svg|json|webmanifest)$/;

function compressedForms(): Plugin {
  let folder = '';
  return {
    name: 'compressed-forms',
    apply: 'build',
    configResolved: (config) => {
      folder = join(config.root, config.build.outDir);
    },
    closeBundle: async () => {
      const names = await readdir(folder, {recursive: true});
      for (const name of names.filter((each) => compressible.test(each))) {
        const bytes = await readFile(join(folder, name));
        const size = {[constants.BROTLI_PARAM_SIZE_HINT]: bytes.length};
        await writeFile(join(folder, `${name}.br`), brotliCompressSync(bytes, {params: size}));
        await writeFile(join(folder, `${name}.gz`), gzipSync(bytes, {level: 9}));
      }
    },
  };
}

export default defineConfig({
  oxc: {jsx: {runtime: 'automatic', importSource: 'preact'}},
  build: {assetsInlineLimit: 0, modulePreload: {polyfill: false}, target: 'es2022'},
  plugins: [compressedForms()],
  test: {include: ['tests/unit/**/*.test.ts'], setupFiles: ['tests/unit/browser.ts']},
} as Parameters<typeof defineConfig>[0]);
