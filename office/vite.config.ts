// The build: hashed files below assets/, each also in its compressed forms, which the service sends as they are.
import {readdir, readFile, writeFile} from 'node:fs/promises';
import {join} from 'node:path';
import {brotliCompressSync, constants, gzipSync} from 'node:zlib';
import {defineConfig, type Plugin, type Rollup} from 'vite';

const compressible = /\.(html|js|css|svg|json|txt|webmanifest)$/;

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

/** The folders of the npm packages in the page and in its workers. */
const packages = new Set<string>();

function packageNames(): Plugin {
  return {
    name: 'package-names',
    apply: 'build',
    generateBundle: (_options, bundle) => {
      for (const file of Object.values(bundle)) {
        for (const id of file.type === 'chunk' ? file.moduleIds : []) {
          const [, folder] = /^\0?(.*\/node_modules\/(?:@[^/]+\/)?[^/]+)\//.exec(id) ?? [];
          if (folder) packages.add(folder);
        }
      }
    },
  };
}

/** Writes licences.txt: the licences ask that their texts go with the page. */
function licences(): Plugin {
  return {
    name: 'licences',
    apply: 'build',
    generateBundle: {
      order: 'post',
      async handler() {
        const texts = await Promise.all([...packages].map(licenceOf));
        this.emitFile({type: 'asset', fileName: 'licences.txt', source: texts.sort().join('\n')});
      },
    },
  };
}

async function licenceOf(folder: string): Promise<string> {
  const {name, version, license} = JSON.parse(await readFile(join(folder, 'package.json'), 'utf8')) as Record<string, string>;
  const files = (await readdir(folder)).filter((each) => /^licen[cs]e/i.test(each)).sort();
  const texts = await Promise.all(files.map((each) => readFile(join(folder, each), 'utf8')));
  return [`${name} ${version} (${license})\n`, ...texts].join('\n');
}

/** The largest sizes of the brotli forms, in bytes: of the login page in its largest language, and of all files. */
const limits = {'login page': 40 * 1024, 'whole page': 250 * 1024};

/** Prints the sizes and ends the build if one is too large. */
function sizes(): Plugin {
  return {
    name: 'sizes',
    apply: 'build',
    generateBundle: (_options, bundle) => {
      const all = Object.values(bundle);
      const sizeOf = (file: Rollup.OutputChunk | Rollup.OutputAsset | undefined) =>
        (file ? brotliCompressSync(file.type === 'chunk' ? file.code : file.source).length : 0);
      const files = new Set<string>();
      const add = (name: string) => {
        const file = bundle[name];
        if (files.has(name)) return;
        files.add(name);
        if (file?.type === 'chunk') [...file.imports, ...(file.viteMetadata?.importedCss ?? [])].forEach(add);
      };
      for (const file of all) {
        if (file.fileName === 'index.html' || (file.type === 'chunk' && file.isEntry)) add(file.fileName);
      }
      const languages = all.filter((file) => file.type === 'chunk' && /texts\/\w+\.json$/.test(file.facadeModuleId ?? ''));
      const sum = (numbers: number[]) => numbers.reduce((total, each) => total + each, 0);
      const found = {
        'login page': sum([...files].map((name) => sizeOf(bundle[name]))) + Math.max(...languages.map(sizeOf)),
        'whole page': sum(all.map(sizeOf)),
      };
      for (const [name, bytes] of Object.entries(found)) {
        const limit = limits[name as keyof typeof limits];
        console.log(`${name}: ${(bytes / 1024).toFixed(1)} KiB of ${limit / 1024} KiB`);
        if (bytes > limit) throw new Error(`The ${name} is too large.`);
      }
    },
  };
}

export default defineConfig({
  oxc: {jsx: {runtime: 'automatic', importSource: 'preact'}},
  // Two parts of libraries that the page does not need. It unpacks archives with fflate, but the library for task data also
  // brings jszip. And proj4 adds each projection of its list, `../projs`.
  resolve: {alias: {jszip: join(import.meta.dirname, 'src/map/no_jszip.ts'), '../projs': join(import.meta.dirname, 'src/map/projections.ts')}},
  ssr: {resolve: {mainFields: ['module']}}, // The tests in Node.js read the same files of proj4 as the page.
  build: {assetsInlineLimit: 0, modulePreload: {polyfill: false}, target: 'es2022'},
  worker: {format: 'es', plugins: () => [packageNames()]},
  plugins: [packageNames(), licences(), compressedForms(), sizes()],
  test: {include: ['tests/{unit,files}/**/*.test.ts'], setupFiles: ['tests/unit/browser.ts'], testTimeout: 30_000, server: {deps: {inline: ['isoxml', 'proj4', 'shpjs']}}},
} as Parameters<typeof defineConfig>[0]);
