// Reads a file of any kind into layers. The reader runs in a worker: the libraries may need seconds.
import {unpack, type Archive} from './archive';
import {largestFile, Refusal, type Reading} from './model';
import {readShapefile, shapefilesOf} from './shapefiles';
import {mainFilesOf, readTaskData} from './task_data';

/** Throws Refusal. */
export async function read(name: string, bytes: Uint8Array<ArrayBuffer>): Promise<Reading> {
  if (bytes.length > largestFile) throw new Refusal('tooLarge');
  const archive: Archive = /\.xml$/i.test(name) ? {files: new Map([['TASKDATA.XML', bytes]]), names: [name]} : unpack(bytes);
  const mainFiles = mainFilesOf(archive);
  const reading: Reading = {layers: [], notes: [], hasTaskData: mainFiles.length > 0, names: archive.names};
  for (const path of mainFiles) {
    const {layers, notes} = await readTaskData(archive, path);
    reading.layers.push(...layers);
    reading.notes.push(...notes);
  }
  for (const path of shapefilesOf(archive)) {
    const {layers, notes} = readShapefile(archive, path);
    reading.layers.push(...layers);
    reading.notes.push(...notes);
  }
  return reading;
}
