// An element that takes files from the desktop.
import {useSignal} from '@preact/signals';

// The browser would leave the page for a file that is dropped beside a target.
addEventListener('dragover', (event) => {
  if (event.defaultPrevented || !event.dataTransfer?.types.includes('Files')) return;
  event.preventDefault();
  event.dataTransfer.dropEffect = 'none';
});

/** The handlers of the element, and whether files are above it. */
export function useDropTarget(onFiles: (files: readonly File[]) => void) {
  const isOver = useSignal(false);
  return {
    isOver,
    handlers: {
      onDragOver: (event: DragEvent) => {
        event.preventDefault();
        isOver.value = true;
      },
      onDragLeave: () => {
        isOver.value = false;
      },
      onDrop: (event: DragEvent) => {
        event.preventDefault();
        isOver.value = false;
        onFiles([...event.dataTransfer?.files ?? []]);
      },
    },
  };
}
