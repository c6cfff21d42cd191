// Before files are sent: the marked inboxes and the warnings.
import type {Page} from 'playwright-core';
import {beforeAll, describe, expect, it} from 'vitest';
import {archive} from '../unit/archives';
import {useWorld, world} from './world';

useWorld();

const long = 'ein sehr langer Name ohne Ende und ohne Zweck, für den Rand'.replaceAll(' ', '');
const choose = (page: Page, ...paths: string[]) => page.locator('.send input[type=file]').setInputFiles(paths);
const noTaskData = (name: string) => world.newFile(name, archive({'letter.txt': new Uint8Array(3)}));

beforeAll(async () => {
  const page = await world.logIn('office');
  await page.goto(`${world.origin}/#/people`);
  await page.getByRole('button', {name: 'New operator'}).click();
  await page.locator('.ask input[name=name]').fill(long);
  await page.locator('.ask input[name=password]').fill('eight or more');
  await page.locator('.ask .main').click();
  await page.locator('.person > h2').getByText(long).waitFor();
});

describe('the mark of a further inbox', () => {
  it('stays while the review of the same inbox is open, and ends with another inbox or when the files are sent', async () => {
    const page = await world.logIn('office');
    const mark = page.getByRole('checkbox', {name: long});
    await world.openInbox(page, 'Curves');
    await mark.check();
    await choose(page, noTaskData('first.zip'));
    await page.getByRole('heading', {name: `Send to olga, ${long} · Curves`}).waitFor();
    await page.keyboard.press('Escape');
    await page.locator('dialog.review').waitFor({state: 'detached'});
    expect(await mark.isChecked()).toBe(true);
    await world.openInbox(page, 'Prescriptions');
    await world.openInbox(page, 'Curves');
    expect(await mark.isChecked()).toBe(false);
    await mark.check();
    await choose(page, noTaskData('second.zip'));
    await page.locator('.review .main').click();
    await page.locator('.sending.done').waitFor();
    expect(await mark.isChecked()).toBe(false);
  });

  it('with a long name fits the page', async () => {
    for (const width of [1280, 1024, 360]) {
      const page = await world.logIn('office', {viewport: {width, height: 800}});
      await page.getByRole('checkbox', {name: long}).waitFor();
      await world.picture(page, `also-${width}`);
      const box = (await page.locator('fieldset').boundingBox())!;
      expect(box.x + box.width).toBeLessThanOrEqual(width);
    }
  });
});

describe('many warnings', () => {
  it.each([[1280, 800], [1024, 700], [360, 640]])('leave the files and the buttons visible at %i × %i', async (width, height) => {
    const page = await world.logIn('office', {viewport: {width, height}});
    const names = [...Array(18).keys()].map((index) => noTaskData(`letters of the farm ${index}.zip`));
    await choose(page, ...names);
    await page.locator('.review .main:enabled').waitFor();
    expect(await page.locator('.review .notes li').count()).toBe(18);
    await world.picture(page, `warnings-${width}`);
    for (const target of ['.chosen', '.review .notes', '.review .main', '.review-map']) {
      const box = (await page.locator(target).boundingBox())!;
      expect(box.height).toBeGreaterThanOrEqual(32);
      expect(box.y + box.height).toBeLessThanOrEqual(height);
    }
    const {scroll, client} = await page.locator('.review').evaluate((box) => ({scroll: box.scrollHeight, client: box.clientHeight}));
    expect(scroll).toBeLessThanOrEqual(client);
  });
});

describe('a name from right to left', () => {
  it('does not move the size behind it', async () => {
    const page = await world.logIn('office');
    await choose(page, noTaskData('zip.\u05e9\u05d3\u05d4'));
    await page.locator('.review .main:enabled').waitFor();
    const [hebrew = 0, size = 0] = await page.locator('.chosen button').evaluate((button) => {
      const walker = document.createTreeWalker(button, NodeFilter.SHOW_TEXT);
      const places = new Map<string, number>();
      for (let node = walker.nextNode(); node; node = walker.nextNode()) {
        [...node.textContent ?? ''].forEach((letter, index) => {
          const range = document.createRange();
          range.setStart(node, index);
          range.setEnd(node, index + 1);
          if (!places.has(letter)) places.set(letter, range.getBoundingClientRect().left);
        });
      }
      return [places.get('\u05e9'), places.get('1')]; // 123 byte
    });
    expect(size).toBeGreaterThan(hebrew);
  });
});
