// The base map: tiles of a PMTiles file of the service, or of another server.
import type Tile from 'ol/Tile';
import type ImageTile from 'ol/ImageTile';
import TileLayer from 'ol/layer/Tile';
import TileState from 'ol/TileState';
import XYZ from 'ol/source/XYZ';
import {PMTiles} from 'pmtiles';
import {apiPath, type BaseMap} from '../api/client';

export type BaseLayer = TileLayer<XYZ>;

export function baseLayer({tiles, min_zoom: minZoom, max_zoom: maxZoom}: BaseMap): BaseLayer {
  const url = tiles ?? '{z}/{x}/{y}';
  return new TileLayer({source: new XYZ({url, minZoom, maxZoom, ...(!tiles && {tileLoadFunction: loadTile})})});
}

const openFile = () => new PMTiles(`${location.origin}${apiPath}/base-map/file`);
let file = openFile();

async function loadTile(tile: Tile, address: string): Promise<void> {
  const [z = 0, x = 0, y = 0] = address.split('/').map(Number);
  try {
    const found = await file.getZxy(z, x, y);
    if (!found) {
      tile.setState(TileState.EMPTY);
      return;
    }
    const image = (tile as ImageTile).getImage() as HTMLImageElement;
    image.src = URL.createObjectURL(new Blob([found.data]));
    image.addEventListener('load', () => URL.revokeObjectURL(image.src), {once: true});
  } catch {
    file = openFile(); // It remembers the parts that failed, and would fail again.
    tile.setState(TileState.ERROR);
  }
}
