// The test for barriers: what keeps people with a screen reader or a keyboard from using a view.
import axe from 'axe-core';
import type {Page} from 'playwright-core';
import {expect} from 'vitest';

/** By day and by night, on a phone 360 pixels wide. */
export async function expectNoBarrier(page: Page): Promise<void> {
  for (const colorScheme of ['light', 'dark'] as const) {
    await page.emulateMedia({colorScheme});
    expect(await violations(page), `${page.url()} ${colorScheme}`).toEqual([]);
  }
  expect(await page.evaluate(() => document.documentElement.scrollWidth), page.url()).toBeLessThanOrEqual(360);
}

export async function violations(page: Page): Promise<string[]> {
  await page.evaluate(axe.source);
  const result = await page.evaluate(() => (globalThis as unknown as {axe: typeof axe}).axe.run());
  return result.violations.map(({id, nodes}) => `${id}: ${nodes[0]?.html}`);
}
