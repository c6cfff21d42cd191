// The build: hashed files below assets/, each also in its compressed forms, which the service sends as they are.
import {readdir, readFile, writeFile} from 'node:fs/promises';
import {join} from 'node:path';
import {promisify} from 'node:util';
import {brotliCompress, constants, gzip as gzipWithCallback} from 'node:zlib';
import {defineConfig, type Plugin} from 'vite';

const gzip = promisify<Uint8Array, object, Buffer>(gzipWithCallback);
const known = new Map<string, Promise<Buffer>>();

/** Compresses each content once. */
function brotli(content: string | Uint8Array): Promise<Buffer> {
  const bytes = Buffer.from(content);
  const key = bytes.toString('latin1');
  const form = known.get(key)
    ?? promisify<Uint8Array, object, Buffer>(brotliCompress)(bytes, {params: {[constants.BROTLI_PARAM_SIZE_HINT]: bytes.length}});
  known.set(key, form);
  return form;
}

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
      await Promise.all(names.filter((each) => compressible.test(each)).map(async (name) => {
        const bytes = await readFile(join(folder, name));
        await writeFile(join(folder, `${name}.br`), await brotli(bytes));
        await writeFile(join(folder, `${name}.gz`), await gzip(bytes, {level: 9}));
      }));
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
    generateBundle: async (_options, bundle) => {
      const all = Object.values(bundle);
      const forms = await Promise.all(all.map(async (file) =>
        [file.fileName, (await brotli(file.type === 'chunk' ? file.code : file.source)).length] as const));
      const bytesOf = new Map(forms);
      const sizeOf = ({fileName}: {fileName: string}) => bytesOf.get(fileName) ?? 0;
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
        'login page': sum([...files].map((fileName) => sizeOf({fileName}))) + Math.max(...languages.map(sizeOf)),
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

const source = (name: string) => join(import.meta.dirname, 'src/map', name);

/** The parts of libraries that the page does not need: see each file. proj4 adds each projection of its list, `../projs`. */
const replacements = {
  ...Object.fromEntries(['jszip', 'polygon-clipping', '@turf/turf', './DefaultGridParamsGenerator', './CellCenterBasedGridGenerator',
    './IntersectionBasedGridGenerator', './xmlbuilder/json2xml'].map((part) => [part, source('writers.ts')])),
  '../projs': source('projections.ts'),
};

export default defineConfig({
  oxc: {jsx: {runtime: 'automatic', importSource: 'preact'}},
  resolve: {alias: replacements},
  ssr: {resolve: {mainFields: ['module']}}, // The tests in Node.js read the same files of proj4 as the page.
  build: {assetsInlineLimit: 0, modulePreload: {polyfill: false}, target: 'es2022'},
  worker: {format: 'es', plugins: () => [packageNames()]},
  plugins: [packageNames(), licences(), compressedForms(), sizes()],
  test: {include: ['tests/{unit,files}/**/*.test.ts'], setupFiles: ['tests/unit/browser.ts'], testTimeout: 30_000, server: {deps: {inline: ['isoxml', 'proj4', 'shpjs']}}},
} as Parameters<typeof defineConfig>[0]);
