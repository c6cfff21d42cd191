// The fleet in Chromium: consoles on the map, live, with the track of a day.
import type {Page} from 'playwright-core';
import {beforeAll, describe, expect, it} from 'vitest';
import {expectNoBarrier} from './barriers';
import {replace} from './herd';
import {useWorld, world} from './world';

useWorld();

const address = '00:1b:44:11:3a:b7';
const nowS = () => Math.floor(Date.now() / 1000);
/** The page's clock is up to ten seconds behind. */
const behindS = 20;

const move = (time_s: number, latitude: number, longitude: number) =>
  world.command('report', 'POST', '/positions', {time_s, latitude, longitude, hardware_address: address});

beforeAll(async () => {
  const console = {console_string: 'Console 12', host_string: '4.20.1', hardware_address: address, kind: 'Controller'};
  await world.command('report', 'PUT', '/environment', {timestamp_ms: Date.now(), console, controller: console});
  await world.command('report', 'PUT', '/devices',
    {timestamp_ms: Date.now(), state: 1, flag: true, device: {hardware_address: 'aa:bb', kind: 'GPS receiver'}});
  for (let minute = 11; minute >= 0; --minute) { // A loop that ends an hour ago
    const angle = (minute * Math.PI) / 7;
    await move(nowS() - 3600 - 60 * minute, 51.5 + 0.002 * Math.sin(angle), 5.5 + 0.004 * (1 - Math.cos(angle)));
  }
});

const dayAfter = (day: string) => new Date(Date.parse(day) + 86_400_000).toISOString().slice(0, 10);

async function openFleet(): Promise<Page> {
  const page = await world.logIn('office');
  await page.getByRole('link', {name: 'Fleet', exact: true}).click();
  await page.locator('.map canvas').waitFor();
  return page;
}

/** A place of the map's canvas with a colour, as parts of its width and height. */
const findColour = (page: Page, red: number, green: number, blue: number) =>
  page.waitForFunction((wanted) => {
    const canvas = document.querySelector<HTMLCanvasElement>('.map canvas');
    if (!canvas) return undefined;
    const {data, width, height} = canvas.getContext('2d')!.getImageData(0, 0, canvas.width, canvas.height);
    for (let at = 0; at < data.length; at += 4) {
      if (wanted.every((each, index) => data[at + index] === each)) return [(at / 4) % width / width, Math.floor(at / 4 / width) / height];
    }
    return undefined;
  }, [red, green, blue]).then((found) => found.jsonValue());

const lackColour = (page: Page, ...colour: number[]) =>
  page.waitForFunction((wanted) => {
    const canvas = document.querySelector<HTMLCanvasElement>('.map canvas')!;
    const {data} = canvas.getContext('2d')!.getImageData(0, 0, canvas.width, canvas.height);
    for (let at = 0; at < data.length; at += 4) {
      if (wanted.every((each, index) => data[at + index] === each)) return false;
    }
    return true;
  }, colour);

describe('the fleet', () => {
  it('tells the age of a position from the time of its receipt', async () => {
    const page = await openFleet();
    await page.getByText('Position measured 1 hour ago').waitFor();
    await page.getByText('Last contact this minute').waitFor();
    await findColour(page, 0x6b, 0x71, 0x6c); // An old position is grey.
    await page.getByRole('link', {name: /Console 12/}).click();
    await page.getByText('came late').waitFor();
    await page.getByText('4.20.1').waitFor();
    await page.getByText('GPS receiver · aa:bb').waitFor();
  });

  it('tells no speed of now from old positions', async () => {
    const page = await openFleet();
    await page.getByRole('link', {name: /Console 12/}).click();
    const start = nowS() - 3030;
    await move(start, 51.5, 5.5);
    await move(start + 60, 51.5, 5.503);
    await page.getByText('12.5 km/h · 90°').waitFor();
    await page.locator('.consoles').getByText('Position measured 49 minutes ago').waitFor();
    expect(await page.locator('.consoles').getByText('km/h').count()).toBe(0);
  });

  it('shows speed and heading of a console as it moves, and chooses it on the map', async () => {
    const page = await openFleet();
    const start = nowS() - 60 - behindS;
    await move(start, 51.5, 5.5);
    await page.getByText('Position measured 1 minute ago').waitFor();
    await move(start + 60, 51.5, 5.503); // 207.7 m to the east in a minute
    await page.getByText('12 km/h').waitFor();
    const [across = 0, down = 0] = (await findColour(page, 0x1d, 0x6b, 0x3a))!;
    const box = (await page.locator('.map').boundingBox())!;
    await page.mouse.click(box.x + across * box.width, box.y + down * box.height);
    await page.getByText('12.5 km/h · 90°').first().waitFor();
    expect(page.url()).toMatch(/#\/fleet\/\d+$/);
  });

  it('replays the track of today', async () => {
    const page = await openFleet();
    await page.getByRole('link', {name: /Console 12/}).click();
    const slider = page.getByRole('slider', {name: 'Time of the replay'});
    await slider.waitFor();
    await findColour(page, 0x0b, 0x57, 0xd0); // The line of the track.
    await slider.focus();
    await page.keyboard.press('End');
    await page.locator('.replay output').getByText('12.5 km/h · 90°').waitFor();
    await page.getByRole('button', {name: 'Play'}).click();
    await page.waitForFunction(() => {
      const input = document.querySelector<HTMLInputElement>('.replay input');
      return input?.value === input?.max && document.querySelector('.replay button')?.textContent === 'Play';
    });
    await page.getByLabel('Day').fill('2026-01-01');
    await page.getByText('The service received no track on this day.').waitFor();
  });

  it('follows the track of today, also after midnight, but not a day that was chosen', async () => {
    const context = await world.newContext();
    await context.clock.install();
    const page = await world.open(context);
    await world.fillLogin(page, world.accounts.office);
    await page.getByRole('link', {name: 'Fleet', exact: true}).click();
    await page.getByRole('link', {name: /Console 12/}).click();
    const slider = page.getByRole('slider', {name: 'Time of the replay'});
    const last = async () => Number(await slider.getAttribute('max'));
    await slider.waitFor();
    const before = await last();
    await move(nowS() - 2 * 86_400, 51.5, 5.5);
    await page.clock.runFor(30_000);
    await page.waitForFunction((max) => Number(document.querySelector<HTMLInputElement>('.replay input')?.max) === max, before + 1);
    await page.locator('.replay output').getByText(/ 20\d\d, /).waitFor(); // The first point was measured on another day.
    await world.picture(page, 'late-point');
    const day = page.getByLabel('Day');
    const today = await day.inputValue();
    const tomorrow = dayAfter(today);
    await page.clock.fastForward(24 * 3_600_000);
    await page.waitForFunction((wanted) => document.querySelector<HTMLInputElement>('.console-detail input')?.value === wanted, tomorrow);
    await day.fill(today);
    await slider.waitFor();
    await page.clock.fastForward(24 * 3_600_000);
    await page.waitForFunction((wanted) => document.querySelector<HTMLInputElement>('.console-detail input')?.max === wanted, dayAfter(tomorrow));
    expect(await day.inputValue()).toBe(today);
    await move(nowS(), 51.5, 5.503);
  });

  it('is searched by console and operator, and shows the consoles without contact', async () => {
    const page = await openFleet();
    const search = page.getByRole('searchbox');
    await search.fill('OLGA');
    await page.getByRole('link', {name: /Console 12/}).waitFor();
    await search.fill('piet');
    await page.getByText('No console matches the search.').waitFor();
    await search.fill('');
    await page.getByLabel('No contact for an hour').check();
    await page.getByText('No console matches the search.').waitFor();
  });

  it('has no barrier with a chosen console, and fits on a phone', async () => {
    const page = await world.logIn('office', {viewport: {width: 360, height: 740}});
    await page.getByRole('link', {name: 'Fleet', exact: true}).click();
    await page.getByRole('link', {name: /Console 12/}).click();
    await page.getByRole('slider').waitFor();
    await expectNoBarrier(page);
  });

  it('tells the age of a position from its receipt if the clock of the console is ahead', async () => {
    const page = await world.logIn('office');
    await replace(page, '/consoles', ({consoles: [console]}) => {
      console.position.time_s = nowS() + 20 * 3600;
      console.position.received_at = new Date((nowS() - 10 * 3600 - behindS) * 1000).toISOString();
    });
    await page.getByRole('link', {name: 'Fleet', exact: true}).click();
    await page.getByText('Position measured 10 hours ago').waitFor();
    await findColour(page, 0x6b, 0x71, 0x6c);
    await page.getByRole('link', {name: /Console 12/}).click();
    await page.getByText('the console’s clock is ahead').waitFor();
    await world.picture(page, 'clock-ahead');
  });

  it('tells the last contact of a console that shares no position', async () => {
    const ago = (minutes: number) => new Date((nowS() - 60 * minutes - behindS) * 1000).toISOString();
    const page = await world.logIn('office');
    await replace(page, '/consoles', ({consoles: [console]}) => {
      Object.assign(console, {position: null, devices: [], last_contact_at: ago(10)});
      console.environment.received_at = ago(300);
    });
    await page.getByRole('link', {name: 'Fleet', exact: true}).click();
    await page.getByRole('link', {name: /Console 12.*Last contact 10 minutes ago\s*No position/}).waitFor();
    await page.getByLabel('No contact for an hour').check();
    await page.getByText('No console matches the search.').waitFor();
  });

  it('shows a console that never had contact, and no console, as that', async () => {
    const page = await world.logIn('office', {viewport: {width: 360, height: 740}});
    await replace(page, '/consoles', (document) => {
      document.consoles = [{...document.consoles[0], console_string: '', environment: null, position: null, devices: [], last_contact_at: null}];
    });
    await page.getByRole('link', {name: 'Fleet', exact: true}).click();
    await page.getByRole('link', {name: `${address} olga Last contact not known No position`}).click();
    await page.getByText('The console has reported no equipment.').waitFor();
    await page.getByLabel('No contact for an hour').check();
    await page.locator('.consoles a').waitFor();
    await expectNoBarrier(page);
    await page.emulateMedia({colorScheme: 'light'});
    await world.picture(page, 'no-contact-360');
    await page.setViewportSize({width: 1280, height: 800});
    await world.picture(page, 'no-contact-1280');

    let answer = (_consoles: object[]) => undefined as void;
    await page.unrouteAll();
    await page.route(/\/consoles\?/, (route) => {
      answer = (consoles) => void route.fulfill({json: {consoles}});
    });
    await Promise.all([page.waitForRequest(/\/consoles\?/), page.reload()]);
    await page.locator('main').getByText('Loading').waitFor();
    answer([]);
    await page.getByText('No console is listed.').waitFor();
  });

  it('shows equipment and new consoles without a position after a minute, while the page is visible', async () => {
    const reads: string[] = [];
    const page = await world.logIn('office');
    page.on('request', (request) => {
      if (request.url().includes('/consoles?')) reads.push(request.url());
    });
    await page.clock.install();
    await page.getByRole('link', {name: 'Fleet', exact: true}).click();
    await page.getByRole('link', {name: /Console 12/}).click();
    await page.getByText('GPS receiver · aa:bb').waitFor();
    await findColour(page, 0x0b, 0x57, 0xd0);
    const quiet = {console_string: 'Quiet \u202e21', host_string: '1', hardware_address: '00:1b:44:00:00:01', kind: 'Controller'};
    await world.command('report', 'PUT', '/environment', {timestamp_ms: Date.now(), console: quiet, controller: quiet});
    await page.clock.runFor(60_000);
    await page.getByRole('link', {name: /Quiet/}).getByText('No position').click();
    await page.getByText('The console has reported no equipment.').waitFor();
    expect(await page.locator('.consoles bdi').allInnerTexts()).toContain('Quiet \u202e21');
    await lackColour(page, 0xb3, 0x26, 0x1e); // The mark of the replay of the other console.
    await world.picture(page, 'direction');

    const show = (isHidden: boolean) => page.evaluate((hidden) => {
      Object.defineProperty(document, 'hidden', {value: hidden, configurable: true});
      document.dispatchEvent(new Event('visibilitychange'));
    }, isHidden);
    await show(true);
    await world.command('report', 'PUT', '/devices',
      {timestamp_ms: Date.now(), state: 1, flag: true, device: {hardware_address: 'cc:dd', kind: 'Valve'}});
    const before = reads.length;
    await page.clock.runFor(300_000);
    await show(false);
    await page.getByText('Valve · cc:dd').waitFor();
    expect(reads.length).toBe(before + 1);
  });

  it('removes a console that is no longer in use, but not one with a session', async () => {
    const sold = {console_string: 'Sold 7', host_string: '1', hardware_address: '00:1b:44:00:00:07', kind: 'Controller'};
    await world.command('report', 'PUT', '/environment', {timestamp_ms: Date.now(), console: sold, controller: sold});
    const page = await openFleet();
    const remove = async () => {
      await page.getByRole('button', {name: 'Remove the console'}).click();
      await page.locator('.ask .main').click();
    };
    await page.getByRole('link', {name: /Sold 7/}).click();
    await remove();
    await page.locator('.ask .error').getByText('Somebody is still logged in on this console.').waitFor();
    await world.picture(page, 'console-in-use');
    await page.getByRole('button', {name: 'Cancel'}).click();
    await move(nowS(), 51.5, 5.503); // The session reports for another console now.
    await remove();
    await page.getByText('Sold 7 is removed.').waitFor();
    await page.getByRole('link', {name: /Sold 7/}).waitFor({state: 'detached'});
    await page.getByRole('link', {name: /Console 12/}).waitFor();
    world.complaints.length = 0; // Chromium reports the refusal.
  });

  it('shows nothing of a console that is not on the farm', async () => {
    const page = await openFleet();
    await page.goto(`${world.origin}/#/fleet/999999`);
    await page.getByText('This console is not here.').waitFor();
  });
});

describe('the office of another farm', () => {
  it('sees nothing of this farm, also by guessed links', async () => {
    const [id] = await world.command<number[]>('put', world.newFile('secret.zip', new Uint8Array(1)), 'To Console');
    const page = await world.logInAs(await world.command('second_farm'));
    const statuses: number[] = [];
    page.on('response', (response) => {
      if (/\/(resources|consoles|users|bin)\/\d+/.test(response.url())) statuses.push(response.status());
    });
    for (const hash of ['files/8', `map/${id}`, 'fleet/1', 'people/2', 'people/3', 'reports', 'bin', 'people', 'account']) {
      await page.goto(`${world.origin}/#/${hash}`);
      await page.locator('main').getByText(/./).first().waitFor();
      const words = (await page.locator('#page').innerText()).replace(/^Dale Farm.*$/m, '');
      expect(words).not.toMatch(/olga|Console 12|secret|Hill Farm|piet/);
    }
    const guessed = await page.evaluate((file) => Promise.all([`resources/${file}`, `resources/${file}/content`,
      'consoles/1/track', 'users/3/export', 'users/3/track'].map(async (path) => (await fetch(`/kelvo-api/v1/${path}`)).status)), id);
    expect(guessed).toEqual([404, 404, 404, 404, 404]);
    expect(statuses.every((status) => status === 404)).toBe(true);
    world.complaints.length = 0; // Chromium reports the refused requests.
  });
});
