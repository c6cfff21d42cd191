// The pauses between attempts.

const longestMs = 30_000;

/** 1, 2, 4 … 30 s after 0, 1, 2 … failures before. */
export const backoffMs = (failures: number): number => Math.min(1000 * 2 ** failures, longestMs);

/** Ends early if the signal aborts. */
export function pause(milliseconds: number, signal: AbortSignal): Promise<void> {
  return new Promise((resolve) => {
    if (signal.aborted) return resolve();
    const timer = setTimeout(resolve, milliseconds);
    signal.addEventListener('abort', () => {
      clearTimeout(timer);
      resolve();
    }, {once: true});
  });
}
