// Paints the shapes of a layer as one image for each channel. The page draws the image faster than the shapes.
import {colourOf} from './channels';
import {costOfLine} from './limits';
import type {Channel, Extent, Layer, Shapes} from './model';
import {toPlane} from './plane';

/** The page draws a channel that costs more as an image. A point costs 1. */
const mostCost = {polygons: 20_000, points: 20_000, lines: 60_000};
/** Of one image, and of all images of a file. */
const longestSide = 4096;
const mostPixels = longestSide ** 2;
/** Of an image, the share that a line or a point is wide. */
const lineWidth = 12 / longestSide;

export const isHeavy = ({shapes}: Pick<Channel, 'shapes'>): boolean =>
  shapes.reduce((sum, each) => sum + costOf(each) / mostCost[each.kind], 0) > 1;

const costOf = ({kind, flat, partEnds}: Shapes): number => flat.length / 2 + (kind === 'lines' ? costOfLine * partEnds.length : 0);

/** The longest side of each image, if the file has so many. */
export const sideOf = (imageCount: number): number => Math.floor(Math.sqrt(mostPixels / imageCount));

/** The shapes are in the plane. The images replace them; `rest` has the shapes that stay, for each channel. */
export function paintShapes(layer: Layer, rest: readonly Shapes[][], side: number): void {
  const [west, south, east, north] = layer.extent;
  const spare = Math.max(east - west, north - south) / 100 + 1e-6; // Lines and points at the edge have a width.
  layer.extent = [west - spare, south - spare, east + spare, north + spare];
  layer.channels.forEach((channel, index) => {
    channel.image = imageOf(channel, layer.extent, side);
    channel.shapes = rest[index] ?? [];
  });
}

function imageOf({shapes, classes}: Channel, [west, south, east, north]: Extent, side: number): ImageBitmap {
  const [left, bottom] = toPlane([west, south]);
  const [right, top] = toPlane([east, north]);
  const scale = side / Math.max(right - left, top - bottom);
  const canvas = new OffscreenCanvas(Math.round((right - left) * scale) || 1, Math.round((top - bottom) * scale) || 1);
  const context = canvas.getContext('2d') as OffscreenCanvasRenderingContext2D;
  context.setTransform(canvas.width / (right - left), 0, 0, -canvas.height / (top - bottom), 0, canvas.height);
  context.translate(-left, -bottom);
  context.lineWidth = widthOf(shapes, canvas) / scale;
  shapes.forEach((each, index) => {
    context.fillStyle = context.strokeStyle = colourOf(index, classes.length);
    paintClass(context, each);
  });
  return canvas.transferToImageBitmap();
}

/** In pixels. A wider point would cover its neighbours. */
function widthOf(shapes: readonly Shapes[], {width, height}: OffscreenCanvas): number {
  const kind = shapes[0]?.kind;
  const count = shapes.reduce((sum, {flat}) => sum + flat.length / 2, 0);
  const most = kind === 'polygons' ? 1 : kind === 'points' ? Math.sqrt((width * height) / count) : Infinity;
  return Math.max(1, Math.min(most, lineWidth * Math.max(width, height)));
}

function paintClass(context: OffscreenCanvasRenderingContext2D, {kind, flat, partEnds}: Shapes): void {
  const half = context.lineWidth / 2;
  let at = 0;
  for (const ends of partEnds) {
    context.beginPath();
    for (const end of ends) {
      context.moveTo(flat[at] as number, flat[at + 1] as number);
      for (; at < end; at += 2) {
        if (kind === 'points') context.fillRect((flat[at] as number) - half, (flat[at + 1] as number) - half, 2 * half, 2 * half);
        else context.lineTo(flat[at] as number, flat[at + 1] as number);
      }
      if (kind === 'polygons') context.closePath();
    }
    if (kind === 'polygons') context.fill('evenodd');
    context.stroke();
  }
}
