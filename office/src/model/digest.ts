// The SHA-256 of a file, computed in a worker.

/** In base64; empty if the file cannot be read, undefined if the worker cannot be loaded. */
export function digestOf(file: Blob): Promise<string | undefined> {
  const worker = new Worker(new URL('./digest_worker.ts', import.meta.url), {type: 'module'});
  return new Promise<string | undefined>((resolve) => {
    worker.onmessage = ({data}: MessageEvent<string>) => resolve(data);
    worker.onerror = () => resolve(undefined);
    worker.postMessage(file);
  }).finally(() => worker.terminate());
}
