// The words for missing parts of the base map.
import Tile from 'ol/Tile';
import TileState from 'ol/TileState';
import View from 'ol/View';
import {createXYZ} from 'ol/tilegrid';
import type OlMap from 'ol/Map';
import {afterEach, beforeEach, describe, expect, it, vi} from 'vitest';
import type {BaseLayer} from '../../src/map/base_map';
import {keepLoading} from '../../src/map/missing_tiles';

class TestTile extends Tile {
  override load(): void {
    this.state = TileState.LOADING;
    this.changed();
  }
}

describe('a tile that could not be loaded', () => {
  let tell: ReturnType<typeof vi.fn<(isMissing: boolean) => void>>;
  let tile: TestTile;

  beforeEach(() => {
    vi.useFakeTimers();
    const grid = createXYZ();
    const view = new View({center: [0, 0], resolution: grid.getResolution(0)});
    view.setViewportSize([256, 256]);
    const handlers = new Map<string, (event: {tile: Tile}) => void>();
    const on = (name: string, handler: () => void) => handlers.set(name, handler);
    tell = vi.fn();
    keepLoading({getView: () => view, getTarget: () => 'map', on, render: () => undefined} as unknown as OlMap,
      {getSource: () => ({getTileGridForProjection: () => grid, on})} as unknown as BaseLayer, tell);
    tile = new TestTile([0, 0, 0], TileState.IDLE);
    tile.load();
    tile.setState(TileState.ERROR);
    handlers.get('tileloaderror')!({tile});
  });
  afterEach(() => {
    vi.useRealTimers();
  });

  it('is missing until it is there', () => {
    expect(tell).toHaveBeenLastCalledWith(true);
    vi.advanceTimersToNextTimer();
    expect(tile.getState()).toBe(TileState.LOADING);
    expect(tell).toHaveBeenLastCalledWith(true);
    tile.setState(TileState.LOADED);
    expect(tell).toHaveBeenLastCalledWith(false);
    vi.advanceTimersToNextTimer();
    expect(vi.getTimerCount()).toBe(0);
  });

  it('is not missing any more if the base map has no such tile, or if the cache drops it', () => {
    vi.advanceTimersToNextTimer();
    tile.setState(TileState.EMPTY);
    expect(tell).toHaveBeenLastCalledWith(false);
  });
});
