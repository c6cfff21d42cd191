// Paints layers: a grid with one pixel for each cell, and shapes that are too many for the page to draw.
import {classify, colourOf, noClass} from './channels';
import type {Layer, Shapes} from './model';
import {isHeavy, paintShapes, sideOf} from './paint_shapes';
import {project} from './plane';
import {takeStray} from './stray';

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

/** The layers of one file. The coordinates of their shapes change from degrees to the plane. */
export async function paint(layers: readonly Layer[]): Promise<void> {
  const heavy = layers.filter(({channels}) => channels.some(isHeavy));
  const side = sideOf(heavy.reduce((sum, {channels}) => sum + channels.length, 0));
  for (const layer of layers) {
    const stray = heavy.includes(layer) ? takeStray(layer) : undefined;
    projectAll(layer, stray ?? []);
    if (stray) paintShapes(layer, stray, side);
    else await paintGrid(layer);
  }
}

function projectAll({channels, shapes}: Layer, stray: readonly Shapes[][]): void {
  for (const each of [...channels.flatMap((channel) => channel.shapes), ...(shapes ? [shapes] : []), ...stray.flat()]) project(each);
}

async function paintGrid({grid, channels}: Layer): Promise<void> {
  if (!grid) return;
  for (const channel of channels) {
    channel.image = await createImageBitmap(new ImageData(pixelsOf(grid, channel.values), grid.columns, grid.rows));
  }
}
