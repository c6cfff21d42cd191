// Paints layers: a grid with one pixel for each cell, and shapes that are too many for the page to draw.
import {classify, colourOf, noClass} from './channels';
import type {Layer} from './model';
import {isHeavy, paintShapes} from './paint_shapes';
import {project} from './plane';

/** Red, green, blue and opacity of each cell, the northern row first. */
export function pixelsOf({columns, rows}: {columns: number; rows: number}, values: Float64Array): Uint8ClampedArray<ArrayBuffer> {
  const {classes, classOf} = classify(values, () => 0);
  const palette = classes.map((_, index) => parseInt(colourOf(index, classes.length).slice(1), 16));
  const pixels = new Uint8ClampedArray(4 * columns * rows);
  for (let row = 0; row < rows; ++row) {
    for (let column = 0; column < columns; ++column) {
      const found = classOf[row * columns + column] as number;
      if (found === noClass) continue;
      const colour = palette[found] as number;
      pixels.set([colour >> 16, (colour >> 8) & 255, colour & 255, 255], 4 * ((rows - 1 - row) * columns + column));
    }
  }
  return pixels;
}

export async function paint(layer: Layer): Promise<void> {
  const {grid, channels, shapes} = layer;
  if (grid) {
    for (const channel of channels) {
      channel.image = await createImageBitmap(new ImageData(pixelsOf(grid, channel.values), grid.columns, grid.rows));
    }
    return;
  }
  for (const each of [...channels.flatMap((channel) => channel.shapes), ...(shapes ? [shapes] : [])]) project(each);
  if (channels.some(isHeavy)) paintShapes(layer);
}
