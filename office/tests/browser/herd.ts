// A fleet of 200 consoles that the service does not have: the list of consoles is replaced, and the events come from a
// channel, as from the tab that reads the stream.
import type {Page} from 'playwright-core';
import {world} from './world';

const herdSize = 200;

/** Replaces the list `name` of an answer of the service. */
export async function replace(page: Page, path: string, change: (document: any) => void): Promise<void> {
  const document = await page.evaluate(async (address) => (await fetch(address)).json(), `/kelvo-api/v1${path}`);
  change(document);
  await page.route((address) => address.pathname === `/kelvo-api/v1${path}`, (route) => route.fulfill({json: document}));
}

/** Posts events on the channel of the tabs. Ends when the page has taken all of them. */
type Post = (events: readonly {name: string; data: unknown}[]) => Promise<void>;

/** The events of one second, in which each console moves. */
type Moves = (step: number) => {name: string; data: unknown}[];

/** The globals of a page with a herd. */
export type Herd = typeof globalThis & {post: Post; moves: Moves};

export async function canPost(page: Page): Promise<void> {
  await page.evaluate(() => {
    const channel = `kelvo-events ${localStorage.getItem('kelvo-session')}`;
    const sender = new BroadcastChannel(channel);
    const probe = new BroadcastChannel(channel); // hears each message after the page
    const post: Post = (events) => new Promise((resolve) => {
      let heard = 0;
      probe.onmessage = () => {
        if (++heard === events.length) resolve();
      };
      for (const {name, data} of events) sender.postMessage({kind: 'event', event: {id: '', name, data}});
    });
    Object.assign(globalThis, {post});
  });
}

/** Opens the fleet with 200 consoles, whose moves can be posted. */
export async function openHerd(page: Page): Promise<void> {
  const place = (index: number) => ({latitude: 51 + (index % 20) * 0.002, longitude: 5 + Math.floor(index / 20) * 0.004});
  await replace(page, '/consoles', (document) => {
    document.consoles = [...Array(herdSize).keys()].map((index) => ({
      id: 1000 + index, console_string: `Console ${index}`, hardware_address: '', operator: {id: 3, name: 'olga'}, environment: null,
      devices: [], last_contact_at: new Date().toISOString(), position: {...place(index), time_s: Math.floor(Date.now() / 1000) - 60, received_at: new Date().toISOString()},
    }));
  });
  await page.reload();
  await page.goto(`${world.origin}/#/fleet`);
  await page.getByRole('link', {name: `Console ${herdSize - 1}`}).waitFor();
  await page.locator('.map canvas').waitFor();
  await canPost(page);
  await page.evaluate((size) => {
    const startS = Math.floor(Date.now() / 1000);
    const moves: Moves = (step) => [...Array(size).keys()].map((index) => ({name: 'console-moved', data: {
      console: 1000 + index, user: {id: 3, name: 'olga'}, time_s: startS + step,
      latitude: 51 + (index % 20) * 0.002 + (step % 100) * 1e-4, longitude: 5 + Math.floor(index / 20) * 0.004,
      received_at: new Date().toISOString(),
    }}));
    Object.assign(globalThis, {moves});
  }, herdSize);
}
