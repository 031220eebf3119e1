// Opens the page made from a snapshot of a live system in headless Chromium:
// every section named on the command line must have its caption, start
// collapsed, open on a click and show at least one row of data. The page
// opened in full is photographed into the artifacts folder.
//   node tools/xsl-live-check.mjs SNAPSHOT.HTML ARTIFACTS_DIR SECTION...
import { mkdirSync, statSync } from 'node:fs';
import { join, resolve } from 'node:path';
import { pathToFileURL } from 'node:url';
import { Checks, withBrowser } from './xsl-browser-session.mjs';

const [htmlArg, artifactsArg, ...sections] = process.argv.slice(2);
if (!htmlArg || !artifactsArg || sections.length === 0) {
  console.error('usage: node tools/xsl-live-check.mjs SNAPSHOT.HTML ARTIFACTS_DIR SECTION...');
  process.exit(2);
}
const artifacts = resolve(artifactsArg);
mkdirSync(artifacts, { recursive: true });

const checks = new Checks();
const check = (name, ok, detail = '') => checks.check(name, ok, detail);

const captionOf = (page, id) => page.locator(`xpath=//span[@id="i${id}"]/parent::a/following-sibling::a[1]`);
// Rows of the section's own table that are not its header.
const dataRows = (page, id) => page.locator(`xpath=//table[@id="${id}"]/tr[not(@class="topic")] | //table[@id="${id}"]/tbody/tr[not(@class="topic")]`);

await withBrowser(checks, async (page) => {
  const pageErrors = [];
  page.on('pageerror', (e) => pageErrors.push(String(e)));
  await page.goto(pathToFileURL(resolve(htmlArg)).href, { waitUntil: 'load' });
  await page.screenshot({ path: join(artifacts, 'live-collapsed.png'), fullPage: true });
  for (const id of sections) {
    const table = page.locator(`table#${id}`);
    check(`${id}: its table is on the page`, (await table.count()) === 1);
    if ((await table.count()) !== 1) continue;
    check(`${id}: starts hidden`, !(await table.isVisible()));
    try {
      await captionOf(page, id).click({ timeout: 5000 });
    } catch (e) {
      check(`${id}: caption can be clicked`, false, String(e.message || e).split('\n')[0]);
      continue;
    }
    check(`${id}: a click shows it`, await table.isVisible());
    const rows = await dataRows(page, id).count();
    check(`${id}: shows data`, rows > 0, `${rows} rows`);
    console.log(`  ${id}: ${rows} rows`);
  }
  await page.screenshot({ path: join(artifacts, 'live-open.png'), fullPage: true });
  check('no script errors on the page', pageErrors.length === 0, pageErrors.join('; '));
  let size = 0;
  try { size = statSync(join(artifacts, 'live-open.png')).size; } catch { /* missing */ }
  check('screenshot live-open.png written', size > 10000, `${size} bytes`);
});
checks.finish();
