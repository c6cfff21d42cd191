// The test for barriers: what keeps people with a screen reader or a keyboard from using a view.
import axe from 'axe-core';
import type {Page} from 'playwright-core';

export async function violations(page: Page): Promise<string[]> {
  await page.evaluate(axe.source);
  const result = await page.evaluate(() => (globalThis as unknown as {axe: typeof axe}).axe.run());
  return result.violations.map(({id, nodes}) => `${id}: ${nodes[0]?.html}`);
}
