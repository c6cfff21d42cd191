// A request that does not wait for ever on a link without any answer.

/** A slow link brings some bytes in this time. */
const silenceMs = 30_000;

/** Like fetch, but fails when nothing has come for 30 s. For answers that are read to their end. */
export async function fetchInTime(input: Request | string): Promise<Response> {
  const silence = new AbortController();
  const abort = () => silence.abort();
  let timer = setTimeout(abort, silenceMs);
  const signal = typeof input === 'string' ? silence.signal : AbortSignal.any([input.signal, silence.signal]);
  const heard = new TransformStream<Uint8Array, Uint8Array>({
    transform: (piece, out) => {
      clearTimeout(timer);
      timer = setTimeout(abort, silenceMs);
      out.enqueue(piece);
    },
    flush: () => clearTimeout(timer),
  });
  try {
    const response = await fetch(input, {signal});
    if (!response.body || response.status === 204) { // Chromium gives 204 a body, and takes none for it.
      clearTimeout(timer);
      return response;
    }
    return new Response(response.body.pipeThrough(heard), response);
  } catch (error) {
    clearTimeout(timer);
    throw error;
  }
}
