// A farm with its service, and Chromium that trusts the service's authority as an office's computer would.
import {execFileSync, spawn, type ChildProcess} from 'node:child_process';
import {existsSync, mkdirSync, mkdtempSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {createInterface} from 'node:readline';
import {chromium, type Browser, type BrowserContext, type Page} from 'playwright-core';
import {afterAll, afterEach, beforeAll, expect} from 'vitest';

const office = join(import.meta.dirname, '../..');

/** Chromium without its own window needs half the processor time. KELVO_CHROMIUM names another one. */
const headless = '/usr/bin/chromium-headless-shell';
const chromiumPath = process.env['KELVO_CHROMIUM'] ?? (existsSync(headless) ? headless : '/usr/bin/chromium');

interface Accounts {
  address: string;
  ca: string;
  admin: [string, string];
  office: [string, string];
  operator: [string, string];
}

export class World {
  readonly folder = mkdtempSync(join(tmpdir(), 'kelvo-office-'));
  accounts!: Accounts;
  /** Messages of the browser that must not be there: errors of scripts, refused by the policy, failed requests. */
  readonly complaints: string[] = [];
  private farm!: ChildProcess;
  private lines!: AsyncIterator<string>;
  private browser!: Browser;

  static async start(): Promise<World> {
    const world = new World();
    world.farm = spawn('/usr/bin/python3', [join(import.meta.dirname, 'farm.py'), '--web', join(office, 'dist'),
      '--build', process.env['KELVO_BUILD'] ?? join(office, '../build/check'), '--out', join(world.folder, 'farm')],
    {stdio: ['pipe', 'pipe', 'inherit']});
    world.lines = createInterface({input: world.farm.stdout!})[Symbol.asyncIterator]();
    world.accounts = JSON.parse(await world.line()) as Accounts;
    world.browser = await chromium.launch({
      executablePath: chromiumPath,
      args: ['--no-sandbox'],
      env: {...process.env, HOME: world.homeThatTrusts()} as Record<string, string>,
    });
    return world;
  }

  /** Writes a file that a test can choose. Returns its path. */
  newFile(name: string, content: Uint8Array): string {
    const path = join(this.folder, name);
    writeFileSync(path, content);
    return path;
  }

  async stop(): Promise<void> {
    await this.browser?.close();
    const ended = new Promise((resolve) => this.farm.once('exit', resolve));
    this.farm.stdin!.end();
    await ended;
    rmSync(this.folder, {recursive: true});
  }

  /** A command of farm.py. */
  async command<T = unknown>(...words: unknown[]): Promise<T> {
    this.farm.stdin!.write(`${JSON.stringify(words)}\n`);
    const line = await this.line();
    if (!line.startsWith('ok ')) throw new Error(line);
    return JSON.parse(line.slice(3)) as T;
  }

  get origin(): string {
    return `https://localhost:${this.accounts.address.split(':').at(-1)}`;
  }

  newContext(options: Parameters<Browser['newContext']>[0] = {}): Promise<BrowserContext> {
    return this.browser.newContext({viewport: {width: 1280, height: 800}, locale: 'en-GB', ...options});
  }

  async closePages(): Promise<void> {
    await Promise.all(this.browser.contexts().map((context) => context.close()));
  }

  async open(context: BrowserContext, hash = ''): Promise<Page> {
    const page = await context.newPage();
    page.on('pageerror', (error) => this.complaints.push(error.message));
    page.on('console', (message) => {
      // Chromium reports each refused request. A page without a session gets 401 for its first request.
      if (message.type() === 'error' && !/ 401 /.test(message.text())) this.complaints.push(message.text());
    });
    await page.goto(`${this.origin}/${hash}`);
    return page;
  }

  /** Shows a view. The page draws it after the address has changed. */
  async show(page: Page, view: string): Promise<void> {
    await page.goto(`${this.origin}/#/${view}`);
    await page.locator(`header a[href="#/${view.split('/')[0]}"][aria-current]`).waitFor();
  }

  /** Shows an inbox, by its kind or its place in the list. The page draws it after the click. */
  async openInbox(page: Page, which: string | number): Promise<void> {
    const links = page.locator('.inboxes details[open] a');
    const link = typeof which === 'number' ? links.nth(which) : links.filter({hasText: which});
    await link.click();
    await link.and(page.locator('[aria-current=page]')).waitFor();
  }

  /** Keeps a picture of the page if KELVO_PICTURES names a folder. */
  async picture(page: Page, name: string): Promise<void> {
    const folder = process.env['KELVO_PICTURES'];
    if (folder) await page.screenshot({path: join(folder, `${name}.png`)});
  }

  /** A page of a new browser profile, logged in. */
  logIn(role: 'admin' | 'office' | 'operator', options: Parameters<Browser['newContext']>[0] = {}): Promise<Page> {
    return this.logInAs(this.accounts[role], options);
  }

  async logInAs(account: [string, string], options: Parameters<Browser['newContext']>[0] = {}): Promise<Page> {
    const page = await this.open(await this.newContext(options));
    await this.fillLogin(page, account);
    return page;
  }

  async fillLogin(page: Page, [name, password]: [string, string]): Promise<void> {
    await page.locator('input[name=user]').fill(name);
    await page.locator('input[name=password]').fill(password);
    await page.locator('form button').click();
    await page.locator('.link.live').waitFor();
  }

  private async line(): Promise<string> {
    const {value, done} = await this.lines.next();
    if (done) throw new Error('farm.py has ended');
    return value;
  }

  /** Makes a database of certificates in the folder, with the service's authority. */
  trust(folder: string): void {
    mkdirSync(folder, {recursive: true});
    execFileSync('certutil', ['-d', `sql:${folder}`, '-N', '--empty-password']);
    execFileSync('certutil', ['-d', `sql:${folder}`, '-A', '-t', 'C,,', '-n', 'kelvo', '-i', this.accounts.ca]);
  }

  private homeThatTrusts(): string {
    const home = join(this.folder, 'home');
    this.trust(join(home, '.pki/nssdb'));
    return home;
  }
}

export let world: World;

/** One world for the tests of a file. A complaint of the browser fails the test. With `keepsPages`, the pages stay open for the next test. */
export function useWorld({keepsPages = false} = {}): void {
  beforeAll(async () => {
    world = await World.start();
  });
  afterAll(() => world?.stop());
  afterEach(async () => {
    if (!keepsPages) await world.closePages();
    expect(world.complaints.splice(0)).toEqual([]);
  });
}

/** Returns the function that ends the limit. */
export async function slowUpload(page: Page, bytesPerSecond: number): Promise<() => Promise<void>> {
  const session = await page.context().newCDPSession(page);
  await session.send('Network.emulateNetworkConditions',
    {offline: false, latency: 20, downloadThroughput: -1, uploadThroughput: bytesPerSecond});
  return () => session.detach();
}
