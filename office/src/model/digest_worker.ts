// The worker that computes the SHA-256 of one file and ends.
import {sha256} from '@noble/hashes/sha2.js';

addEventListener('message', ({data}: MessageEvent<Blob>) => void answer(data));

/** Answers in base64, as in `Repr-Digest`; empty if the file cannot be read. */
async function answer(file: Blob): Promise<void> {
  try {
    const hash = sha256.create();
    const reader = file.stream().getReader();
    for (let piece = await reader.read(); !piece.done; piece = await reader.read()) hash.update(piece.value);
    postMessage(btoa(String.fromCharCode(...hash.digest())));
  } catch {
    postMessage('');
  }
}
