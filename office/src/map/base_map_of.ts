// Adds the base map to a map, if the service has one. Only then the page loads the parts for tiles.
import Control from 'ol/control/Control';
import type OlMap from 'ol/Map';
import {backoffMs} from '../api/backoff';
import {client, documentOf, ServiceError, type BaseMap} from '../api/client';

let asked: Promise<BaseMap> | undefined;

/** `missingText` is on the map while parts of the base map cannot be loaded. */
export async function addBaseMap(map: OlMap, missingText: string): Promise<void> {
  const missing = addText(map, 'missing', missingText);
  missing.setAttribute('role', 'status');
  const tell = (isMissing: boolean) => {
    missing.hidden = !isMissing;
  };
  tell(false);
  const found = await describe(map, tell);
  if (!found?.file && !found?.tiles) return;
  const parts = await Promise.all([import('./base_map'), import('./missing_tiles')]).catch(() => undefined);
  if (!parts) return;
  const [{baseLayer}, {keepLoading}] = parts;
  const layer = baseLayer(found);
  keepLoading(map, layer, tell);
  map.getLayers().insertAt(0, layer);
  if (found.attribution) addText(map, 'attribution', found.attribution);
}

/** Asks until the service answers. Undefined if the service refuses, or the map is gone. */
async function describe(map: OlMap, onMissing: (isMissing: boolean) => void): Promise<BaseMap | undefined> {
  for (let failures = 0; map.getTarget(); ++failures) {
    try {
      asked ??= documentOf(client.GET('/base-map'));
      const found = await asked;
      onMissing(false);
      return found;
    } catch (error) {
      asked = undefined;
      const isRefused = error instanceof ServiceError && (error.problem?.status ?? 500) < 500;
      onMissing(!isRefused);
      if (isRefused) return undefined;
      await new Promise((resolve) => setTimeout(resolve, backoffMs(failures)));
    }
  }
  return undefined;
}

function addText(map: OlMap, className: string, textContent: string): HTMLElement {
  const element = Object.assign(document.createElement('p'), {className, textContent});
  map.addControl(new Control({element}));
  return element;
}
