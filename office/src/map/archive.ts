// Unpacks the parts of an archive that may hold a map, within limits of memory.
import {unzipSync} from 'fflate';
import {Refusal} from './model';

const largestUnpacked = 256 * 1024 * 1024;
const mostNames = 200;
const useful = /\.(xml|bin|shp|dbf|prj|cpg)$/i;

export interface Archive {
  /** By their path. */
  files: ReadonlyMap<string, Uint8Array<ArrayBuffer>>;
  names: string[];
}

/** Throws Refusal. */
export function unpack(bytes: Uint8Array): Archive {
  if (bytes[0] !== 0x50 || bytes[1] !== 0x4b) throw new Refusal('notArchive');
  const names: string[] = [];
  let sum = 0;
  const filter = ({name, originalSize}: {name: string; originalSize: number}) => {
    if (names.length < mostNames && !name.endsWith('/')) names.push(name);
    if (!useful.test(name)) return false;
    sum += originalSize;
    if (sum > largestUnpacked) throw new Refusal('unpacksTooLarge');
    return true;
  };
  try {
    return {files: new Map(Object.entries(unzipSync(bytes, {filter}))), names};
  } catch (error) {
    throw error instanceof Refusal ? error : new Refusal('damaged');
  }
}

export const folderOf = (path: string): string => path.slice(0, path.lastIndexOf('/') + 1);

export const text = new TextDecoder();

/** Entities can make a document of a few bytes very large. Task data has no use for them. Throws Refusal. */
export function refuseEntities(xml: Uint8Array): void {
  if (/<!(DOCTYPE|ENTITY)/i.test(text.decode(xml))) throw new Refusal('entities');
}
