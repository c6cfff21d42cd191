// A day of the office in Chromium.
import {createHash, randomBytes} from 'node:crypto';
import {mkdirSync, readFileSync, rmSync} from 'node:fs';
import {createServer} from 'node:https';
import type {AddressInfo} from 'node:net';
import {join} from 'node:path';
import type {Page} from 'playwright-core';
import {describe, expect, it} from 'vitest';
import {expectNoBarrier} from './barriers';
import {slowUpload, useWorld, world} from './world';

useWorld();

function newFile(name: string, bytes = 1000): {path: string; digest: string} {
  const content = randomBytes(bytes);
  return {path: world.newFile(name, content), digest: createHash('sha256').update(content).digest('hex')};
}

const row = (page: Page, name: string) => page.locator('tr', {hasText: name});
const choose = (page: Page, ...paths: string[]) => page.locator('.send input[type=file]').setInputFiles(paths);
/** Chooses a file and sends it in spite of doubts. */
async function sendFile(page: Page, path: string): Promise<void> {
  await choose(page, path);
  await page.locator('.review .main').click();
}

describe('the office', () => {
  it('is told why a login fails', async () => {
    const page = await world.open(await world.newContext());
    await page.locator('input[name=user]').fill('office');
    await page.locator('input[name=password]').fill('wrong');
    await page.locator('form button').click();
    await page.getByText('The user name or the password is wrong.').waitFor();
  });

  it('can log in again after a proxy has answered instead of the service', async () => {
    const page = await world.open(await world.newContext());
    await page.route('**/sessions', (route) => route.fulfill({status: 502, contentType: 'text/html', body: '<h1>Bad gateway</h1>'}));
    const [name, password] = world.accounts.office;
    await page.locator('input[name=user]').fill(name);
    await page.locator('input[name=password]').fill(password);
    await page.locator('form button').click();
    await page.getByText('The service does not answer.').waitFor();
    await page.unroute('**/sessions');
    await page.locator('form button').click();
    await page.locator('.link.live').waitFor();
    world.complaints.length = 0; // Chromium reports the answer 502.
  });

  it('sends a file, and the operator has its bytes', async () => {
    const {path, digest} = newFile('north.zip');
    const page = await world.logIn('office');
    await sendFile(page, path);
    await page.locator('.sending.done').waitFor();
    await row(page, 'north.zip').waitFor();
    expect((await world.command<Record<string, string>>('digests', 'To Console'))['north.zip']).toBe(digest);
  });

  it('sees who sent a file, with a note', async () => {
    const {path} = newFile('noted.zip');
    const page = await world.logIn('office');
    await choose(page, path);
    await page.getByLabel('Note').fill(' Süd, <b>second</b> pass ');
    await page.locator('.review .main').click();
    await row(page, 'noted.zip').getByText('Süd, <b>second</b> pass', {exact: true}).waitFor();
    await row(page, 'noted.zip').getByText('office', {exact: true}).waitFor();
    await page.getByRole('searchbox').fill('SECOND');
    await page.getByText('Files: 1').waitFor();
    const operator = await world.logIn('operator');
    await row(operator, 'noted.zip').getByText('second', {exact: false}).first().waitFor();
  });

  it('is asked before a name is used twice', async () => {
    const {path} = newFile('twice.zip');
    await world.command('put', path, 'To Console');
    const page = await world.logIn('office');
    await row(page, 'twice.zip').waitFor();
    await choose(page, path);
    await page.getByText('olga would have more than one file named twice.zip.').waitFor();
    await page.getByRole('button', {name: 'Do not send'}).click();
    await page.locator('.review').waitFor({state: 'detached'});
    expect(await page.locator('.sending').count()).toBe(0);

    mkdirSync(join(world.folder, 'other'));
    await choose(page, newFile('same.zip').path, newFile('other/same.zip').path);
    await page.getByText('olga would have more than one file named same.zip.').waitFor();
  });

  it('sees at once what another window sends, deletes it and takes that back', async () => {
    const page = await world.logIn('office');
    await world.command('put', newFile('other window.zip').path, 'To Console');
    await row(page, 'other window.zip').getByRole('button').click();
    await row(page, 'other window.zip').waitFor({state: 'detached'});
    await page.locator('.toast').getByText('Undo').click();
    await row(page, 'other window.zip').waitFor();
  });

  it('sees at once which console has fetched a file, and which files wait', async () => {
    const [fetched, waiting] = [newFile('fetched.zip'), newFile('waiting.zip')];
    const [id] = await world.command<number[]>('put', fetched.path, 'To Console');
    const [other] = await world.command<number[]>('put', waiting.path, 'To Console');
    const page = await world.logIn('office');
    await row(page, 'fetched.zip').getByText('Not fetched').waitFor();
    await world.command('report', 'PUT', '/environment',
      {timestamp_ms: 1000, console: {console_string: 'Console 12', hardware_address: '00:1b'}, controller: {}});
    await world.command('report', 'POST', '/fetches', {fetches: [{file: id, age_s: 0}]});
    await row(page, 'fetched.zip').getByText('Console 12 (olga)').waitFor();
    await page.getByRole('button', {name: 'Not fetched', exact: true}).click();
    await row(page, 'fetched.zip').waitFor({state: 'detached'});
    await row(page, 'waiting.zip').waitFor();
    await page.getByRole('button', {name: 'Not fetched', exact: true}).click();
    await world.command('report', 'POST', '/fetches', {fetches: [{file: other, age_s: 0, unpack_error: 'no room: 2 < 10 MB'}]});
    await row(page, 'waiting.zip').getByText('Not unpacked: no room: 2 < 10 MB').waitFor();
    await world.command('report', 'POST', '/fetches', {fetches: [{file: other, age_s: 0, unpacked_age_s: 0}]});
    await row(page, 'waiting.zip').getByText(/^Unpacked \d/).waitFor();
    await row(page, 'waiting.zip').getByTitle(/^\u2068Console 12\u2069 \(olga\) · Fetched .* · Unpacked /).waitFor();
    expect(await row(page, 'fetched.zip').getByText('Unpacked').count()).toBe(0);
  });

  it('sees job reports and an empty inbox in spite of "Not fetched"', async () => {
    await world.command('put', newFile('report.zip').path, 'From Console');
    const page = await world.logIn('office');
    const filter = page.getByRole('button', {name: 'Not fetched', exact: true});
    await page.getByRole('link', {name: /^Curves/}).click();
    await filter.click();
    await page.getByText('There are no files here yet.').waitFor();
    await page.getByRole('link', {name: /^Job reports/}).click();
    await row(page, 'report.zip').waitFor();
    expect(await filter.count()).toBe(0);
  });

  it('finds a deleted file in the bin and restores it', async () => {
    const page = await world.logIn('office');
    await world.command('put', newFile('to bin.zip').path, 'To Console');
    await row(page, 'to bin.zip').getByRole('button').click();
    await page.getByRole('link', {name: 'Bin', exact: true}).click();
    await row(page, 'to bin.zip').getByRole('button', {name: 'Restore'}).click();
    await page.getByText('The bin is empty.').waitFor();
    await page.getByRole('link', {name: 'Files'}).click();
    await row(page, 'to bin.zip').waitFor();
  });

  it('is told that the connection is lost, and sends the rest of a file when it is back', async () => {
    const {path, digest} = newFile('large.zip', 4_000_000);
    const page = await world.logIn('office');
    const endSlow = await slowUpload(page, 1_000_000);
    await sendFile(page, path);
    await page.waitForFunction(() => Number(document.querySelector('progress')?.value) > 0);
    await world.command('kill');
    await endSlow();
    await page.getByText('No connection since').waitFor();
    await world.command('start');
    await page.locator('.sending.done').waitFor();
    await page.locator('.link.live').waitFor();
    expect((await world.command<Record<string, string>>('digests', 'To Console'))['large.zip']).toBe(digest);
    world.complaints.length = 0; // Chromium reports the requests that found no service.
  });

  it('sees a view that could not be read, when the service is back', async () => {
    const [id] = await world.command<number[]>('put', newFile('deleted.zip').path, 'To Console');
    await world.command('remove', id);
    const page = await world.logIn('office');
    await world.command('kill');
    await page.getByText('No connection since').waitFor();
    await page.getByRole('link', {name: 'Bin', exact: true}).click();
    await page.getByText('The service does not answer.').waitFor();
    await world.command('start');
    await row(page, 'deleted.zip').waitFor();
    world.complaints.length = 0; // Chromium reports the requests that found no service.
  });

  it('continues an upload after a reload', async () => {
    const {path, digest} = newFile('reloaded.zip', 4_000_000);
    const page = await world.logIn('office');
    const endSlow = await slowUpload(page, 500_000);
    await sendFile(page, path);
    await page.waitForFunction(() => Number(document.querySelector('progress')?.value) > 0);
    await page.reload();
    await endSlow();
    await page.locator('.link.live').waitFor();
    const heads: string[] = [];
    page.on('request', (request) => heads.push(request.method()));
    await sendFile(page, path);
    await page.locator('.sending.done').waitFor();
    expect(await page.locator('.sending.left').count()).toBe(0);
    expect(heads).toContain('HEAD');
    expect(heads).not.toContain('POST');
    expect((await world.command<Record<string, string>>('digests', 'To Console'))['reloaded.zip']).toBe(digest);
  });

  it('continues an upload whose offset the service could not tell at first', async () => {
    const {path, digest} = newFile('offset.zip', 4_000_000);
    const page = await world.logIn('office');
    const endSlow = await slowUpload(page, 500_000);
    await sendFile(page, path);
    await page.waitForFunction(() => Number(document.querySelector('progress')?.value) > 0);
    await page.reload();
    await endSlow();
    await page.locator('.link.live').waitFor();
    const refusals = [503, 429, 401];
    const methods: string[] = [];
    await page.route('**/uploads/*', (route) => {
      const isHead = route.request().method() === 'HEAD';
      return isHead && refusals.length > 0 ? route.fulfill({status: refusals.shift()!}) : route.continue();
    });
    page.on('request', (request) => methods.push(request.method()));
    await sendFile(page, path);
    await page.locator('.sending.waiting').getByText('Waiting: the service refused without a reason').waitFor();
    await page.locator('.sending.failed').getByRole('button', {name: 'Continue'}).click();
    await page.locator('.sending.done').waitFor();
    expect(refusals).toEqual([]);
    expect(methods).not.toContain('POST');
    expect((await world.command<Record<string, string>>('digests', 'To Console'))['offset.zip']).toBe(digest);
    world.complaints.length = 0; // Chromium reports the refusals.
  });

  it('is told after a reload which uploads are left, and continues them with their notes', async () => {
    const {path, digest} = newFile('left over.zip', 4_000_000);
    const page = await world.logIn('office');
    const endSlow = await slowUpload(page, 500_000);
    await choose(page, path);
    await page.getByLabel('Note (optional)').fill('second half');
    await page.locator('.review .main').click();
    await page.waitForFunction(() => Number(document.querySelector('progress')?.value) > 0);
    const other = await world.open(page.context());
    await other.locator('.link.live').waitFor();
    expect(await other.locator('.sending').count()).toBe(0); // The first tab sends the file.
    await other.close();
    await page.reload();
    await endSlow();
    const again = page.locator('.sending.left input');
    await again.setInputFiles(newFile('another.zip').path);
    await page.getByText('This file has another name, size or date.').waitFor();
    const methods: string[] = [];
    page.on('request', (request) => methods.push(request.method()));
    await again.setInputFiles(path);
    await page.locator('.sending.done').waitFor();
    expect(methods).not.toContain('POST');
    await row(page, 'left over.zip').getByText('second half').waitFor();
    expect((await world.command<Record<string, string>>('digests', 'To Console'))['left over.zip']).toBe(digest);
    await page.reload();
    await page.locator('.link.live').waitFor();
    expect(await page.locator('.sending').count()).toBe(0);
  });

  it('sees after the end of a session only their own uploads that are left', async () => {
    const {path} = newFile('of the office.zip', 4_000_000);
    const page = await world.logIn('office');
    const left = page.locator('.sending.left', {hasText: 'of the office.zip'});
    await slowUpload(page, 500_000);
    await sendFile(page, path);
    await page.waitForFunction(() => Number(document.querySelector('progress')?.value) > 0);
    for (const role of ['operator', 'office'] as const) {
      await page.context().clearCookies(); // A log-out would clear the storage too.
      await page.reload();
      await world.fillLogin(page, world.accounts[role]);
      await page.locator('.inboxes').getByText('olga').waitFor();
      if (role === 'office') await left.waitFor();
      else expect(await page.locator('.sending').count()).toBe(0);
    }
  });

  it('is told if other bytes are stored than the file has, and no copy stays', async () => {
    const {path} = newFile('other bytes.zip');
    const page = await world.logIn('office');
    await page.route('**/uploads/*', (route) => route.request().method() === 'PATCH'
      ? route.continue({postData: Buffer.alloc(1000)}) : route.continue());
    await sendFile(page, path);
    await page.getByText('Not sent: the stored bytes are not the bytes of the file.').waitFor();
    expect(await world.command('digests', 'To Console')).not.toHaveProperty('other bytes.zip');
    await page.unroute('**/uploads/*');
    await page.getByRole('button', {name: 'Continue'}).click();
    await page.locator('.sending.done').waitFor();
    expect(await world.command('digests', 'To Console')).toHaveProperty('other bytes.zip');
  });

  it('is told if the page cannot delete a copy with other bytes', async () => {
    const {path} = newFile('kept bytes.zip');
    const page = await world.logIn('office');
    await page.route('**/uploads/*', (route) => route.request().method() === 'PATCH'
      ? route.continue({postData: Buffer.alloc(1000)}) : route.continue());
    await page.route('**/resources/*', (route) => route.abort());
    await sendFile(page, path);
    await page.getByText('The page could not delete the copy: delete it in the inbox').waitFor();
    world.complaints.length = 0; // Chromium reports the aborted request.
  });

  it('is told if the page could not compare the bytes, and the copy stays', async () => {
    const {path, digest} = newFile('not compared.zip');
    const page = await world.logIn('office');
    await page.route('**/digest_worker-*', (route) => route.abort());
    await sendFile(page, path);
    await page.getByText('Sent. The page could not compare the stored bytes').waitFor();
    expect((await world.command<Record<string, string>>('digests', 'To Console'))['not compared.zip']).toBe(digest);
    world.complaints.length = 0; // Chromium reports the aborted request.
  });

  it('sees why a file waits, and that it is sent when the fault has passed', async () => {
    const {path} = newFile('later.zip');
    const page = await world.logIn('office');
    const problem = {type: 'urn:kelvo:problem:busy', title: 'Busy', status: 503, detail: 'The object store does not answer.'};
    await page.route('**/uploads', (route) =>
      route.fulfill({status: 503, contentType: 'application/problem+json', body: JSON.stringify(problem)}));
    await sendFile(page, path);
    await page.locator('.sending.waiting').getByText('Waiting: The object store does not answer.').waitFor();
    await page.unroute('**/uploads');
    await page.locator('.sending.done').waitFor();
    world.complaints.length = 0; // Chromium reports the answers 503.
  });

  it('is told if a file cannot be read', async () => {
    const {path} = newFile('removed.zip');
    const page = await world.logIn('office');
    await choose(page, path);
    await page.locator('.review .main:enabled').waitFor();
    rmSync(path);
    await page.locator('.review .main').click();
    await page.getByText('Not sent: the file cannot be read.').waitFor();
    world.complaints.length = 0; // Chromium reports the missing file.
  });

  it('may drop a file on the list, and a file dropped elsewhere does not replace the page', async () => {
    const page = await world.logIn('office');
    const drag = (type: string, target: string) => page.locator(target).first().evaluate((element, name) => {
      const dataTransfer = new DataTransfer();
      dataTransfer.items.add(new File(['x'], 'dropped.zip'));
      const event = new DragEvent(name, {dataTransfer, bubbles: true, cancelable: true});
      return {isTaken: !element.dispatchEvent(event), effect: dataTransfer.dropEffect};
    }, type);
    expect(await drag('dragover', 'header')).toEqual({isTaken: true, effect: 'none'});
    expect((await drag('dragover', '.files section .bar')).isTaken).toBe(true);
    await drag('drop', '.files section .bar');
    await page.locator('.review').getByText('dropped.zip').first().waitFor();
  });

  it('has eight tabs with one stream', async () => {
    const first = await world.logIn('office');
    const streams = () => expect.poll(() => world.command('streams'), {timeout: 60_000});
    await streams().toBe(1); // The service has seen the end of the pages before.
    const tabs = await Promise.all([...Array(7)].map(() => world.open(first.context())));
    await Promise.all(tabs.map((tab) => tab.locator('.link.live').waitFor()));
    await streams().toBe(1);
    await world.command('put', newFile('all tabs.zip').path, 'To Console');
    await Promise.all([first, ...tabs].map((tab) => row(tab, 'all tabs.zip').waitFor()));
    await first.close();
    await world.command('put', newFile('next leader.zip').path, 'To Console');
    await Promise.all(tabs.map((tab) => row(tab, 'next leader.zip').waitFor()));
  });

  it('has no cookie that scripts can read, and none after the log-out', async () => {
    const page = await world.logIn('office');
    expect(await page.evaluate(() => document.cookie)).toBe('');
    await page.getByRole('button', {name: 'Log out'}).click();
    await page.locator('.login').waitFor();
    expect(await page.getByText('You are logged out.').count()).toBe(0); // The user knows it.
    expect(await page.context().cookies()).toEqual([]);
    await page.reload();
    await page.locator('.login').waitFor();
  });
});

describe('the keyboard', () => {
  it('is enough to search, to look at a map and to leave a dialog', async () => {
    const {path} = newFile('keys.zip');
    await world.command('put', path, 'To Console');
    await world.command('put', newFile('another.zip').path, 'To Console');
    const page = await world.logIn('office');
    await row(page, 'another.zip').waitFor();
    await page.keyboard.press('/');
    await page.keyboard.type('keys');
    await row(page, 'another.zip').waitFor({state: 'detached'});
    await page.getByRole('link', {name: 'Map keys.zip'}).focus();
    await page.keyboard.press('Enter');
    await page.getByText('The file is not an archive').waitFor();
    await page.goBack();
    await choose(page, path);
    await page.locator('.review').waitFor();
    await page.keyboard.press('Escape');
    await page.locator('.review').waitFor({state: 'detached'});
  });
});

describe('the log-out', () => {
  it('stops the files on their way', async () => {
    const {path} = newFile('left.zip', 4_000_000);
    const page = await world.logIn('office');
    await slowUpload(page, 200_000);
    await sendFile(page, path);
    await page.locator('.sending.sending').waitFor();
    await page.getByRole('button', {name: 'Log out'}).click();
    await page.locator('.login').waitFor();
    const requests: string[] = [];
    page.on('request', (request) => requests.push(request.method()));
    await world.fillLogin(page, world.accounts.office);
    expect(await page.locator('.sending.sending').count()).toBe(0);
    expect(requests).not.toContain('PATCH');
  });

  it('works without a session too', async () => {
    const page = await world.logIn('office');
    await page.context().clearCookies();
    await page.getByRole('button', {name: 'Log out'}).click();
    await page.locator('.login').waitFor();
  });

  it('that the service does not hear is not shown as one', async () => {
    const page = await world.logIn('office');
    await world.command('kill');
    await page.getByRole('button', {name: 'Log out'}).click();
    await page.getByText('The service does not answer. Try again later.').waitFor();
    expect(await page.locator('.login').count()).toBe(0);
    await world.command('start');
    world.complaints.length = 0; // Chromium reports the requests that found no service.
  });
});

describe('an operator', () => {
  it('sees only their own inboxes, no fleet and no bin', async () => {
    const page = await world.logIn('operator');
    await page.locator('.inboxes').getByText('olga').waitFor();
    expect(await page.locator('header nav a').allTextContents()).toEqual(['Files']);
    for (const view of ['fleet', 'people', 'reports', 'bin']) {
      await page.goto(`${world.origin}/#/${view}`);
      await page.getByText('This page is for the farm\'s office.').waitFor();
    }
  });
});

describe('another site', () => {
  it('on another port of the host changes nothing', async () => {
    const page = await world.logIn('office');
    const tls = join(world.folder, 'farm/service/tls');
    const other = createServer({key: readFileSync(join(tls, 'server.key')), cert: readFileSync(join(tls, 'server.pem'))},
      (_request, response) => response.end('<!doctype html><title>other</title>'));
    await new Promise<void>((resolve) => other.listen(0, '127.0.0.1', resolve));
    const forger = await page.context().newPage();
    await forger.goto(`https://localhost:${(other.address() as AddressInfo).port}/`);
    const forged = (method: string, path: string) => forger.evaluate(async ([url, verb]) => {
      await fetch(url as string, {method: verb as string, mode: 'no-cors', credentials: 'include', body: 'x'});
    }, [`${world.origin}${path}`, method]);
    const statuses: number[] = [];
    forger.on('response', (response) => statuses.push(response.status()));
    await forged('POST', '/kelvo-api/v1/bin/1/restore');
    await forged('POST', '/kelvo-api/v1/projects/Curves/user-inbox');
    expect(statuses).toEqual([403, 403]);
    other.close();
  });

  it('cannot show the page in a frame', async () => {
    const page = await world.logIn('office');
    await page.evaluate(() => {
      document.body.append(Object.assign(document.createElement('iframe'), {src: '/', id: 'frame'}));
    });
    await page.waitForFunction(() => {
      const frame = document.querySelector<HTMLIFrameElement>('#frame');
      return frame?.contentDocument === null;
    });
    world.complaints.length = 0; // Chromium reports the refused frame.
  });
});

describe('each view', () => {
  it('has no barrier and fits on a phone', async () => {
    const page = await world.open(await world.newContext({viewport: {width: 360, height: 740}}));
    await page.locator('.login').waitFor();
    await expectNoBarrier(page);
    await world.fillLogin(page, world.accounts.office);
    for (const view of ['files', 'fleet', 'bin']) {
      await world.show(page, view);
      await expectNoBarrier(page);
    }
  });

  it('is in the language of the browser', async () => {
    const page = await world.logIn('office', {locale: 'de-DE'});
    await page.getByRole('button', {name: 'Abmelden'}).waitFor();
  });
});
