// Draws the pictures of the documentation, from the page itself.
//   npm --prefix tests/view run pictures
import { join } from 'node:path';
import { launch, open, rested, root, samples, writePage } from './browser.mjs';

const path = writePage(['fox.mdl', 'fox.dof'].map((name) => join(samples, name)));
const browser = await launch();
const { page } = await open(browser, path, { viewport: { width: 1540, height: 480 } });
const draw = async (name, clip) => {
  await rested(page);
  await page.screenshot({ path: join(root, 'docs', name), clip });
};
const { x, y, width, height } = await page.locator('#canvas').boundingBox();
await draw('fox.png', { x, y: y + 2, width, height: height - 2 });
await page.setViewportSize({ width: 1180, height: 680 });
await page.evaluate(() => { kestrixView.choose(6); kestrixView.set(14, 10); });
await page.getByLabel('value of variable 21').fill('35');
await page.getByLabel('value of variable 21').evaluate((field) => {
  field.blur();
  field.closest('li').scrollIntoView({ block: 'center' });
});
await page.keyboard.press('f');
await draw('view.png');
await browser.close();
