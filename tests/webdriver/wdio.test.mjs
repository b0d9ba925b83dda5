// WebdriverIO 9 drives Qt's Controls 2 gallery through `uiremote webdriver`: a session with the
// gallery launched for it, css/xpath/accessibility-free finds, a click, typing, Find Elements that
// finds nothing, and ending the session. Environment: UIREMOTE_WEBDRIVER_PYTHON, UIREMOTE_CLIENT_DIR,
// UIREMOTE_LAUNCH, UIREMOTE_GALLERY.
import { test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { mkdtempSync, mkdirSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { remote } from 'webdriverio';

let endpoint;
let port;

before(async () => {
  const home = mkdtempSync(join(tmpdir(), 'uiremote-wdio-'));
  mkdirSync(join(home, 'runtime'), { mode: 0o700 });
  endpoint = spawn(process.env.UIREMOTE_WEBDRIVER_PYTHON || '/usr/bin/python3',
    ['-m', 'uiremote', 'webdriver', '--port', '0', '--launcher', process.env.UIREMOTE_LAUNCH], {
      env: { ...process.env, PYTHONPATH: process.env.UIREMOTE_CLIENT_DIR, QT_QPA_PLATFORM: 'offscreen',
             QT_QUICK_CONTROLS_STYLE: 'Default', HOME: home, XDG_RUNTIME_DIR: join(home, 'runtime') },
      stdio: ['ignore', 'ignore', 'pipe'] });
  port = await new Promise((resolve, reject) => {
    let seen = '';
    const timer = setTimeout(() => reject(new Error('endpoint did not start: ' + seen)), 20000);
    endpoint.stderr.on('data', (chunk) => {
      seen += chunk;
      const found = /listening on http:\/\/[\d.]+:(\d+)/.exec(seen);
      if (found) { clearTimeout(timer); resolve(Number(found[1])); }
    });
  });
});

after(() => { endpoint.kill('SIGTERM'); });

test('WebdriverIO opens a gallery page and types into it', { timeout: 120000 }, async () => {
  const browser = await remote({
    hostname: '127.0.0.1', port, path: '/', logLevel: 'error', connectionRetryCount: 0,
    capabilities: { 'uiremote:options': { app: process.env.UIREMOTE_GALLERY } },
  });
  try {
    assert.equal(await browser.getTitle(), 'Qt Quick Controls 2');
    assert.equal(await $(browser, '#titleLabel').getText(), 'Gallery');
    await $(browser, 'ToolBar ToolButton').click();
    assert.equal(await $(browser, '#listView').isDisplayed(), true);
    await $(browser, "//ItemDelegate[@text='ComboBox']").click();
    assert.equal(await $(browser, '#titleLabel').getText(), 'ComboBox');
    assert.equal(await $(browser, '#noSuchThing').isExisting(), false);
    const boxes = await browser.$$('StackView ComboBox');
    assert.ok(boxes.length >= 2);
    assert.equal(await boxes[0].getTagName(), 'ComboBox');
  } finally {
    await browser.deleteSession();
  }
});

function $(browser, selector) {
  return browser.$(selector);
}
