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

/** By day and by night, on a phone 360 pixels wide. */
export async function expectNoBarrier(page: Page): Promise<void> {
  for (const colorScheme of ['light', 'dark'] as const) {
    await page.emulateMedia({colorScheme});
    expect(await violations(page), `${page.url()} ${colorScheme}`).toEqual([]);
  }
  expect(await page.evaluate(() => document.documentElement.scrollWidth), page.url()).toBeLessThanOrEqual(360);
  expect(await outOfReach(page), page.url()).toEqual([]);
}

export async function violations(page: Page): Promise<string[]> {
  await page.evaluate(axe.source);
  const result = await page.evaluate(() => (globalThis as unknown as {axe: typeof axe}).axe.run());
  return result.violations.map(({id, nodes}) => `${id}: ${nodes[0]?.html}`);
}
