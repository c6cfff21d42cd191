// The pauses between attempts.

const longestMs = 30_000;

/** 1, 2, 4 … 30 s after 0, 1, 2 … failures before. */
export const backoffMs = (failures: number): number => Math.min(1000 * 2 ** failures, longestMs);

/** Ends early if the signal aborts or the browser is online again. Returns whether it is online again. */
export async function pauseOffline(milliseconds: number, signal: AbortSignal): Promise<boolean> {
  return untilTold('online', signal, async (either) => {
    await pause(milliseconds, either);
    return either.aborted;
  });
}

/** Does `work` with a signal that also aborts when the browser is online or offline. */
export async function untilTold<Result>(name: 'online' | 'offline', signal: AbortSignal,
    work: (either: AbortSignal) => Promise<Result>): Promise<Result> {
  const told = new AbortController();
  const tell = () => told.abort();
  addEventListener(name, tell);
  try {
    return await work(AbortSignal.any([signal, told.signal]));
  } finally {
    removeEventListener(name, tell);
  }
}

/** Ends early if the signal aborts. */
function pause(milliseconds: number, signal: AbortSignal): Promise<void> {
  return new Promise((resolve) => {
    if (signal.aborted) return resolve();
    const timer = setTimeout(resolve, milliseconds);
    signal.addEventListener('abort', () => {
      clearTimeout(timer);
      resolve();
    }, {once: true});
  });
}
