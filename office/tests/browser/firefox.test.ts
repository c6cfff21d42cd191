// The page in Firefox, which the other tests do not use: it is driven by WebDriver BiDi.
import {join} from 'node:path';
import puppeteer, {type Browser, type Page} from 'puppeteer-core';
import {afterAll, beforeAll, expect, it} from 'vitest';
import {archive, grid, task, taskData} from '../unit/archives';
import {useWorld, world} from './world';

useWorld();

let firefox: Browser;

/** Firefox with a profile that trusts the service's authority. */
beforeAll(async () => {
  const profile = join(world.folder, 'firefox');
  world.trust(profile);
  firefox = await puppeteer.launch({
    browser: 'firefox', executablePath: '/usr/bin/firefox-esr', userDataDir: profile,
    env: {...process.env, HOME: world.folder}, defaultViewport: {width: 1280, height: 800},
  });
});
afterAll(() => firefox?.close());

async function logIn(): Promise<Page> {
  const page = await firefox.newPage();
  page.on('pageerror', (error) => world.complaints.push(String(error)));
  page.on('console', (message) => {
    if (message.type() === 'error') world.complaints.push(message.text());
  });
  await page.goto(`${world.origin}/`);
  const [name, password] = world.accounts.office;
  await page.locator('input[name=user]').fill(name);
  await page.locator('input[name=password]').fill(password);
  await page.locator('form button').click();
  await page.waitForSelector('.link.live');
  return page;
}

it('Firefox sends a file after a look at its map, and follows the inbox', async () => {
  const content = archive({
    'TASKDATA.XML': taskData(task(`<TZN A="1"><PDV A="0006" B="0"/></TZN>${grid(2, 2, 2, 'GRD00001', 'J="1"')}`)),
    'GRD00001.BIN': new Uint8Array(Int32Array.of(0, 1000, 2000, 3000).buffer),
  });
  const path = world.newFile('in firefox.zip', content);
  const page = await logIn();
  await page.locator('.inboxes a').click();
  const input = await page.waitForSelector<'input'>('.send input[type=file]' as 'input');
  await input!.uploadFile(path);
  await page.waitForSelector('.review .map canvas');
  await page.waitForSelector('.review .total');
  await page.locator('.review .main').click();
  await page.waitForSelector('tbody a[title="in firefox.zip"]');

  await world.command('put', world.newFile('from outside.zip', content), 'To Console');
  await page.waitForSelector('tbody a[title="from outside.zip"]');
  expect(Object.keys(await world.command<object>('digests', 'To Console')).sort()).toEqual(['from outside.zip', 'in firefox.zip']);
});
