// The worker that reads one file and ends.
import {Refusal, type Answer, type Layer} from './model';
import {paint} from './paint';
import {read} from './read';

interface Question {
  name: string;
  file: Blob;
}

addEventListener('message', ({data}: MessageEvent<Question>) => void answer(data));

async function answer({name, file}: Question): Promise<void> {
  try {
    const reading = await read(name, new Uint8Array(await file.arrayBuffer()));
    await paint(reading.layers);
    send({reading}, reading.layers.flatMap(belongings));
  } catch (error) {
    send({refusal: error instanceof Refusal ? error.kind : 'damaged'});
  }
}

const send = (message: Answer, transfer: Transferable[] = []) =>
  (postMessage as (message: Answer, transfer: Transferable[]) => void)(message, transfer);

/** The memory that moves to the page without a copy. */
function belongings({channels, shapes}: Layer): Transferable[] {
  const all = [...channels.flatMap((channel) => channel.shapes), ...(shapes ? [shapes] : [])];
  return [...channels.map(({values}) => values.buffer), ...all.map(({flat}) => flat.buffer),
    ...channels.flatMap(({image}) => image ?? [])] as Transferable[];
}
