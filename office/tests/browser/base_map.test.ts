// The base map below fields and consoles, from a file of the service and from another server.
import {readFileSync} from 'node:fs';
import {createServer} from 'node:https';
import type {AddressInfo} from 'node:net';
import {join} from 'node:path';
import type {Page} from 'playwright-core';
import {expect, it} from 'vitest';
import {colourOf} from '../../src/map/channels';
import {prescription} from '../unit/archives';
import {oneColour} from './pmtiles';
import {violations} from './barriers';
import {useWorld, world} from './world';

useWorld();

async function openMap(options = {}): Promise<Page> {
  const page = await world.logIn('office', options);
  await page.locator('.send input[type=file]').setInputFiles(world.newFile('rates.zip', prescription()));
  await page.locator('.review .map canvas').first().waitFor();
  return page;
}

/** Waits until the canvas has both colours: the tile beside the grid, and the highest rate of the grid. */
const hasColours = (page: Page, ...wanted: string[]) => page.waitForFunction((colours) => {
  const canvas = document.querySelector<HTMLCanvasElement>('.map canvas');
  if (!canvas) return false;
  const {data} = canvas.getContext('2d')!.getImageData(0, 0, canvas.width, canvas.height);
  const found = new Set<string>();
  for (let at = 0; at < data.length; at += 4) {
    found.add(`#${[0, 1, 2].map((each) => (data[at + each] as number).toString(16).padStart(2, '0')).join('')}`);
  }
  return colours.every((each) => found.has(each));
}, wanted);

it('without a base map the page loads no part for tiles', async () => {
  const page = await openMap();
  await hasColours(page, colourOf(3, 4));
  expect(await page.evaluate(() => performance.getEntriesByType('resource').some(({name}) => name.includes('base_map-')))).toBe(false);
});

it('a file of the service is drawn below a prescription, with its attribution', async () => {
  const path = world.newFile('farm.pmtiles', oneColour(0x12, 0x98, 0xba));
  await world.command('serve', '--map', path, '--map-attribution', '© <b>Farm</b>');
  const page = await openMap();
  await hasColours(page, '#1298ba', colourOf(3, 4));
  await page.getByText('© <b>Farm</b>').waitFor();
  const phone = await openMap({viewport: {width: 360, height: 740}});
  await hasColours(phone, '#1298ba');
  expect(await violations(phone)).toEqual([]);
});

it('parts that cannot be loaded are loaded later, and the map says so', async () => {
  const path = world.newFile('farm.pmtiles', oneColour(0x12, 0x98, 0xba));
  await world.command('serve', '--map', path);
  const page = await world.logIn('office');
  const missing = page.getByText('Parts of the base map are missing.');
  for (const part of ['**/base-map', '**/base-map/file']) {
    await page.route(part, (route) => route.abort());
    await page.locator('.send input[type=file]').setInputFiles(world.newFile('rates.zip', prescription()));
    await missing.waitFor();
    await hasColours(page, colourOf(3, 4));
    await page.unroute(part);
    await hasColours(page, '#1298ba', colourOf(3, 4));
    await missing.waitFor({state: 'hidden'});
    await page.keyboard.press('Escape');
    await page.locator('.review').waitFor({state: 'detached'});
  }
  world.complaints.length = 0; // Chromium reports the aborted requests.
});

it('a base map that the service refuses is not missing', async () => {
  const page = await world.logIn('office');
  const missing = page.getByText('Parts of the base map are missing.');
  await page.route('**/base-map', (route) => route.abort());
  await page.locator('.send input[type=file]').setInputFiles(world.newFile('rates.zip', prescription()));
  await missing.waitFor();
  await page.unroute('**/base-map');
  await page.route('**/base-map', (route) => route.fulfill({status: 403, contentType: 'application/problem+json',
    body: JSON.stringify({type: 'urn:kelvo:problem:forbidden', title: 'Forbidden', status: 403, detail: ''})}));
  await missing.waitFor({state: 'hidden'});
  world.complaints.length = 0; // Chromium reports the refused requests.
});

it('tiles of another server are asked for, as the policy allows, until the server has sent them', async () => {
  const tls = join(world.folder, 'farm/service/tls');
  const asked = new Set<string>();
  let failures = 3;
  const other = createServer({key: readFileSync(join(tls, 'server.key')), cert: readFileSync(join(tls, 'server.pem'))},
    (request, response) => {
      asked.add(request.url!);
      if (failures-- > 0) {
        response.writeHead(503).end(); // A browser would draw an image of an answer 503.
        return;
      }
      response.setHeader('Content-Type', 'image/svg+xml');
      response.end('<svg xmlns="http://www.w3.org/2000/svg" width="256" height="256"><rect width="256" height="256" fill="#1298ba"/></svg>');
    });
  await new Promise<void>((resolve) => other.listen(0, '127.0.0.1', resolve));
  await world.command('serve', '--map-tiles', `https://localhost:${(other.address() as AddressInfo).port}/{z}/{x}/{y}.svg`,
    '--map-max-zoom', '12');
  const page = await openMap();
  const missing = page.getByText('Parts of the base map are missing.');
  await missing.waitFor();
  await missing.waitFor({state: 'hidden'});
  expect(failures).toBeLessThan(0); // The server has sent a tile.
  expect([...asked].filter((each) => !/^\/12\/\d+\/\d+\.svg$/.test(each))).toEqual([]); // The view is closer than zoom 12.
  await page.close();
  world.complaints.length = 0; // Chromium reports the answers 503.
  other.closeAllConnections();
  other.close();
});
