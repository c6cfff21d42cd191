// Reads a file of any kind into layers. The reader runs in a worker: the libraries may need seconds.
import {unpack, type Archive} from './archive';
import {limited} from './limits';
import {largestFile, Refusal, type Reading} from './model';
import {readShapefile, shapefilesOf} from './shapefiles';
import {mainFilesOf, readTaskData, type Found} from './task_data';

/** A part of an archive that cannot be read gets a note. Throws Refusal. */
export async function read(name: string, bytes: Uint8Array<ArrayBuffer>): Promise<Reading> {
  if (bytes.length > largestFile) throw new Refusal('tooLarge');
  const archive: Archive = /\.xml$/i.test(name) ? {files: new Map([['TASKDATA.XML', bytes]]), names: [name]} : unpack(bytes);
  const reading: Reading = {layers: [], notes: [], fields: [], hasTaskData: false, names: archive.names};
  const add = async (path: string, readPart: (archive: Archive, path: string) => Found | Promise<Found>) => {
    try {
      const {layers, notes, fields} = await readPart(archive, path);
      reading.layers.push(...layers);
      reading.notes.push(...notes);
      reading.fields.push(...fields);
      return true;
    } catch (error) {
      reading.notes.push({kind: 'refused', name: path, refusal: error instanceof Refusal ? error.kind : 'damaged'});
      return false;
    }
  };
  for (const path of mainFilesOf(archive)) if (await add(path, readTaskData)) reading.hasTaskData = true;
  for (const path of shapefilesOf(archive)) await add(path, readShapefile);
  return limited(reading);
}
