// People, reports and the bin in Chromium.
import {readFileSync} from 'node:fs';
import {unzipSync} from 'fflate';
import type {Page, Route} from 'playwright-core';
import {describe, expect, it} from 'vitest';
import {archive, field, taskData} from '../unit/archives';
import {expectNoBarrier, violations} from './barriers';
import {slowUpload, useWorld, world} from './world';

useWorld();

const link = (page: Page, name: string | RegExp) => page.getByRole('link', {name});
const button = (page: Page, name: string | RegExp) => page.getByRole('button', {name});
const row = (page: Page, name: string) => page.locator('tbody tr', {hasText: name});

async function open(view: string): Promise<Page> {
  const page = await world.logIn('office');
  await page.locator('header nav').getByRole('link', {name: view, exact: true}).click();
  return page;
}

async function answer(page: Page, values: Record<string, string>): Promise<void> {
  for (const [name, value] of Object.entries(values)) await page.locator(`.ask input[name=${name}]`).fill(value);
  await page.locator('.ask .main').click();
}

async function logIn(page: Page, name: string, password: string): Promise<void> {
  await page.locator('input[name=user]').fill(name);
  await page.locator('input[name=password]').fill(password);
  await page.locator('form button').click();
}

describe('the people', () => {
  it('get a new operator, who logs in and has inboxes, and loses the session with a new password', async () => {
    const page = await open('People');
    await button(page, 'New operator').click();
    await answer(page, {name: 'olga', password: 'eight or more'});
    await page.locator('.ask .error').getByText(/./).waitFor(); // The name is taken.
    await answer(page, {name: 'piet', password: 'eight or more'});
    await page.locator('.person > h2').getByText('piet').waitFor();
    await link(page, /^Curves 0$/).waitFor();

    const other = await world.open(await world.newContext());
    await logIn(other, 'piet', 'eight or more');
    await other.locator('.link.live').waitFor();
    await button(page, 'Set a new password').click();
    await answer(page, {password: 'another one'});
    await other.locator('.login').waitFor();
    world.complaints.length = 0; // Chromium reports the refused name.
  });

  it('are disabled, enabled, renamed and deleted, and the audit trail tells it', async () => {
    const [page, other] = [await open('People'), await open('People')];
    const inOther = (name: string) => other.locator('.people-list').getByText(name, {exact: true});
    await button(page, 'New operator').click();
    await answer(page, {name: 'anna', password: 'eight or more'});
    await page.locator('.person > h2').getByText('anna').waitFor();
    await inOther('anna').waitFor();
    await button(page, 'Disable').click();
    await button(page, 'Enable').click();
    await button(page, 'Disable').waitFor();
    await button(page, 'Rename').click();
    await answer(page, {name: 'anna k'});
    await page.locator('.person > h2').getByText('anna k').waitFor();
    await inOther('anna k').waitFor();
    await other.locator('header nav').getByRole('link', {name: 'Files'}).click();
    await other.locator('.inboxes').getByText('anna k').waitFor();
    await page.locator('header nav').getByRole('link', {name: 'Files'}).click();
    await page.locator('.inboxes').getByText('anna k').waitFor();
    await page.goBack();
    await button(page, 'Delete the person').click();
    await page.locator('.ask .main').click();
    await page.locator('.person > h2').waitFor({state: 'detached'});
    await link(page, /anna k/).waitFor({state: 'detached'});
    await other.locator('.inboxes').getByText('anna k').waitFor({state: 'detached'});
    await page.locator('header nav').getByRole('link', {name: 'Files'}).click();
    await page.locator('.inboxes').getByText('anna k').waitFor({state: 'detached'});
    await page.goBack();
    await page.reload();
    await row(page, 'User deleted').waitFor();
    await page.getByLabel('Search the audit trail').fill('renamed');
    await row(page, 'Login').first().waitFor({state: 'detached'});
    await row(page, 'User renamed').waitFor();
  });

  it('of the office cannot be changed by the office', async () => {
    const page = await open('People');
    await page.locator('.people-list').getByRole('link', {name: /^office/}).click();
    await page.getByText('Only the administrator of the service can change this account.').waitFor();
    expect(await button(page, 'Disable').count()).toBe(0);
  });

  it('lose their tracks, and the page reads the consoles again', async () => {
    const page = await open('People');
    await page.locator('.people-list').getByRole('link', {name: /^olga/}).click();
    await button(page, 'Delete the tracks').click();
    const reads = page.waitForRequest(/\/consoles\?/);
    await page.locator('.ask .main').click();
    await page.getByText('The tracks of olga are deleted.').waitFor();
    await reads;
    await link(page, 'Everybody').click();
    await row(page, 'Tracks deleted').waitFor();
  });

  it('are followed: the files in the inboxes, and the audit trail with the pages that are shown', async () => {
    const page = await open('People');
    const other = await open('People');
    await page.route(/\/audit\?limit=200$/, async (route) => route.continue({url: route.request().url().replace('limit=200', 'limit=3')}));
    await page.reload();
    await page.getByText('Entries: 3', {exact: true}).waitFor();
    await button(page, 'Older entries').click();
    await page.getByText('Entries: 6', {exact: true}).waitFor();
    await button(other, 'New operator').click();
    await answer(other, {name: 'kees', password: 'eight or more'});
    await row(page, 'kees').waitFor();
    await page.getByText(/^Entries: ([7-9]|\d\d)$/).waitFor();
    await link(page, /^olga/).click();
    const inbox = link(page, /^Prescriptions for the console \d+$/);
    const before = Number((await inbox.locator('.count').innerText()));
    await world.command('put', world.newFile('followed.zip', new Uint8Array(1)), 'To Console');
    await link(page, `Prescriptions for the console ${before + 1}`).waitFor();
    await button(page, 'Disable').click();
    await button(page, 'Enable').click();
    await button(page, 'Disable').waitFor();
    await row(page, 'User enabled').filter({hasText: 'olga'}).waitFor();
    await row(page, 'Login').filter({hasText: 'olga'}).first().waitFor();
    await page.getByRole('heading', {name: /^What this person did/}).waitFor();
    await world.picture(page, 'person');
  });

  it('who administrate the service get their own account only', async () => {
    const page = await world.logIn('admin');
    await button(page, 'Change my password').waitFor();
    await page.getByText("This page is for the farm's office.").waitFor();
    expect(await page.locator('header nav a').count()).toBe(0);
    await world.picture(page, 'admin');
  });

  it('lose one session, while the others live', async () => {
    const first = await world.logIn('operator');
    const second = await world.logIn('operator');
    const page = await open('People');
    await page.locator('.people-list').getByRole('link', {name: /^olga/}).click();
    const sessions = page.locator('.sessions li');
    await sessions.first().waitFor();
    const before = await sessions.count();
    await sessions.last().getByRole('button', {name: 'End the session'}).click();
    await second.locator('.login').getByText('You are logged out.').waitFor();
    await sessions.nth(before - 1).waitFor({state: 'detached'});
    expect(await sessions.count()).toBe(before - 1);
    expect(await first.locator('.link.live').count()).toBe(1);
    await page.locator('.amounts dd:nth-of-type(4)', {hasText: new RegExp(`^\\s*${before - 1} of`)}).waitFor();
    await page.getByRole('link', {name: 'Everybody'}).click();
    await row(page, 'Session ended').filter({hasText: 'olga'}).first().waitFor();
  });

  it('are not told that there is no session while the sessions are read', async () => {
    const page = await world.logIn('operator');
    await page.route('**/sessions', () => undefined);
    await link(page, 'olga').click();
    await page.locator('main').getByText('Loading').waitFor();
    expect(await page.getByText('There is no session.').count()).toBe(0);
    await page.unrouteAll();
  });

  it('change their own password and end their own sessions', async () => {
    const page = await world.logIn('operator');
    await link(page, 'olga').click();
    await button(page, 'Change my password').click();
    await answer(page, {current: 'wrong', new: 'eight or more'});
    await page.locator('.ask .error').getByText(/./).waitFor();
    const [, password] = world.accounts.operator;
    await answer(page, {current: password, new: password});
    await page.getByText('The password is changed.').waitFor();
    const second = await world.logIn('operator');
    await page.reload();
    await button(page, 'End the session').click();
    await second.locator('.login').waitFor();
    world.complaints.length = 0; // Chromium reports the refused password.
  });
});

describe('the reports', () => {
  it('are found by operator, day and field, and a day is one archive', async () => {
    const content = archive({'TASKDATA/TASKDATA.XML': taskData(field(51, 5).replace('Home', 'Long Acre'))});
    await world.command('put', world.newFile('job 1.zip', content), 'From Console');
    await world.command('put', world.newFile('job 2.zip', new Uint8Array([1, 2])), 'From Console');
    await world.command('put', world.newFile('job 2.zip', new Uint8Array([3])), 'From Console');
    const page = await open('Reports');
    await page.getByLabel('Search by name and field').fill('job');
    await button(page, /^Read the fields \(3\)/).click();
    await row(page, 'Long Acre').waitFor();
    await page.getByLabel('Search by name and field').fill('long');
    await page.getByText('Files: 1').waitFor();
    await page.getByLabel('Search by name and field').fill('job');
    await page.getByLabel('Operator').selectOption('olga');
    const day = await page.evaluate(() => {
      const now = new Date();
      return [now.getFullYear(), now.getMonth() + 1, now.getDate()].map((each) => String(each).padStart(2, '0')).join('-');
    });
    await page.getByLabel('Day').fill(day);
    const [download] = await Promise.all([page.waitForEvent('download'), button(page, /^Download as one archive: 3/).click()]);
    expect(download.suggestedFilename()).toBe(`${day}.zip`);
    const files = unzipSync(new Uint8Array(readFileSync((await download.path())!)));
    expect(Object.keys(files).sort()).toEqual(['olga/job 1.zip', 'olga/job 2 (2).zip', 'olga/job 2.zip']);
    expect(files['olga/job 1.zip']).toEqual(content);
    expect([files['olga/job 2.zip'], files['olga/job 2 (2).zip']]).toEqual([new Uint8Array([3]), new Uint8Array([1, 2])]);
    await page.getByLabel('Day').fill('2026-01-01');
    await page.getByText('There are no job reports on this day.').waitFor();
  });
});

describe('the bin', () => {
  it('is searched, restores several files, and deletes files for good', async () => {
    for (const name of ['a.zip', 'b.zip', 'c.zip']) {
      await world.command('put', world.newFile(name, new Uint8Array(name.charCodeAt(0))), 'Curves');
    }
    const [page, other] = [await world.logIn('office'), await open('Bin')];
    await world.openInbox(page, 'Curves');
    for (const name of ['a.zip', 'b.zip', 'c.zip']) {
      await button(page, `Delete ${name}`).click();
      await row(page, name).waitFor({state: 'detached'});
    }
    await page.locator('header').getByRole('link', {name: 'Bin'}).click();
    await row(page, 'c.zip').waitFor();
    await page.getByRole('searchbox').fill('b.');
    await page.getByLabel('Mark all').check();
    await page.getByRole('searchbox').fill('');
    await page.getByLabel('a.zip', {exact: true}).check();
    await button(page, 'Restore 2').click();
    await row(page, 'a.zip').waitFor({state: 'detached'});
    await row(page, 'b.zip').waitFor({state: 'detached'});
    await row(page, 'c.zip').waitFor();
    expect(Object.keys(await world.command<object>('digests', 'Curves')).sort()).toEqual(['a.zip', 'b.zip']);
    await page.getByLabel('c.zip', {exact: true}).check();
    await button(page, 'Delete 1 for good').click();
    await button(page, 'Cancel').click();
    await row(page, 'c.zip').waitFor();
    await button(page, 'Delete 1 for good').click();
    await page.locator('.ask .main').click();
    await row(page, 'c.zip').waitFor({state: 'detached'});
    await other.getByText('The bin is empty.').waitFor();
    expect(await world.command('bin')).toEqual([]);
    expect(Object.keys(await world.command<object>('digests', 'Curves')).sort()).toEqual(['a.zip', 'b.zip']);
  });

  it('restores the other marked files if one has left the bin', async () => {
    for (const name of ['f.zip', 'g.zip']) {
      const [id] = await world.command<number[]>('put', world.newFile(name, new Uint8Array(name.charCodeAt(0))), 'Curves');
      await world.command('remove', id);
    }
    const page = await open('Bin');
    await row(page, 'f.zip').waitFor();
    await page.route('**/bin/*/restore', (route) => route.fulfill({status: 404, json: {type: 'urn:kelvo:problem:not-found'}}),
      {times: 1}); // The newest file comes first.
    await page.getByLabel('Mark all').check();
    await button(page, 'Restore 2').click();
    await row(page, 'f.zip').waitFor({state: 'detached'});
    expect(await page.locator('.toast').isVisible()).toBe(false);
    await button(page, 'Restore g.zip').click();
    await page.getByText('The bin is empty.').waitFor();
    world.complaints.length = 0; // Chromium reports the refused request.
  });

  it('tells a refusal, and its dialog stays open for a second attempt', async () => {
    for (const name of ['d.zip', 'e.zip']) {
      await world.command('put', world.newFile(name, new Uint8Array(name.charCodeAt(0))), 'Curves');
    }
    const page = await world.logIn('office');
    await world.openInbox(page, 'Curves');
    for (const name of ['d.zip', 'e.zip']) {
      await button(page, `Delete ${name}`).click();
      await row(page, name).waitFor({state: 'detached'});
    }
    await page.locator('header').getByRole('link', {name: 'Bin'}).click();
    await row(page, 'e.zip').waitFor();
    let answered = 0;
    const refuse = (first: number) => page.route('**/kelvo-api/v1/bin/*{,/restore}', (route) => (++answered < first
      ? route.continue() : route.fulfill({status: 409, json: {type: 'urn:kelvo:problem:conflict', detail: `Refused at ${answered}.`}})));

    await refuse(1);
    await button(page, 'Restore d.zip').click();
    await page.locator('.toast').getByText('Refused at 1.').waitFor();
    await page.getByLabel('Mark all').check();
    await button(page, 'Restore 2').click();
    await page.locator('.toast').getByText('Refused at 2.').waitFor();

    await page.unrouteAll();
    await refuse(4);
    await button(page, 'Delete 2 for good').click();
    await page.locator('.ask .main').click();
    await page.locator('.ask .error').getByText('Refused at 4.').waitFor();
    expect(await world.command<unknown[]>('bin')).toHaveLength(1);
    await page.unrouteAll();
    await page.locator('.ask .main').click();
    await page.getByText('The bin is empty.').waitFor();
    expect(await world.command('bin')).toEqual([]);
    world.complaints.length = 0; // Chromium reports each refused request.
  });
});

describe('the storage', () => {
  const cell = (page: Page, column: number) => row(page, 'olga').locator('td').nth(column);

  it('shows the use of the farm and its people, and follows a new file', async () => {
    const page = await open('Storage');
    await row(page, 'olga').waitFor();
    const before = Number(await cell(page, 2).innerText());
    const [id] = await world.command<number[]>('put', world.newFile('large.zip', new Uint8Array(5_000_000)), 'Curves');
    await cell(page, 2).getByText(String(before + 1), {exact: true}).waitFor();
    expect(await cell(page, 1).innerText()).toMatch(/^\s*5(\.\d)? MB$/);
    expect(await page.locator('.amounts dd').first().innerText()).toMatch(/^\s*5(\.\d)? MB of 107\.4 GB \(0%\)$/);

    const bin = page.locator('.storage p', {hasText: 'Files in the bin'});
    const binBefore = Number((await bin.innerText()).match(/(\d+)\. Bin$/)![1]);
    await world.command('remove', id);
    await bin.getByText(`Files in the bin: ${binBefore + 1}.`).waitFor();
    await link(page, 'olga').click();
    await page.locator('.person > h2').getByText('olga').waitFor();
  });

  it('shows an upload in progress with its files, and the limits of the farm', async () => {
    const path = world.newFile('half.zip', new Uint8Array(2_000_000));
    const page = await world.logIn('office');
    await slowUpload(page, 100_000);
    await page.locator('.send input[type=file]').setInputFiles(path);
    await page.locator('.review .main').click();
    await page.waitForFunction(() => Number(document.querySelector('progress')?.value) > 0);
    await world.show(page, 'storage');
    await page.getByText('Uploads in progress need 2 MB of the space and make 1 of the files.').waitFor();
    const amounts = (await page.locator('.amounts').innerText()).replace(/\s+/g, ' ');
    const {files} = await page.evaluate(async () => (await (await fetch('/kelvo-api/v1/farms/1/usage')).json()).usage);
    for (const part of [`Files ${files + 1} of 500,000`, 'Uploads in progress 1 of 5,000', 'People, with those deleted in the last 30 days',
      'Sessions', 'Positions of consoles in a minute at most 6,000']) expect(amounts).toContain(part);
    await page.locator('.sending').getByRole('button', {name: 'Remove'}).click();
  });

  it('keeps the newer of two answers', async () => {
    const page = await world.logIn('office');
    const body = await page.evaluate(async () => (await fetch('/kelvo-api/v1/farms/1/usage')).text());
    let older: Route | undefined;
    await page.route('**/farms/1/usage', (route) => {
      older = route;
    }, {times: 1});
    await Promise.all([page.waitForRequest('**/farms/1/usage'), link(page, 'Storage').click()]);
    await world.command('put', world.newFile('newer.zip', new Uint8Array(1)), 'Curves');
    await row(page, 'olga').waitFor();
    const shown = await page.locator('.storage').innerText();
    await older!.fulfill({body, contentType: 'application/json'});
    // The page draws the answer before it draws its second frame after a later answer.
    await page.evaluate(async () => {
      await fetch('/kelvo-api/v1/account');
      await new Promise((resolve) => requestAnimationFrame(() => requestAnimationFrame(resolve)));
    });
    expect(await page.locator('.storage').innerText()).toBe(shown);
  });

  it('warns before a limit and at a limit', async () => {
    await world.command('put', world.newFile('map.zip', new Uint8Array(3_000_000)), 'Curves');
    const page = await open('Storage');
    const advice = page.getByText('At a limit, the service takes no more files.', {exact: false});
    await page.locator('.amounts').waitFor();
    expect(await advice.count()).toBe(0);
    const bytes = Number(await page.evaluate(async () => (await (await fetch('/kelvo-api/v1/farms/1/usage')).json()).usage.bytes));
    for (const [limit, text] of [[Math.ceil(bytes / 0.95), 'Nearly full'], [bytes, 'Full']] as const) {
      await world.command('quota', '--bytes', limit);
      await page.reload();
      await page.locator('.amounts dd').first().getByText(text).waitFor();
      await advice.waitFor();
    }
    expect(await violations(page)).toEqual([]);
    await world.command('quota', '--bytes', 'default');
  });
});

describe('each view with its content', () => {
  const views = [['people', '.audit tbody tr[aria-rowindex]'], ['people/3', '.sessions li'],
    ['storage', 'tbody tr[aria-rowindex]'], ['reports', 'tbody tr[aria-rowindex]'], ['bin', 'tbody tr[aria-rowindex]'], ['account', '.sessions li']] as const;

  it('has no barrier and fits on a phone', async () => {
    const path = world.newFile('view.zip', new Uint8Array(1));
    await world.command('put', path, 'From Console');
    const [id] = await world.command<number[]>('put', path, 'Curves');
    await world.command('remove', id);
    const page = await world.logIn('office', {viewport: {width: 360, height: 740}});
    for (const [view, content] of views) {
      await world.show(page, view);
      await page.locator(content).first().waitFor();
      await expectNoBarrier(page);
    }
  });

  it('shows an inbox that is not there as that, and takes no files for it', async () => {
    const page = await world.logIn('office');
    await page.goto(`${world.origin}/#/files/999999`);
    await page.getByText('This inbox is not here.').waitFor();
    expect(await page.locator('.send').count()).toBe(0);
    expect(await violations(page)).toEqual([]);
    await page.locator('.inboxes').getByText('olga').click();
    await link(page, /^Curves/).click();
    await page.locator('.send').waitFor();
  });

  it('shows nothing of a person who is not on the farm', async () => {
    const page = await world.logIn('office');
    await page.goto(`${world.origin}/#/people/999999`);
    await page.getByText('This person is not on your farm.').waitFor();
  });
});
