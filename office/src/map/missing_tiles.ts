// Loads tiles again that failed, and tells while some of the visible tiles are missing.
import type OlMap from 'ol/Map';
import type Tile from 'ol/Tile';
import TileState from 'ol/TileState';
import {intersects} from 'ol/extent';
import type {TileSourceEvent} from 'ol/source/Tile';
import {backoffMs} from '../api/backoff';
import type {BaseLayer} from './base_map';

/** Tiles outside of the view wait until the view comes back. */
export function keepLoading(map: OlMap, layer: BaseLayer, onMissing: (isMissing: boolean) => void): void {
  const source = layer.getSource()!;
  const grid = source.getTileGridForProjection(map.getView().getProjection());
  const missing = new Set<Tile>();
  let failures = 0;
  let timer: ReturnType<typeof setTimeout> | undefined;
  const isVisible = ({tileCoord}: Tile) =>
    tileCoord[0] === grid.getZForResolution(map.getView().getResolution() ?? 1, source.zDirection)
      && intersects(grid.getTileCoordExtent(tileCoord), map.getView().calculateExtent());
  const tell = () => {
    for (const tile of missing) if (isSettled(tile) && missing.delete(tile)) map.render();
    if (missing.size === 0) failures = 0;
    onMissing([...missing].some(isVisible));
  };
  const retry = () => {
    timer = undefined;
    if (!map.getTarget()) return;
    ++failures;
    for (const tile of missing) if (tile.getState() === TileState.ERROR && isVisible(tile)) tile.load();
    startTimer();
  };
  const startTimer = () => {
    if (missing.size > 0) timer ??= setTimeout(retry, backoffMs(failures));
  };
  source.on('tileloaderror', ({tile}: TileSourceEvent) => {
    missing.add(tile);
    tile.addEventListener('change', tell);
    tell();
    startTimer();
  });
  map.on('moveend', tell);
}

/** An empty tile has no picture, or is out of the cache. The source has no event for it. */
const isSettled = (tile: Tile): boolean => [TileState.LOADED, TileState.EMPTY].includes(tile.getState());
