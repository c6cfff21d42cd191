// A value that changes often, shown at most once in a given time.
import {useSignal, type ReadonlySignal} from '@preact/signals';
import {useEffect} from 'preact/hooks';

export function useSlowly<Value>(source: ReadonlySignal<Value>, pauseMs: number): Value {
  const shown = useSignal(source.peek());
  useEffect(() => {
    let timer: ReturnType<typeof setTimeout> | undefined;
    const show = () => {
      timer = undefined;
      shown.value = source.peek();
    };
    const stop = source.subscribe(() => {
      timer ??= setTimeout(show, pauseMs);
    });
    return () => {
      stop();
      clearTimeout(timer);
    };
  }, []);
  return shown.value;
}
