// The test for barriers: what keeps people with a screen reader or a keyboard from using a view.
import axe from 'axe-core';
import type {Page} from 'playwright-core';
import {expect} from 'vitest';

/** The controls that cannot be scrolled into sight. */
const outOfReach = (page: Page) => page.evaluate(() =>
  [...document.querySelectorAll('main :is(a, button, input, select)')].filter((each) => {
    each.scrollIntoView();
    const {top, bottom, height} = each.getBoundingClientRect();
    return height > 0 && (top < -1 || bottom > innerHeight + 1);
  }).map(({outerHTML}) => outerHTML));

/** By day and by night, on a phone 360 pixels wide. The night changes only colours. */
export async function expectNoBarrier(page: Page): Promise<void> {
  await page.emulateMedia({colorScheme: 'light'});
  expect(await violations(page), page.url()).toEqual([]);
  await page.emulateMedia({colorScheme: 'dark'});
  expect(await violations(page, ['color-contrast']), `${page.url()} dark`).toEqual([]);
  expect(await page.evaluate(() => document.documentElement.scrollWidth), page.url()).toBeLessThanOrEqual(360);
  expect(await outOfReach(page), page.url()).toEqual([]);
}

/** The elements that break one of these rules, or any rule. */
export async function violations(page: Page, rules?: string[]): Promise<string[]> {
  if (!await page.evaluate(() => 'axe' in globalThis)) await page.evaluate(axe.source);
  const result = await page.evaluate((runOnly) => (globalThis as unknown as {axe: typeof axe}).axe.run(
    {resultTypes: ['violations'], ...(runOnly && {runOnly})}), rules);
  return result.violations.map(({id, nodes}) => `${id}: ${nodes[0]?.html}`);
}
