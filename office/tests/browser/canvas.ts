// The canvas of a map.
import type {Page} from 'playwright-core';

/** The map has drawn its features. */
export async function drawn(page: Page): Promise<void> {
  await page.waitForFunction(() => {
    const canvas = document.querySelector<HTMLCanvasElement>('.map canvas');
    if (!canvas) return false;
    return canvas.getContext('2d')!.getImageData(0, 0, canvas.width, canvas.height).data.some((each) => each !== 0);
  });
}
