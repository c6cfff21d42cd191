// How fast the page is. Each test prints its figures; with KELVO_LIMITS=1, for a machine that does nothing else, it fails
// if a figure is beyond its limit.
import type {Page} from 'playwright-core';
import {describe, expect, it} from 'vitest';
import {archive, grid, logBytes, logSet, shapefile, task, taskData, type LogPoint} from '../unit/archives';
import {openHerd, replace, type Herd} from './herd';
import {useWorld, world} from './world';

useWorld();

const hasLimits = process.env['KELVO_LIMITS'] === '1';

function figure(name: string, value: number, unit: string, isGood: boolean): void {
  console.log(`figure: ${name}: ${value.toFixed(1)} ${unit}`);
  if (hasLimits) expect({name, value, isGood}).toEqual({name, value, isGood: true});
}

/** Notes each task of the main thread that is longer than 50 ms. */
const watchTasks = (page: Page) => page.addInitScript(() => {
  const tasks: number[] = [];
  Object.assign(globalThis, {longTasks: tasks});
  new PerformanceObserver((list) => {
    for (const {duration} of list.getEntries()) tasks.push(duration);
  }).observe({type: 'longtask', buffered: true});
});

const longestTask = (page: Page) => page.evaluate(() =>
  Math.max(0, ...(globalThis as unknown as {longTasks: number[]}).longTasks.splice(0)));

async function figureOfTasks(page: Page, what: string): Promise<void> {
  const longest = await longestTask(page);
  figure(`${what}: longest task above 50 ms`, longest, 'ms', longest <= 100);
}

describe('an inbox with 10,000 files', () => {
  it('is usable at once, and all its files can be found', async () => {
    const page = await world.logIn('office');
    await watchTasks(page);
    await replace(page, '/account', ({projects}) => {
      const [inbox] = projects[0].resources;
      inbox.entries = [...Array(10_000).keys()].map((index) => ({
        id: 100_000 + index, kind: 'file', name: `field ${index}.zip`, container: inbox.id, size: 1000 + index,
        sha256: index.toString(16).padStart(64, '0'), created_at: '2026-05-01T06:12:30Z', etag: `"${'0'.repeat(64)}"`,
      }));
    });
    await page.reload();
    const first = page.locator('tr', {hasText: 'field 9999.zip'});
    await first.waitFor();
    const usableMs = await page.evaluate(() => performance.now());
    figure('10,000 files: from the reload to the list', usableMs, 'ms', usableMs <= 1000);
    await figureOfTasks(page, '10,000 files: load');
    expect(await page.locator('tbody tr').count()).toBeLessThan(120);
    await page.keyboard.press('/');
    await page.keyboard.type('field 1234.');
    await page.locator('tr', {hasText: 'field 1234.zip'}).waitFor();
    await first.waitFor({state: 'detached'});
    await page.getByRole('searchbox').fill('');
    await first.waitFor();
    await page.locator('.scroll').evaluate((box) => box.scrollTo(0, box.scrollHeight));
    await page.locator('tr', {hasText: 'field 0.zip'}).waitFor();
    await figureOfTasks(page, '10,000 files: search and scroll');
  });
});

describe('200 consoles that move each second', () => {
  it('leave the map smooth while it is dragged', async () => {
    const page = await world.logIn('office');
    await watchTasks(page);
    await openHerd(page);
    await page.evaluate(() => {
      const {moves, post} = globalThis as Herd;
      let step = 0;
      setInterval(() => void post(moves(++step)), 1000);
    });
    await page.getByText('km/h').first().waitFor(); // The moves arrive.
    await longestTask(page);
    const rates = [await dragRate(page), await dragRate(page), await dragRate(page)].sort((a, b) => a - b);
    figure('200 consoles: frames while dragging, median of three', rates[1]!, 'a second', rates[1]! >= 30);
    await figureOfTasks(page, '200 consoles: drag');
  });

  /** Frames a second while the mouse drags the map for two seconds. */
  async function dragRate(page: Page): Promise<number> {
    const box = (await page.locator('.map').boundingBox())!;
    const frames = page.evaluate(() => new Promise<number>((resolve) => {
      const start = performance.now();
      let count = 0;
      const next = () => {
        ++count;
        const elapsed = performance.now() - start;
        if (elapsed < 2000) requestAnimationFrame(next);
        else resolve((count / elapsed) * 1000);
      };
      requestAnimationFrame(next);
    }));
    await page.mouse.move(box.x + 400, box.y + 300);
    await page.mouse.down();
    for (let step = 0; step < 60; ++step) {
      await page.mouse.move(box.x + 400 + 100 * Math.sin(step / 5), box.y + 300 + 60 * Math.cos(step / 7));
    }
    await page.mouse.up();
    return frames;
  }
});

describe('an event', () => {
  it('is on the screen soon after the acknowledgement of the upload', async () => {
    const page = await world.logIn('office');
    const inbox = Number((await page.locator('.inboxes a').first().getAttribute('href'))!.split('/').at(-1));
    await world.openInbox(page, 'Prescriptions');
    const delays = await page.evaluate(async (target) => {
      const send = async (name: string) => {
        const seen = new Promise<number>((resolve) => {
          const observer = new MutationObserver(() => {
            if (document.querySelector(`tbody a[title="${name}"]`)) {
              observer.disconnect();
              resolve(performance.now());
            }
          });
          observer.observe(document.body, {childList: true, subtree: true, characterData: true, attributes: true});
        });
        const answer = await fetch('/kelvo-api/v1/uploads', {method: 'POST', body: name, headers: {
          'Tus-Resumable': '1.0.0', 'Upload-Length': String(name.length), 'Content-Type': 'application/offset+octet-stream',
          'Upload-Metadata': `name ${btoa(name)},targets ${btoa(String(target))}`,
        }});
        const acknowledged = performance.now();
        if (answer.status !== 201) throw new Error(`status ${answer.status}`);
        return (await seen) - acknowledged;
      };
      const all: number[] = [];
      for (let index = 0; index < 20; ++index) all.push(await send(`event ${index}.zip`));
      return all.sort((a, b) => a - b);
    }, inbox);
    expect(delays.length).toBe(20);
    figure('event to screen after the acknowledgement, 95th percentile', delays[18]!, 'ms', delays[18]! <= 100);
  });
});

/** Waits for the frames in which the map draws. Reading the canvas would be a long task itself. */
const frames = (page: Page, count: number) => page.evaluate((left) => new Promise<void>((resolve) => {
  const next = (rest: number) => (rest === 0 ? resolve() : requestAnimationFrame(() => next(rest - 1)));
  next(left);
}), count);

function largeGrid(): Uint8Array {
  const size = 1400;
  const cells = Int32Array.from({length: size * size}, (_, cell) => (cell % 977) * 100);
  return archive({
    'TASKDATA.XML': taskData(task(`<TZN A="1"><PDV A="0006" B="0"/></TZN>${grid(size, size, 2, 'GRD00001', 'J="1"')}`)),
    'GRD00001.BIN': new Uint8Array(cells.buffer),
  });
}

function manySquares(count: number): Uint8Array {
  const all = [...Array(count).keys()];
  return shapefile(all.map((index) => {
    const [west, south] = [5 + (index % 300) * 1e-4, 51 + Math.floor(index / 300) * 1e-4];
    return [west, south, west + 1e-4, south + 1e-4];
  }), all.map((index) => index % 50));
}

const longTrack = (count: number) => archive(logSet(logBytes([...Array(count).keys()].map((index): LogPoint =>
  [51 + Math.floor(index / 500) * 1e-4, 5 + (index % 500) * 1e-5, 10_000 + (index * 7919) % 9000]))));

const manyLines = (count: number) => archive({'TASKDATA.XML': taskData(`<PFD A="PFD1" C="Home" D="1"><GGP A="GGP1">${
  [...Array(count).keys()].map((index) => `<GPN A="GPN${index}" B="l${index}" C="1"><LSG A="5"><PNT A="9" C="51" D="5"/>
    <PNT A="9" C="51.01" D="5.0${index % 10}"/></LSG></GPN>`).join('')}</GGP></PFD>`)});

describe('a large map', () => {
  it.each([
    ['grid of 2 million cells', largeGrid],
    ['shapefile of 90,000 squares', () => manySquares(90_000)],
    ['track of 30,000 records', () => longTrack(30_000)],
    ['2,000 guidance lines', () => manyLines(2000)],
  ])('is read and drawn while the page stays responsive: %s', async (what, content) => {
    const path = world.newFile('large map.zip', content());
    const page = await world.logIn('office');
    await watchTasks(page);
    await page.reload();
    await page.locator('.link.live').waitFor();
    await longestTask(page);
    await page.locator('.send input[type=file]').setInputFiles(path);
    await page.locator('.review .map canvas').waitFor();
    await frames(page, 20);
    await figureOfTasks(page, `${what}: read and draw`);
  });
});
