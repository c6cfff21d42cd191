// Reads files in a worker, one worker for each file. A file that needs too long ends with its worker.
import {largestFile, type Answer} from './model';

const longestMs = 30_000;

export function readFile(name: string, file: Blob): Promise<Answer> {
  if (file.size > largestFile) return Promise.resolve({refusal: 'tooLarge'});
  const worker = new Worker(new URL('./worker.ts', import.meta.url), {type: 'module'});
  return new Promise<Answer>((resolve) => {
    setTimeout(() => resolve({refusal: 'tooLong'}), longestMs);
    worker.onmessage = ({data}: MessageEvent<Answer>) => resolve(data);
    worker.onerror = () => resolve({refusal: 'damaged'});
    worker.postMessage({name, file});
  }).finally(() => worker.terminate());
}
