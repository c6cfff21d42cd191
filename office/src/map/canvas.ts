// A map on a canvas, without a base map. Its plane touches the Earth near the first thing shown: cells of a grid are
// exact rectangles, and lengths are right within a farm.
import Feature from 'ol/Feature';
import OlMap from 'ol/Map';
import View from 'ol/View';
import ScaleLine from 'ol/control/ScaleLine';
import Zoom from 'ol/control/Zoom';
import {defaults as interactions} from 'ol/interaction/defaults';
import type {Geometry} from 'ol/geom';
import VectorLayer from 'ol/layer/Vector';
import Projection from 'ol/proj/Projection';
import VectorSource from 'ol/source/Vector';
import type {Point} from './geometry';
import {metresOfDegree, type Extent} from './model';

export class MapCanvas {
  readonly map: OlMap;
  readonly source = new VectorSource<Feature<Geometry>>();
  private origin: Point | undefined;
  private readonly resize: ResizeObserver;

  constructor(target: HTMLElement, zoomTexts: {in: string; out: string}) {
    const projection = new Projection({code: 'kelvo-plane', units: 'm', getPointResolution: (resolution) => resolution});
    this.map = new OlMap({
      target,
      view: new View({projection, center: [0, 0], resolution: 1, minResolution: 0.01, maxResolution: 50_000,
        enableRotation: false, constrainResolution: false}),
      layers: [new VectorLayer({source: this.source, updateWhileInteracting: false})],
      controls: [new Zoom({zoomInTipLabel: zoomTexts.in, zoomOutTipLabel: zoomTexts.out}), new ScaleLine()],
      interactions: interactions({altShiftDragRotate: false, pinchRotate: false}),
    });
    this.resize = new ResizeObserver(() => this.map.updateSize());
    this.resize.observe(target);
  }

  dispose(): void {
    this.resize.disconnect();
    this.map.setTarget(undefined);
  }

  /** Shows the rectangle, at least `smallest` metres of it. The first call decides where the plane touches. */
  fit([west, south, east, north]: Extent, smallest = 20): void {
    this.origin ??= [(west + east) / 2, (south + north) / 2];
    const [left, bottom] = this.toPlane([west, south]);
    const [right, top] = this.toPlane([east, north]);
    const spareX = Math.max(0, smallest - (right - left)) / 2;
    const spareY = Math.max(0, smallest - (top - bottom)) / 2;
    this.map.getView().fit([left - spareX, bottom - spareY, right + spareX, top + spareY], {padding: [24, 24, 24, 24]});
  }

  get hasOrigin(): boolean {
    return this.origin !== undefined;
  }

  /** Metres east and north of the origin. */
  toPlane([longitude, latitude]: Point): [number, number] {
    const [x, y] = this.origin as Point;
    return [(longitude - x) * metresOfDegree * this.shrink, (latitude - y) * metresOfDegree];
  }

  toDegrees([east = 0, north = 0]: readonly number[]): Point {
    const [x, y] = this.origin as Point;
    return [x + east / metresOfDegree / this.shrink, y + north / metresOfDegree];
  }

  flatToPlane(flat: Float64Array): number[] {
    const [x, y] = this.origin as Point;
    const factor = metresOfDegree * this.shrink;
    const plane = new Array<number>(flat.length);
    for (let index = 0; index < flat.length; index += 2) {
      plane[index] = ((flat[index] as number) - x) * factor;
      plane[index + 1] = ((flat[index + 1] as number) - y) * metresOfDegree;
    }
    return plane;
  }

  /** The length of a degree of longitude as a part of a degree of latitude. */
  private get shrink(): number {
    return Math.cos(((this.origin as Point)[1] * Math.PI) / 180);
  }
}
