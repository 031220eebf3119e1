// Opens the snapshot page that xsltproc made from res/snapshot.xsl in
// headless Chromium and uses it the way a person would: every section starts
// collapsed, clicking a caption shows its table and clicking it again hides
// it, a process's "..." opens its module list, and text from the system that
// looks like markup or script shows as text and never runs. Screenshots go to
// the artifacts folder.
//   node tools/xsl-browser-check.mjs SNAPSHOT.HTML ARTIFACTS_DIR
// playwright-core comes from tools/xsl-browser (npm ci there); the browser is
// the system's Chromium ($CHROMIUM, default /usr/bin/chromium).
import { mkdirSync, statSync } from 'node:fs';
import { join, resolve } from 'node:path';
import { pathToFileURL } from 'node:url';
import { Checks, withBrowser } from './xsl-browser-session.mjs';

const [htmlArg, artifactsArg] = process.argv.slice(2);
if (!htmlArg || !artifactsArg) {
  console.error('usage: node tools/xsl-browser-check.mjs SNAPSHOT.HTML ARTIFACTS_DIR');
  process.exit(2);
}
const html = resolve(htmlArg);
const artifacts = resolve(artifactsArg);
mkdirSync(artifacts, { recursive: true });

// Section ids and captions in the order the page shows them.
const sections = [
  ['system_info', 'System'], ['software_info', 'Software'], ['hardware_info', 'Hardware'],
  ['process_info', 'Process'], ['service_info', 'Service'], ['driver_info', 'Driver'],
  ['startup_info', 'Startup'], ['disk_info', 'Disk'], ['netcard_info', 'Network'],
  ['port_info', 'Port'], ['winsock_info', 'WinSock'], ['ieplugin_info', 'Internet Explore'],
];

const checks = new Checks();
const check = (name, ok, detail = '') => checks.check(name, ok, detail);

// The caption link is the second link of a Title() pair: the first holds the
// marker span "i" + id, the second the caption text.
const markerOf = (page, id) => page.locator(`xpath=//span[@id="i${id}"]`);
const captionOf = (page, id) => page.locator(`xpath=//span[@id="i${id}"]/parent::a/following-sibling::a[1]`);
const blockOf = (page, id) => page.locator(`[id="${id}"]:not(span)`);
const displayOf = (locator) => locator.evaluate((e) => getComputedStyle(e).display);
// A click that cannot happen (the link is hidden or missing) is a failed
// check, and the run goes on with the next one.
async function click(locator, what) {
  try {
    await locator.click({ timeout: 5000 });
    return true;
  } catch (e) {
    check(`can click ${what}`, false, String(e.message || e).split('\n')[0]);
    return false;
  }
}

await withBrowser(checks, async (page) => {
  const pageErrors = [];
  const dialogs = [];
  page.on('pageerror', (e) => pageErrors.push(String(e)));
  page.on('dialog', async (d) => {
    dialogs.push(`${d.type()}: ${d.message()}`);
    await d.dismiss();
  });
  // Nothing on the page may reach the network; a file page has no business to.
  const requests = [];
  page.on('request', (r) => {
    if (!r.url().startsWith('file:')) requests.push(r.url());
  });

  await page.goto(pathToFileURL(html).href, { waitUntil: 'load' });
  check('page title', (await page.title()) === 'Crash Report Template', await page.title());

  // Every section: caption written by Title(), table present and collapsed, marker "+".
  for (const [id, caption] of sections) {
    const text = (await captionOf(page, id).count()) ? (await captionOf(page, id).innerText()).trim() : '(none)';
    check(`${id}: caption reads "${caption}"`, text === caption, `got "${text}"`);
    const table = page.locator(`table#${id}`);
    const present = (await table.count()) === 1;
    check(`${id}: table starts hidden`, present && (await displayOf(table)) === 'none' && !(await table.isVisible()),
      present ? `display ${await displayOf(table)}` : 'no table');
    const mark = (await markerOf(page, id).count()) ? await markerOf(page, id).innerText() : '(none)';
    check(`${id}: marker starts "+"`, mark === '+', `got "${mark}"`);
  }
  await page.screenshot({ path: join(artifacts, 'snapshot-collapsed.png'), fullPage: true });

  // One caption, clicked as a person would: the table appears, the marker turns.
  await click(captionOf(page, 'process_info'), 'the "Process" caption');
  const processTable = page.locator('table#process_info');
  await processTable.waitFor({ state: 'visible', timeout: 5000 }).catch(() => {});
  check('clicking "Process" shows its table', await processTable.isVisible(),
    `display ${await displayOf(processTable)}`);
  check('its marker turns to "-"', (await markerOf(page, 'process_info').innerText()) === '-');
  const svchost = processTable.locator('td', { hasText: /^C:\\Windows\\System32\\svchost\.exe$/ });
  check('the shown table has the svchost row', (await svchost.count()) === 1 && (await svchost.first().isVisible()));
  const otherTable = page.locator('table#service_info');
  check('other sections stay hidden', !(await otherTable.isVisible()));

  // The modules of process 1234 are a block of their own, collapsed until "..." is clicked.
  const modules = blockOf(page, '1234');
  check('process modules start hidden', (await modules.count()) === 1 && !(await modules.isVisible()));
  await click(captionOf(page, '1234'), 'the "..." of process 1234');
  check('clicking "..." shows the modules', await modules.isVisible());
  const modulesText = await modules.innerText();
  check('modules list ntdll.dll and the <evil> name as text',
    modulesText.includes('C:\\Windows\\SYSTEM32\\ntdll.dll') && modulesText.includes('C:\\Windows\\system32\\<evil>.dll'),
    JSON.stringify(modulesText));

  // Markup and script in system text are shown, not obeyed.
  await click(captionOf(page, 'software_info'), 'the "Software" caption');
  const softwareTable = page.locator('table#software_info');
  check('clicking "Software" shows its table', await softwareTable.isVisible());
  const scriptCell = softwareTable.locator('td', { hasText: "<script>alert('x')</script>" });
  check('a name holding a script element shows as text', (await scriptCell.count()) === 1 && (await scriptCell.isVisible()));
  check('the description with <b> shows as text and makes no bold element',
    (await softwareTable.locator('td', { hasText: 'Tom & Jerry "Player" <b>bold</b>' }).count()) === 1 &&
      (await softwareTable.locator('b').count()) === 0);
  check('no dialog was opened by page content', dialogs.length === 0, dialogs.join('; '));

  // Every other caption opens its table too; then the page is photographed open.
  for (const [id, caption] of sections) {
    if (id === 'process_info' || id === 'software_info') continue;
    await click(captionOf(page, id), `the "${caption}" caption`);
    check(`clicking "${caption}" shows its table`, await page.locator(`table#${id}`).isVisible());
  }
  const diskHeader = page.locator('table#disk_info tr.topic td').first();
  check('disk table header is the partition word', (await diskHeader.innerText()) === '\u5206\u533a');
  const portTable = await page.locator('table#port_info').innerText();
  check('port table shows TCP and leaves the UDP endpoint out', portTable.includes('LISTEN') && !portTable.includes('5353'));
  await page.screenshot({ path: join(artifacts, 'snapshot-open.png'), fullPage: true });

  // A second click on a caption hides the table again.
  await click(captionOf(page, 'process_info'), 'the "Process" caption again');
  check('clicking "Process" again hides its table', !(await processTable.isVisible()));
  check('its marker turns back to "+"', (await markerOf(page, 'process_info').innerText()) === '+');

  const footer = page.locator('div.footer a');
  check('footer links to our site', (await footer.count()) === 1 &&
    (await footer.getAttribute('href')) === 'https://www.vexlon.example/');
  check('no script errors on the page', pageErrors.length === 0, pageErrors.join('; '));
  check('the page asked for nothing outside the file', requests.length === 0, requests.join(' '));

  for (const shot of ['snapshot-collapsed.png', 'snapshot-open.png']) {
    let size = 0;
    try { size = statSync(join(artifacts, shot)).size; } catch { /* missing */ }
    check(`screenshot ${shot} written`, size > 10000, `${size} bytes`);
  }
});
checks.finish();
