// Files as maps in Chromium.
import {truncateSync} from 'node:fs';
import type {Page} from 'playwright-core';
import {describe, expect, it} from 'vitest';
import {colourOf} from '../../src/map/channels';
import {archive, field, grid, logBytes, logSet, prescription, roundField, shapefile, task, taskData, withClaimedSize, zones,
  type LogPoint} from '../unit/archives';
import {expectNoBarrier} from './barriers';
import {useWorld, world} from './world';

useWorld();

const choose = (page: Page, ...paths: string[]) => page.locator('.send input[type=file]').setInputFiles(paths);

interface Look {
  /** Latitude, longitude and value below the pointer, as the page tells them. */
  latitude: number;
  longitude: number;
  value: number;
  colour: string;
}

/** The words and the colour of the map at a place. The place is a part of its width and height. */
async function lookAt(page: Page, across: number, down: number): Promise<Look> {
  const box = (await page.locator('.map').boundingBox())!;
  await page.mouse.move(box.x + across * box.width - 1, box.y + down * box.height);
  await page.mouse.move(box.x + across * box.width, box.y + down * box.height);
  const told = await page.locator('.readout').filter({hasText: '°'}).textContent();
  const [latitude = NaN, longitude = NaN, value = NaN] = (told!.match(/-?[\d.]+/g) ?? []).map(Number);
  const colour = await page.locator('.map canvas').evaluate((canvas, [x = 0, y = 0]) => {
    const {width, height} = canvas as HTMLCanvasElement;
    const pixel = (canvas as HTMLCanvasElement).getContext('2d')!.getImageData(x * width, y * height, 1, 1).data;
    return `#${[...pixel.slice(0, 3)].map((each) => each.toString(16).padStart(2, '0')).join('')}`;
  }, [across, down]);
  return {latitude, longitude, value, colour};
}

/** The map has drawn its features. */
async function drawn(page: Page): Promise<void> {
  await page.waitForFunction(() => {
    const canvas = document.querySelector<HTMLCanvasElement>('.map canvas');
    if (!canvas) return false;
    return canvas.getContext('2d')!.getImageData(0, 0, canvas.width, canvas.height).data.some((each) => each !== 0);
  });
}

describe('the map of a grid', () => {
  it('has each rate at its place in its colour, before it is sent and in the inbox', async () => {
    const page = await world.logIn('office');
    await choose(page, world.newFile('rates.zip', prescription()));
    await page.locator('.review .map').waitFor();
    await judge(page);
    await page.getByRole('button', {name: 'Send', exact: true}).click();
    await page.getByRole('link', {name: 'Map rates.zip'}).click();
    await page.locator('.map-page .map').waitFor();
    await judge(page);
    await page.getByText('Total amount:').waitFor();
    await page.reload(); // The address is a link to the map.
    await page.locator('.map-page .map').waitFor();
    await judge(page);
  });

  /** The grid has 3 × 2 cells from 51.5°, 5.25°; a cell has 0.0001° × 0.0002°. */
  async function judge(page: Page): Promise<void> {
    await drawn(page);
    const rates = [0, 0, 100, 200, 300, 300];
    const ranks = [0, 100, 200, 300];
    const seen = new Set<number>();
    for (const across of [0.2, 0.5, 0.8]) {
      for (const down of [0.4, 0.6]) {
        const {latitude, longitude, value, colour} = await lookAt(page, across, down);
        const cell = 3 * Math.floor((latitude - 51.5) / 0.0001) + Math.floor((longitude - 5.25) / 0.0002);
        seen.add(cell);
        expect({cell, value}).toEqual({cell, value: rates[cell]});
        expect({cell, colour}).toEqual({cell, colour: colourOf(ranks.indexOf(value), ranks.length)});
      }
    }
    expect([...seen].sort()).toEqual([0, 1, 2, 3, 4, 5]);
    await judgeCorners(page);
  }

  /** The canvas has colour a little inside of each corner of the grid, and none a little outside. */
  async function judgeCorners(page: Page): Promise<void> {
    const [low, high] = [await lookAt(page, 0.4, 0.6), await lookAt(page, 0.6, 0.4)];
    const acrossOf = (longitude: number) => 0.4 + (0.2 * (longitude - low.longitude)) / (high.longitude - low.longitude);
    const downOf = (latitude: number) => 0.6 - (0.2 * (latitude - low.latitude)) / (high.latitude - low.latitude);
    for (const [longitude, east] of [[5.25, -1], [5.2506, 1]] as const) {
      for (const [latitude, north] of [[51.5, -1], [51.5002, 1]] as const) {
        const at = (x: number, y: number) => lookAt(page, acrossOf(longitude + east * x * 1e-5), downOf(latitude + north * y * 5e-6));
        expect((await at(-1, -1)).colour).not.toBe('#000000');
        expect((await at(1, -1)).colour).toBe('#000000');
        expect((await at(-1, 1)).colour).toBe('#000000');
      }
    }
  }

  it('is drawn with the boundary of its field', async () => {
    const page = await world.logIn('office');
    await choose(page, world.newFile('hill wheat.zip', roundField()));
    await page.getByText('Field boundary Hill').waitFor();
    await drawn(page);
    expect(await page.locator('.review [role=alert]').count()).toBe(0);
    await lookAt(page, 0.6, 0.4);
  });

  it('far from its field warns', async () => {
    const page = await world.logIn('office');
    await choose(page, world.newFile('far.zip', archive({
      'TASKDATA.XML': taskData(task(zones + grid(1, 1, 1)) + field(55.5, 37.6)), 'GRD00001.BIN': new Uint8Array([7])})));
    await page.getByText('North field and the field are 2,').waitFor();
  });

  it('has no barrier, by day, by night and on a phone', async () => {
    const path = world.newFile('barriers.zip', prescription());
    await world.command('put', path, 'To Console');
    const page = await world.logIn('office', {viewport: {width: 360, height: 740}});
    await page.getByRole('link', {name: 'Map barriers.zip'}).first().click();
    await page.locator('.map-page .map canvas').waitFor();
    await expectNoBarrier(page);
    await page.getByRole('link', {name: 'Back to the inbox'}).click();
    await choose(page, path);
    await page.locator('.review .map canvas').waitFor();
    await expectNoBarrier(page);
  });
});

describe('the map of', () => {
  const square = (west: number) => `<PLN A="2"><LSG A="1">${[[0, 0], [0, 1], [1, 1], [1, 0]]
    .map(([north = 0, east = 0]) => `<PNT A="2" C="${51 + north * 0.001}" D="${west + east * 0.001}"/>`).join('')}</LSG></PLN>`;
  /** Rectangles in rows of 500. The western half has the rate 100, the eastern half 200. */
  const rectangles = (count: number) => {
    const all = [...Array(count).keys()].map((index) => [index % 500, Math.floor(index / 500)] as const);
    return shapefile(all.map(([x, y]) => [5 + x * 4e-6, 51 + y * 2e-5, 5 + (x + 1) * 4e-6, 51 + (y + 1) * 2e-5]),
      all.map(([x]) => (x < 250 ? 100 : 200)));
  };
  const alongParallel = [...Array(41).keys()].map((index): LogPoint => [51, 5 + index * 5e-5, index < 20 ? 10_000 : 20_000]);
  const ranks = [colourOf(1, 3), colourOf(2, 3)] as const;
  const guidance = '#0b57d0';

  /** Where shapes meet, the canvas mixes and rounds. */
  const isNear = (a: string, b: string) => [1, 3, 5].every((at) =>
    Math.abs(parseInt(a.slice(at, at + 2), 16) - parseInt(b.slice(at, at + 2), 16)) <= 4);

  /** Each map goes from 5° to 5.002° and has its middle in the middle. */
  const cases: [string, () => Uint8Array, readonly [string, string]][] = [
    ['zones', () => archive({'TASKDATA.XML': taskData(task(`<TZN A="1">${square(5)}<PDV A="0006" B="10000"/></TZN>
      <TZN A="2">${square(5.001)}<PDV A="0006" B="20000"/></TZN>`))}), ranks],
    ['a track', () => archive(logSet(logBytes(alongParallel))), ranks],
    ['a small shapefile', () => rectangles(1000), ranks],
    ['a large shapefile', () => rectangles(10_000), ranks],
    ['guidance lines', () => archive({'TASKDATA.XML': taskData(`<PFD A="PFD1" C="Home" D="1"><GGP A="GGP1"><GPN A="GPN1" B="AB" C="1">
      <LSG A="5"><PNT A="9" C="51" D="5"/><PNT A="9" C="51" D="5.002"/></LSG></GPN></GGP></PFD>`)}), [guidance, guidance]],
  ];

  it.each(cases)('%s has its colours at their places', async (name, bytes, [west, east]) => {
    const page = await world.logIn('office');
    await choose(page, world.newFile(`${name}.zip`, bytes()));
    await page.locator('.review .map').waitFor();
    await drawn(page);
    for (const across of [0.2, 0.45, 0.55, 0.8]) {
      const {longitude, colour} = await lookAt(page, across, 0.5);
      const right = longitude < 5.001 ? west : east;
      expect({across, colour: isNear(colour, right) ? right : colour}).toEqual({across, colour: right});
    }
    expect((await lookAt(page, 0.5, 0.01)).colour).toBe('#000000');
    expect((await lookAt(page, 0.01, 0.5)).colour).toBe('#000000');
  });
});

describe('a shapefile', () => {
  it('has the unit that the user names', async () => {
    const page = await world.logIn('office');
    await choose(page, world.newFile('shapes.zip', shapefile([[5, 51, 5.001, 51.001], [5.001, 51, 5.002, 51.001]], [100, 200])));
    await page.getByText('does not tell its projection').waitFor();
    expect(await page.getByText('Total amount:').count()).toBe(0);
    await page.getByLabel('Unit of the rate').selectOption('l/ha');
    await page.getByText(/Total amount: 233\.\d l/).waitFor();
  });
});

describe('before sending', () => {
  it('the page asks about a prescription among the curves', async () => {
    const page = await world.logIn('office');
    await world.openInbox(page, 'Curves');
    await choose(page, world.newFile('lost.zip', prescription()));
    await page.getByText('lost.zip is a prescription map.').waitFor();
    await page.getByRole('button', {name: 'Do not send'}).click();
    await page.locator('.review').waitFor({state: 'detached'});
    expect(await page.locator('.sending').count()).toBe(0);
  });

  const dropped = (page: Page) => page.evaluateHandle((bytes) => {
    const data = new DataTransfer();
    data.items.add(new File([new Uint8Array(bytes)], 'dropped.zip'));
    return data;
  }, [...prescription()]);

  it('files can be dropped on the name of an operator, for the shown kind of inbox', async () => {
    const page = await world.logIn('office');
    for (const project of ['Curves', 'Prescriptions']) {
      await world.openInbox(page, project);
      const name = page.locator('.inboxes summary');
      await name.dispatchEvent('dragover', {dataTransfer: await dropped(page)});
      await page.locator('.inboxes summary.over').waitFor();
      await name.dispatchEvent('drop', {dataTransfer: await dropped(page)});
      await page.getByRole('heading', {name: `Send to olga · ${project}`}).waitFor();
      await page.getByRole('button', {name: 'Do not send'}).click();
      await page.locator('.review').waitFor({state: 'detached'});
    }
  });

  it('files can be dropped on the name of an inbox', async () => {
    const page = await world.logIn('office');
    const transfer = await dropped(page);
    await page.locator('.inboxes').getByRole('link', {name: /^Curves/}).dispatchEvent('drop', {dataTransfer: transfer});
    await page.getByText('dropped.zip is a prescription map.').waitFor();
    await page.getByRole('heading', {name: 'Send to olga · Curves'}).waitFor();
  });

  it('the page asks about an archive without task data and about a file that is no archive', async () => {
    const page = await world.logIn('office');
    await choose(page, world.newFile('letters.zip', archive({'letter.txt': new Uint8Array(3)})), world.newFile('plain.txt', new Uint8Array(3)));
    await page.getByText('letters.zip has no readable task data.').waitFor();
    await page.getByText('plain.txt is not a sound archive.').waitFor();
    await page.getByText('letter.txt', {exact: true}).waitFor();
    await page.getByRole('button', {name: 'Send all the same'}).click();
    await page.getByText('Sent (2)').waitFor();
  });
});

describe('a part of the page', () => {
  it('that a new version has replaced is told, with a way to go on', async () => {
    const page = await world.logIn('office');
    await page.route('**/assets/MapPanel-*', (route) => route.fulfill({status: 404}));
    await choose(page, world.newFile('renewed.zip', prescription()));
    await page.getByText('The page on the service is new.').waitFor();
    await page.unroute('**/assets/MapPanel-*');
    await page.getByRole('button', {name: 'Load again'}).click();
    await choose(page, world.newFile('renewed.zip', prescription()));
    await page.locator('.review .map canvas').waitFor();
    world.complaints.length = 0; // Chromium reports the missing part.
  });
});

describe('a hostile file', () => {
  const entities = new TextEncoder().encode('<!DOCTYPE x [<!ENTITY a "b">]><ISO11783_TaskData/>');
  const cases: [string, () => Uint8Array, string][] = [
    ['bomb.zip', () => withClaimedSize(archive({'TASKDATA.XML': taskData(''), 'a.bin': new Uint8Array(1000)}), 1000, 4e9),
      'The archive is too large when it is unpacked'],
    ['entities.zip', () => archive({'TASKDATA.XML': entities}), 'The task data declare entities.'],
    ['huge grid.zip', () => archive({'GRD00001.BIN': new Uint8Array(10),
      'TASKDATA.XML': taskData(task(zones + grid(2e9, 2e9, 1).replace('0.0001', '1e-12').replace('0.0002', '1e-12')))}),
    'The grid North field names more cells than its file has.'],
  ];

  it.each(cases)('%s is told, and the next file is drawn', async (name, bytes, text) => {
    const page = await world.logIn('office');
    await choose(page, world.newFile(name, bytes()), world.newFile('good.zip', prescription()));
    await page.getByText(text).waitFor();
    await page.getByRole('button', {name: /^good\.zip/}).click();
    await page.locator('.review .map canvas').waitFor();
  });

  it('of 500 MB is told at once', async () => {
    const path = world.newFile('large.zip', new Uint8Array([0x50, 0x4b]));
    truncateSync(path, 500_000_000);
    const page = await world.logIn('office');
    let workers = 0;
    page.on('worker', () => ++workers);
    await choose(page, path);
    await page.getByText('The file is larger than 67.1 MB').waitFor();
    expect(workers).toBe(0);
  });

  it('with HTML and formulas in its names is text', async () => {
    const page = await world.logIn('office');
    const names = ['<img src=x onerror=alert(1)>.zip', '=HYPERLINK("evil").zip'];
    const evil = field(51, 5).replace('Home', '&lt;script&gt;alert(1)&lt;/script&gt;');
    const paths = names.map((name) => world.newFile(name, archive({'TASKDATA.XML': taskData(evil)})));
    await choose(page, ...paths);
    await page.getByText('<script>alert(1)</script>').waitFor();
    await page.getByRole('button', {name: 'Send', exact: true}).click();
    for (const name of names) await page.getByRole('link', {name: `Map ${name}`}).waitFor();
    expect(await page.locator('main img, main script').count()).toBe(0);
  });
});

describe('a guessed link', () => {
  it('shows nothing of a file that is not there', async () => {
    const page = await world.logIn('office');
    await page.goto(`${world.origin}/#/map/999999`);
    await page.getByText('This file is not here.').waitFor();
  });
});
