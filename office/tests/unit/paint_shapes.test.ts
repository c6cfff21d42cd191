// Many points as images: what is painted at each point.
import {beforeEach, describe, expect, it, vi} from 'vitest';
import {channelOfPoints, colourOf} from '../../src/map/channels';
import {extentOf, shapesByClass, shapesOf, type Parts, type Point} from '../../src/map/geometry';
import type {Layer} from '../../src/map/model';
import {paint} from '../../src/map/paint';
import {isHeavy} from '../../src/map/paint_shapes';
import {toPlane} from '../../src/map/plane';

/** A canvas that knows the class of each pixel. */
class Canvas {
  fillStyle = '';
  lineWidth = 0;
  private readonly pixels: Uint8Array;
  private readonly scale = [1, 1] as [number, number];
  private readonly start = [0, 0] as [number, number];

  constructor(readonly width: number, readonly height: number) {
    this.pixels = new Uint8Array(width * height);
    painted.push(this);
  }

  getContext = () => this;
  transferToImageBitmap = () => this;
  beginPath = () => undefined;
  moveTo = () => undefined;
  stroke = () => undefined;

  setTransform(right: number, _b: number, _c: number, up: number): void {
    Object.assign(this.scale, [right, -up]);
  }

  translate(x: number, y: number): void {
    Object.assign(this.start, [-x, -y]);
  }

  fillRect(x: number, y: number, width: number, height: number): void {
    const [left, top] = this.pixelOf([x, y]);
    const [right, bottom] = this.pixelOf([x + width, y + height]);
    for (let row = Math.round(top); row < Math.round(bottom); ++row) {
      this.pixels.fill(colours.indexOf(this.fillStyle), row * this.width + Math.round(left), row * this.width + Math.round(right));
    }
  }

  classAt(at: Point): number | undefined {
    const [x, y] = this.pixelOf(toPlane(at));
    return this.pixels[Math.floor(y) * this.width + Math.floor(x)];
  }

  /** From the southern edge. */
  private pixelOf([x, y]: Point): [number, number] {
    return [(x - this.start[0]) * this.scale[0], (y - this.start[1]) * this.scale[1]];
  }
}

const painted: Canvas[] = [];
const colours = [0, 1, 2].map((index) => colourOf(index, 3));
vi.stubGlobal('OffscreenCanvas', Canvas);

/** 20,001 points of a field in rows. Each has a neighbour of the other class. */
const field = [...Array(20_001).keys()].map((index): Point => [5 + (index % 141) * 5e-5, 51 + Math.floor(index / 141) * 3e-5]);
const valueOf = (index: number) => 1 + (index % 141) % 2;

function layerOf(points: readonly Point[], columnCount: number): Layer {
  const all = points.map((point): Parts => [[point]]);
  const values = Float64Array.from(points, (_, index) => valueOf(index));
  const channel = channelOfPoints({name: 'RATE', unit: ''}, values, (classified) => shapesByClass('points', all, classified));
  const channels = [...Array(columnCount)].map(() => structuredClone(channel));
  return {kind: 'track', name: '', extent: extentOf(all), channels};
}

/** The points of the field that do not have the colour of their class. */
const wrongPoints = (canvas: Canvas): number => field.filter((point, index) => canvas.classAt(point) !== valueOf(index)).length;

it('a track whose value changes at each record becomes an image, a track with one value stays a line', () => {
  const points = [...Array(30_000).keys()].map((index): Point => [5 + index * 1e-5, 51]);
  const steps = points.slice(1).map((point, index): Parts => [[points[index]!, point]]);
  expect(isHeavy({shapes: [shapesOf('lines', [[points]])]})).toBe(false);
  expect(isHeavy({shapes: [shapesOf('lines', steps)]})).toBe(true);
});

describe('the image of many points', () => {
  beforeEach(() => {
    painted.length = 0;
  });

  it.each([1, 20])('shows the value of each point if the file has %i columns', async (columnCount) => {
    await paint([layerOf(field, columnCount)]);
    expect(painted.length).toBe(columnCount);
    expect(wrongPoints(painted[0]!)).toBe(0);
  });

  it('shows the field if one point is at 0°, 0°, which stays a point', async () => {
    const layer = layerOf([...field, [0, 0]], 1);
    await paint([layer]);
    expect(layer.extent[0]).toBeGreaterThan(4.99);
    expect(layer.channels[0]!.shapes.map(({flat}) => flat.length)).toEqual([0, 2, 0]);
    expect(wrongPoints(painted[0]!)).toBe(0);
  });

  it('does not leave out a field of many points', async () => {
    const layer = layerOf([...field, ...field.map(([x, y]): Point => [x + 1, y])], 1);
    await paint([layer]);
    expect(layer.extent[2]).toBeGreaterThan(6);
    expect(layer.channels[0]!.shapes).toEqual([]);
  });

  it('has no more pixels if the file has further layers', async () => {
    await paint([layerOf(field, 2), layerOf(field, 3)]);
    expect(painted.length).toBe(5);
    expect(painted.reduce((sum, {width, height}) => sum + width * height, 0)).toBeLessThanOrEqual(4096 ** 2);
  });
});
