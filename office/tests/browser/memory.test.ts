// The memory of the page after many events.
import type {Page} from 'playwright-core';
import {describe, expect, it} from 'vitest';
import {canPost, openHerd, type Herd} from './herd';
import {useWorld, world} from './world';

useWorld();

/** Bytes of the heap after a garbage collection. */
async function heap(page: Page): Promise<number> {
  const session = await page.context().newCDPSession(page);
  await session.send('HeapProfiler.collectGarbage');
  const {usedSize} = await session.send('Runtime.getHeapUsage');
  await session.detach();
  return usedSize;
}

/** Room for caches of the browser and the map: 30 bytes for each event. A kept object needs more. */
const mostGrowth = (events: number) => 30 * events;

describe('the memory of the page', () => {
  it('does not grow while 200 consoles move each second of ten minutes', async () => {
    const page = await world.logIn('office');
    await openHerd(page);
    const minute = (number: number) => page.evaluate(async (first) => {
      const {moves, post} = globalThis as Herd;
      for (let second = 1; second <= 60; ++second) await post(moves(first + second));
    }, number * 60);
    for (const number of [0, 1]) await minute(number);
    await page.getByText('km/h').first().waitFor(); // The moves arrive.
    const before = await heap(page);
    for (let number = 2; number < 10; ++number) await minute(number);
    const growth = await heap(page) - before;
    console.log(`figure: 96,000 moves: growth of the heap: ${(growth / 1000).toFixed(0)} kB`);
    expect(growth).toBeLessThan(mostGrowth(96_000));
  });

  it('does not grow while 10,000 files come and go', async () => {
    const page = await world.logIn('office');
    await world.openInbox(page, 'Prescriptions');
    const inbox = Number(new URL(page.url()).hash.split('/').at(-1));
    await canPost(page);
    const comeAndGo = (first: number, count: number) => page.evaluate(async ([from, howMany, container]) => {
      const {post} = globalThis as Herd;
      for (let id = from; id < from + howMany; id += 100) {
        await post([...Array(200).keys()].map((index) => {
          const entry = {id: id + (index >> 1), kind: 'file', name: `field ${id + (index >> 1)}.zip`, container, size: 1000,
            sha256: '0'.repeat(64), created_at: '2026-05-01T06:12:30Z', etag: '""'};
          return {name: index % 2 ? 'file-removed' : 'file-added', data: {entry}};
        }));
      }
    }, [first, count, inbox] as const);
    await comeAndGo(100_000, 1000);
    const before = await heap(page);
    await comeAndGo(200_000, 10_000);
    const growth = await heap(page) - before;
    console.log(`figure: 10,000 files: growth of the heap: ${(growth / 1000).toFixed(0)} kB`);
    expect(growth).toBeLessThan(mostGrowth(20_000));
  });
});
