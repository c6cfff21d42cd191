// Reads a file of any kind into layers. The reader runs in a worker: the libraries may need seconds.
import {unpack, type Archive} from './archive';
import {largestFile, Refusal, type Reading} from './model';
import {readShapefile, shapefilesOf} from './shapefiles';
import {mainFilesOf, readTaskData, type Found} from './task_data';

/** Throws Refusal. */
export async function read(name: string, bytes: Uint8Array<ArrayBuffer>): Promise<Reading> {
  if (bytes.length > largestFile) throw new Refusal('tooLarge');
  const archive: Archive = /\.xml$/i.test(name) ? {files: new Map([['TASKDATA.XML', bytes]]), names: [name]} : unpack(bytes);
  const mainFiles = mainFilesOf(archive);
  const reading: Reading = {layers: [], notes: [], fields: [], hasTaskData: mainFiles.length > 0, names: archive.names};
  const add = ({layers, notes, fields}: Found) => {
    reading.layers.push(...layers);
    reading.notes.push(...notes);
    reading.fields.push(...fields);
  };
  for (const path of mainFiles) add(await readTaskData(archive, path));
  for (const path of shapefilesOf(archive)) add(readShapefile(archive, path));
  return reading;
}
