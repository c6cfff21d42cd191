// Two farms in one browser, one after the other: nothing of the first may be shown or changed in the second.
import type {Page} from 'playwright-core';
import {beforeAll, expect, it} from 'vitest';
import {useWorld, world} from './world';

useWorld();

let dale: [string, string];
beforeAll(async () => {
  dale = await world.command<[string, string]>('second_farm');
});

const farmOf = (page: Page, name: string) => page.locator('header h1').getByText(name).waitFor();
const logOut = async (page: Page) => {
  await page.getByRole('button', {name: 'Log out'}).click();
  await page.locator('.login').waitFor();
};
/** Deletes a new file in another window. */
async function fillBin(name: string): Promise<void> {
  const [id] = await world.command<number[]>('put', world.newFile(name, new Uint8Array(name.length)), 'To Console');
  await world.command('remove', id);
}

it('a login and a log-out are for all tabs', async () => {
  const context = await world.newContext();
  const a = await world.open(context);
  const b = await world.open(context);
  await b.locator('.login').waitFor();
  await world.fillLogin(a, world.accounts.office);
  await farmOf(b, 'Hill Farm');
  await a.locator('.inboxes').getByText('olga').waitFor();
  await b.locator('.link.live').waitFor();
  await logOut(b);
  await a.getByText('You are logged out.').waitFor();
  await world.fillLogin(b, dale);
  for (const page of [a, b]) {
    await farmOf(page, 'Dale Farm');
    await page.locator('.link.live').waitFor();
    await page.getByText('No operator has an inbox yet.').waitFor();
  }
});

it('a login ends the session whose cookie it replaces, also if no tab tells it', async () => {
  const page = await world.logIn('office');
  const other = await world.open(page.context());
  await other.locator('.link.live').waitFor();
  const [user, password] = dale;
  const status = await other.evaluate(async (body) => (await fetch('/kelvo-api/v1/sessions', {
    method: 'POST', headers: {'Content-Type': 'application/json'}, body: JSON.stringify(body),
  })).status, {user, password, kind: 'browser'});
  expect(status).toBe(201);
  for (const tab of [page, other]) await tab.getByText('You are logged out.').waitFor();
});

it('the next user of a tab sees nothing of the farm before, however slow the link is', async () => {
  await fillBin('secret of hill.zip');
  const page = await world.logIn('office');
  await page.locator('header').getByRole('link', {name: 'People'}).click();
  await page.locator('.people-list').getByText('olga').waitFor();
  await page.locator('header').getByRole('link', {name: 'Bin'}).click();
  await page.getByRole('button', {name: 'Restore secret of hill.zip'}).waitFor();
  await logOut(page);
  await page.route(/\/(bin|users)\?/, () => undefined);
  await world.fillLogin(page, dale);
  await farmOf(page, 'Dale Farm');
  await page.locator('main').getByText('Connecting').waitFor();
  await page.locator('header').getByRole('link', {name: 'People'}).click();
  await page.locator('main').getByText('Loading').waitFor();
  await page.unrouteAll();
});
