// The lists of files: the rows, the keyboard, the messages about names, and the files on their way.
import type {Page} from 'playwright-core';
import {describe, expect, it} from 'vitest';
import {slowUpload, useWorld, world} from './world';

useWorld();

const row = (page: Page, name: string) => page.locator('tbody tr', {hasText: name});
const button = (page: Page, name: string) => page.getByRole('button', {name, exact: true});
const put = (name: string, project = 'Curves', bytes = 9) => world.command<number[]>('put', world.newFile(name, new Uint8Array(bytes)), project);
const choose = (page: Page, ...paths: string[]) => page.locator('.send input[type=file]').setInputFiles(paths);
/** The element that has the focus when the button goes. */
const focusWithout = (page: Page, label: string) => page.evaluateHandle((gone) => ({
  focus: new Promise<string | null | undefined>((resolve) => {
    new MutationObserver((_changes, observer) => {
      if (document.querySelector(`[aria-label="${gone}"]`)) return;
      observer.disconnect();
      resolve(document.activeElement?.getAttribute('aria-label') ?? document.activeElement?.localName);
    }).observe(document.body, {childList: true, subtree: true});
  }),
}), label);
const twice = (name: string) => `olga now has more than one file named ${name}.`;

async function openCurves(options: Parameters<typeof world.logIn>[1] = {}): Promise<Page> {
  const page = await world.logIn('office', options);
  await world.openInbox(page, 2);
  return page;
}

describe('a name that comes back from the bin', () => {
  it('is told if another file has it', async () => {
    await put('again.zip');
    const page = await openCurves();
    await button(page, 'Delete again.zip').click();
    await row(page, 'again.zip').waitFor({state: 'detached'});
    await put('again.zip');
    await row(page, 'again.zip').waitFor();
    await button(page, 'Undo').click();
    await page.getByText(twice('again.zip')).waitFor();
    await row(page, 'again.zip').nth(1).waitFor();
    expect(await row(page, 'again.zip').count()).toBe(2);
  });

  it('is told if the bin restores two files of it', async () => {
    for (let count = 0; count < 2; ++count) await world.command('remove', (await put('both.zip'))[0]);
    const page = await world.logIn('office');
    await page.goto(`${world.origin}/#/bin`);
    await page.getByRole('searchbox').fill('both');
    await page.getByLabel('Mark all').check();
    await button(page, 'Restore 2').click();
    await page.getByText(twice('both.zip')).waitFor();
  });
});

describe('a reload', () => {
  it('lists the files that waited, and sends one that is chosen again', async () => {
    const names = ['one.zip', 'two.zip', 'three.zip'];
    const paths = names.map((name) => world.newFile(name, new Uint8Array(2_000_000)));
    const page = await openCurves();
    const endSlow = await slowUpload(page, 100_000);
    await choose(page, ...paths);
    await page.locator('.review .main').click();
    await page.waitForFunction(() => [...document.querySelectorAll('progress')].filter(({value}) => value > 0).length === 2);
    await page.reload();
    await endSlow();
    const left = page.locator('.sending.left');
    await left.nth(2).waitFor();
    expect(await left.filter({hasText: 'Not finished.'}).count()).toBe(2);
    const waiting = left.filter({hasText: 'three.zip'});
    await waiting.getByText('Not sent. Choose the file again to send it.').waitFor();
    await waiting.locator('input').setInputFiles(paths[2]!);
    await page.locator('.sending.done').getByText('three.zip').waitFor();
    await page.reload();
    await left.nth(1).waitFor();
    expect(await left.count()).toBe(2);
  });
});

describe('the keyboard', () => {
  it('goes on with the next file after a deletion, and takes the deletion back', async () => {
    for (const name of ['k1.zip', 'k2.zip', 'k3.zip']) await put(name);
    const page = await openCurves();
    await page.getByRole('searchbox').fill('k');
    await page.getByText('Files: 3').waitFor();
    for (const [name, next] of [['k2.zip', 'Delete k1.zip'], ['k1.zip', 'Delete k3.zip'], ['k3.zip', 'main']]) {
      await button(page, `Delete ${name}`).focus();
      const then = await focusWithout(page, `Delete ${name}`);
      await page.keyboard.press('Enter');
      expect(await then.evaluate(({focus}) => focus)).toBe(next);
    }
    await page.getByText('k3.zip is in the bin.').waitFor();
    await page.keyboard.press('u');
    await row(page, 'k3.zip').waitFor();
  });
});

describe('the keyboard among the files on their way', () => {
  it('keeps its place when a button changes or its line goes, and one button continues or removes all', async () => {
    const names = ['p1.zip', 'p2.zip', 'p3.zip'];
    const page = await openCurves();
    await page.route('**/uploads', (route) => route.fulfill({status: 403, body: ''}));
    await choose(page, ...names.map((name) => world.newFile(name, new Uint8Array(3))));
    await page.locator('.review .main').click();
    await page.locator('.sending.failed').nth(2).waitFor();
    const focused = () => page.evaluate(() => document.activeElement?.getAttribute('aria-label') ?? document.activeElement?.textContent);
    const line = page.locator('.sending', {hasText: 'p2.zip'});
    await page.unroute('**/uploads');
    await page.route('**/uploads', () => undefined); // The service does not answer.
    await line.getByRole('button', {name: 'Continue'}).focus();
    await page.keyboard.press('Enter');
    await line.getByRole('button', {name: 'Pause'}).waitFor();
    expect(await focused()).toBe('Pause');
    await page.keyboard.press('Enter');
    await line.getByText('Paused at 0 %').waitFor();
    expect(await focused()).toBe('Continue');
    for (const [name, next] of [['p2.zip', 'Remove p3.zip'], ['p3.zip', 'Remove p1.zip']] as const) {
      await button(page, `Remove ${name}`).focus();
      await page.keyboard.press('Enter');
      await page.locator('.sending', {hasText: name}).waitFor({state: 'detached'});
      expect(await focused()).toBe(next);
    }
    await page.keyboard.press('Enter');
    await page.locator('.sending').waitFor({state: 'detached'});
    expect(await page.evaluate(() => document.activeElement?.localName)).toBe('main');

    await page.unrouteAll();
    await page.route('**/uploads', (route) => route.fulfill({status: 403, body: ''}));
    await choose(page, ...names.map((name) => world.newFile(name, new Uint8Array(3))));
    await page.locator('.review .main').click();
    await button(page, 'Remove all files that failed (3)').waitFor();
    await page.unrouteAll();
    await button(page, 'Continue all (3)').click();
    await button(page, 'Remove all sent files from this list (3)').click();
    await page.locator('.sending').waitFor({state: 'detached'});
    await page.route('**/uploads', (route) => route.fulfill({status: 403, body: ''}));
    await choose(page, ...['p4.zip', 'p5.zip'].map((name) => world.newFile(name, new Uint8Array(3))));
    await page.locator('.review .main').click();
    await button(page, 'Remove all files that failed (2)').click();
    await page.locator('.sending').waitFor({state: 'detached'});
    await page.reload();
    await page.locator('.link.live').waitFor();
    expect(await page.locator('.sending').count()).toBe(0);
    world.complaints.length = 0; // Chromium reports the refusals.
  });
});

describe('the message of a deletion', () => {
  it('stays while "Undo" has the focus', async () => {
    await put('message.zip');
    const page = await openCurves();
    await page.clock.install();
    await button(page, 'Delete message.zip').click();
    const undo = button(page, 'Undo');
    await undo.focus();
    await page.clock.fastForward(60_000);
    expect(await undo.isVisible()).toBe(true);
    await page.getByRole('searchbox').focus();
    await page.clock.fastForward(60_000);
    await undo.waitFor({state: 'detached'});
  });
});

describe('the sent files', () => {
  it('are one line on a phone, and a failure stays a line', async () => {
    const page = await openCurves({viewport: {width: 360, height: 740}});
    await page.route('**/uploads', (route) => route.request().headers()['upload-metadata']?.includes(Buffer.from('bad.zip').toString('base64'))
      ? route.fulfill({status: 403, body: ''}) : route.continue());
    await choose(page, ...['s1.zip', 's2.zip', 's3.zip', 'bad.zip'].map((name) => world.newFile(name, new Uint8Array(3))));
    await page.locator('.review .main').click();
    await page.locator('.sending.failed').getByText('bad.zip').waitFor();
    await page.getByText('Sent (3)').waitFor();
    await world.picture(page, 'sent-360');
    expect(await page.locator('.sending:visible').count()).toBe(1);
    await page.getByText('Sent (3)').click();
    expect(await page.locator('.sending:visible').count()).toBe(4);
    world.complaints.length = 0; // Chromium reports the refusal.
  });
});

describe('the search', () => {
  it('is empty in the next inbox', async () => {
    await put('found.zip');
    const page = await openCurves();
    await page.getByRole('searchbox').fill('nothing');
    await page.getByText('No file matches the search.').waitFor();
    await world.openInbox(page, 'Prescriptions');
    expect(await page.getByRole('searchbox').inputValue()).toBe('');
  });
});

describe('the rows', () => {
  /** The heads, times and sizes in sight that are cut, or that a button covers. */
  const cutTexts = (page: Page) => page.evaluate(() => {
    const {bottom} = document.querySelector('.scroll')!.getBoundingClientRect();
    const heads = [...document.querySelectorAll('th')].filter((each) => each.scrollWidth > each.clientWidth);
    const texts = [...document.querySelectorAll<HTMLElement>('tbody td, tbody .lines > span')].filter((each) => {
      const box = each.getBoundingClientRect();
      if (!/\d[:.]\d\d|^\d+\s\S+$/.test(each.textContent ?? '') || each.childElementCount > 0 || box.bottom > bottom) return false;
      const end = document.elementFromPoint(box.right - 13, box.top + 5);
      return each.scrollWidth > each.clientWidth || end?.closest('td') !== each.closest('td');
    });
    return [...heads, ...texts].map((each) => each.textContent);
  });
  /** A time zone in which it is after ten in the evening: no hour is longer. */
  const lateZone = (): string => {
    const ahead = 22 - new Date().getUTCHours();
    const east = ahead > 14 ? ahead - 24 : ahead;
    return `Etc/GMT${east > 0 ? '-' : '+'}${Math.abs(east)}`;
  };
  const cutButtons = (page: Page) => page.evaluate(() => {
    const {right} = document.querySelector('.scroll')!.getBoundingClientRect();
    return [...document.querySelectorAll('tbody button, tbody .button')].filter((each) => {
      const edge = Math.min(right, each.closest('td')!.getBoundingClientRect().right);
      return each.getBoundingClientRect().right > edge;
    }).map((each) => each.textContent);
  });

  it.each(['en-US', 'en-GB', 'de-DE', 'pt-BR', 'fr-FR', 'pl-PL'])('have the height that the table counts with, and show heads, times, sizes and buttons whole: %s', async (locale) => {
    await put('a name of a file that is longer than its column in each window of the page.zip', 'Curves', 888);
    await world.command('remove', (await put('to the bin.zip'))[0]);
    await put('report.zip', 'From Console');
    const page = await openCurves({locale, timezoneId: lateZone()});
    const inbox = (await page.locator('.inboxes a').nth(2).getAttribute('href'))!.slice('#/'.length);
    for (const width of [1280, 1024]) {
      await page.setViewportSize({width, height: 800});
      for (const view of [inbox, 'bin', 'reports', 'storage', 'people']) {
        await world.show(page, view);
        await page.locator(view === 'people' ? '.audit [aria-rowindex]' : 'tbody tr[aria-rowindex] :is(.button, button, .fill)').first().waitFor();
        await world.picture(page, `${view.split('/')[0]}-${locale}-${width}`);
        const heights = await page.locator('tbody tr[aria-rowindex]').evaluateAll((rows) =>
          rows.map((each) => each.getBoundingClientRect().height));
        expect([view, ...new Set(heights)]).toEqual([view, 44]);
        expect(await cutTexts(page)).toEqual([]);
        expect(await cutButtons(page)).toEqual([]);
      }
    }
  });
});
