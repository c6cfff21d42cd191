// A day of the office with a real console, step by step. Each step leaves a picture for the guide, docs/office.md.
import {readdirSync, readFileSync, writeFileSync} from 'node:fs';
import {join} from 'node:path';
import type {Page} from 'playwright-core';
import {beforeAll, expect, it} from 'vitest';
import {jobReport, roundField} from '../unit/archives';
import {useWorld, world} from './world';

useWorld({keepsPages: true});

const guide = join(import.meta.dirname, '../../../docs');
const pictures = join(guide, 'pictures/office');
const note = 'Second pass, only the north side';

const newPictures = process.env['KELVO_PICTURES'];

/** The texts in the pictures, by the name of the picture: in the guide, and in this run. */
const inGuide = JSON.parse(readFileSync(join(pictures, 'screens.json'), 'utf8')) as Record<string, string>;
const screens: Record<string, string> = {};
let page: Page;

/** Texts that differ between two runs: times, ages, a computer's address, progress. */
const volatile: readonly (readonly [RegExp, string])[] = [
  [/( · )?\b([0-9a-f]{2}:){5}[0-9a-f]{2}\b/gi, ''],
  [/\d{1,2} \w{3,4} \d{4}, \d{2}:\d{2}/g, 'TIME'],
  [/\b\d{2}:\d{2}\b(?!:)/g, 'TIME'],
  [/\d+ (minute|hour|day)s? ago|this minute|yesterday/g, 'AGO'],
  [/\b\d+ %/g, 'PERCENT'],
];

async function textsOf(from: Page): Promise<string> {
  return volatile.reduce((left, [each, word]) => left.replace(each, word), await from.locator('#page').innerText());
}

/** Ends a step: waits for the texts of the guide's picture, or makes a new picture with its texts. */
async function shown(name: string, from = page): Promise<void> {
  await world.picture(from, name);
  screens[name] = await textsOf(from);
  if (newPictures) return;
  await expect.poll(() => textsOf(from), {timeout: 10_000, message: 'The picture is older than the page: make new ones with scripts/run --tour DIR.'})
    .toBe(inGuide[name]);
}

const row = (name: string) => page.locator('tbody tr', {hasText: name});
const view = (name: string) => page.locator('header nav').getByRole('link', {name, exact: true}).click();
const button = (name: string | RegExp) => page.getByRole('button', {name});
const choose = (name: string, content: Uint8Array) =>
  page.locator('.send input[type=file]').setInputFiles(world.newFile(name, content));

beforeAll(async () => {
  for (const command of ['login', 'logout', 'login']) await world.command('console', command); // The first login makes inboxes.
  page = await world.open(await world.newContext({timezoneId: 'Europe/Amsterdam'}));
});

it('the office logs in', async () => {
  const [name, password] = world.accounts.office;
  await page.locator('input[name=user]').fill(name);
  await page.locator('input[name=password]').fill(password);
  await shown('01-login');
  await page.locator('form button').click();
  await page.locator('.link.live').waitFor();
});

it('a prescription map is looked at before it is sent, and gets a note', async () => {
  await world.openInbox(page, 'Prescriptions');
  await choose('hill wheat.zip', roundField());
  await page.getByText('Total amount').waitFor();
  await page.getByLabel('Note').fill(note);
  await shown('02-review');
});

it('the map is sent, and no console has fetched it', async () => {
  await page.locator('.review .main').click();
  await row('hill wheat.zip').getByText('Not fetched').waitFor();
  await row('hill wheat.zip').getByText(note).waitFor();
  await page.locator('.sending.done').getByRole('button').click();
  await shown('03-sent');
});

it('a large file is on its way, and pauses', async () => {
  const session = await page.context().newCDPSession(page);
  const slow = (uploadThroughput: number) => session.send('Network.emulateNetworkConditions',
    {offline: false, latency: 20, downloadThroughput: -1, uploadThroughput});
  await slow(500_000);
  await choose('photos.zip', new Uint8Array(3_000_000));
  await button('Send all the same').click();
  await page.waitForFunction(() => Number(document.querySelector('progress')?.value) > 0);
  await button('Pause').click();
  await page.getByText(/^Paused at/).waitFor();
  await shown('04-paused');
  await slow(-1);
  await button('Continue').click();
  await page.locator('.sending.done').getByRole('button').click();
  await row('photos.zip').waitFor();
});

it('the console in the cab fetches and unpacks the map, and the page tells it', async () => {
  await world.command('console', "download maps 'hill wheat.zip'");
  await row('hill wheat.zip').getByText('DESKTOP (olga)').waitFor();
  await row('hill wheat.zip').getByText(/^Unpacked/).waitFor();
  await shown('05-fetched');
});

it('a job report comes from the cab and is listed with its field', async () => {
  writeFileSync(join(world.folder, 'farm/console/to-service/job-reports/2026-05-17 hill.zip'), jobReport());
  await world.command('console', "upload reports '2026-05-17 hill.zip'");
  await view('Reports');
  await row('2026-05-17 hill.zip').waitFor();
  await button(/^Read the fields/).click();
  await row('2026-05-17 hill.zip').getByText('Hill', {exact: true}).waitFor();
  await shown('06-reports');
});

it('the job report is drawn', async () => {
  await row('2026-05-17 hill.zip').getByRole('link', {name: 'Map'}).click();
  await page.locator('.map canvas').waitFor();
  await page.getByText('Field boundary Hill').waitFor();
  await page.mouse.move(0, 0);
  await shown('07-report-map');
});

it('the fleet shows the console where it works, with its track', async () => {
  const list = await page.evaluate(async () => (await (await fetch('/kelvo-api/v1/consoles')).json()).consoles);
  const {id, hardware_address} = list[0] as {id: number; hardware_address: string};
  const now = Math.floor(Date.now() / 1000);
  for (let minute = 0; minute < 15; ++minute) {
    await world.command('report', 'POST', '/positions', {
      hardware_address, time_s: now - 60 * (14 - minute),
      latitude: 51.5015 + 0.0002 * minute, longitude: 5.2535 + 0.005 * ((minute >> 1) % 2),
    });
  }
  await page.goto(`${world.origin}/#/fleet/${id}`);
  await page.getByText(/km\/h · \d+°/).first().waitFor();
  await page.getByRole('slider').waitFor();
  await page.locator('.map').getByText('100 m').waitFor();
  await shown('08-fleet');
});

it('a deleted file is in the bin', async () => {
  await view('Files');
  await button('Delete photos.zip').click();
  await row('photos.zip').waitFor({state: 'detached'});
  await view('Bin');
  await page.reload(); // Without the message of the deletion.
  await page.getByLabel('photos.zip', {exact: true}).check();
  await shown('09-bin');
});

it('the audit trail tells who did what', async () => {
  await view('People');
  await row('File received').first().waitFor();
  await shown('10-people');
});

it('a person is shown with inboxes, sessions and storage', async () => {
  await page.locator('.people-list').getByRole('link', {name: /^olga/}).click();
  await page.locator('.sessions li').first().waitFor();
  await row('Login').first().waitFor();
  await shown('11-person');
});

it('the storage warns before it is full', async () => {
  await world.command('quota', '--bytes', 3_200_000);
  await view('Storage');
  await page.getByText('Nearly full').first().waitFor();
  await row('olga').waitFor();
  await shown('12-storage');
  await world.command('quota', '--bytes', 'default');
});

it('the own account has the password and the sessions', async () => {
  await page.locator('header .user').click();
  await page.locator('.sessions li').first().waitFor();
  await shown('13-account');
});

it('at night the page is dark, and a phone is enough to send', async () => {
  await view('Files');
  await row('hill wheat.zip').waitFor();
  await page.emulateMedia({colorScheme: 'dark'});
  await shown('14-night');
  await page.emulateMedia({colorScheme: 'light'});
  await page.setViewportSize({width: 360, height: 740});
  await shown('15-phone');
});

it('the console logs out', async () => {
  await world.command('console', 'logout');
});

it('the guide shows each picture once', () => {
  const names = [...readFileSync(join(guide, 'office.md'), 'utf8').matchAll(/\(pictures\/office\/([^)]+)\.png\)/g)].map(([, name]) => name);
  expect(names.sort()).toEqual(Object.keys(screens));
  expect(readdirSync(pictures).filter((name) => name.endsWith('.png')).sort()).toEqual(names.map((name) => `${name}.png`));
  if (newPictures) writeFileSync(join(newPictures, 'screens.json'), `${JSON.stringify(screens, null, 1)}\n`);
});
