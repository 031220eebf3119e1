// What both snapshot page checks share: named checks with a summary line,
// and one headless Chromium session on a throwaway profile (playwright-core
// from tools/xsl-browser, the browser from $CHROMIUM or /usr/bin/chromium).
import { createRequire } from 'node:module';
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const require = createRequire(new URL('./xsl-browser/package.json', import.meta.url));
const { chromium } = require('playwright-core');

export class Checks {
  constructor() {
    this.passed = 0;
    this.failed = 0;
  }

  check(name, ok, detail = '') {
    if (ok) this.passed++; else this.failed++;
    console.log(`${ok ? 'PASS' : 'FAIL'} ${name}${!ok && detail ? `: ${detail}` : ''}`);
  }

  // Prints the summary and ends the process: success needs a pass and no failure.
  finish() {
    console.log(`${this.passed} passed, ${this.failed} failed`);
    process.exit(this.failed === 0 && this.passed > 0 ? 0 : 1);
  }
}

// Runs `use(page)` in a fresh browser; a thrown error is a failed check.
export async function withBrowser(checks, use) {
  const profile = mkdtempSync(join(tmpdir(), 'xsl-browser-profile-'));
  let context;
  try {
    context = await chromium.launchPersistentContext(profile, {
      executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
      headless: true,
      viewport: { width: 1280, height: 900 },
      args: [
        '--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
        '--disable-background-networking', '--disable-component-update', '--disable-sync',
      ],
    });
    const page = context.pages()[0] || (await context.newPage());
    page.setDefaultTimeout(10000);
    await use(page);
  } catch (e) {
    checks.check('browser session', false, String(e && e.stack ? e.stack : e));
  } finally {
    if (context) await context.close().catch(() => {});
    rmSync(profile, { recursive: true, force: true });
  }
}
