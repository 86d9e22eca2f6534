// SPDX-License-Identifier: Apache-2.0
// Hostile names, pages of other origins, and wrong tokens.
import assert from 'node:assert/strict';
import {createServer} from 'node:http';
import {after, before, describe, it} from 'node:test';
import {checkFitsWidth, closePage, consoleTest, eventually, launchBrowser, narrow, openPage} from './fixture.mjs';

let browser;
let fixture;
before(async () => { browser = await launchBrowser(); });
after(() => browser.close());

/// The tests open their own pages.
const test = (name, act) => consoleTest(it, () => browser, name, (all) => {
  ({fixture} = all);
  return act();
}, {washer: false, console: false});

const anImage = '<img src=x onerror=hit=1>';
const aScript = '</script><script>hit=1</script>';
const rightToLeft = 'caf\u202eemoh\u2066';
const hostileRadio = [
  {ssid: anImage, authtype: 4, enctype: 3, signal_level: -40, password: 'right'},
  {ssid: aScript, signal_level: -50}, {ssid: rightToLeft, signal_level: -60},
  {ssid: 'W'.repeat(32), signal_level: -70}, {ssid_hex: 'ff00c3', signal_level: -80}, {ssid_hex: 'fffec3', signal_level: -90},
];

describe('Hostile names', () => {
  test('are shown as text in all views', async () => {
    await fixture.startWasher({radio: hostileRadio});
    const page = await openPage(browser, fixture.address, {viewport: narrow});
    await fixture.run('phone', {step: 'connect'});
    await page.locator('[data-step="scan"] button').click();
    const names = page.locator('.ssid bdi');
    await eventually('five networks', async () => await names.count() === 5);
    assert.deepEqual((await names.allTextContents()).slice(0, 4),
      [anImage, aScript, 'caf\\u{202e}emoh\\u{2066}', 'W'.repeat(32)]);

    await page.getByRole('radio', {name: anImage}).check();
    await page.getByLabel('Password optional').fill('wrong');
    await page.locator('[data-step="choose"] button[type="submit"]').click();
    await page.locator('.refusal', {hasText: anImage}).waitFor();
    await fixture.run('phone', {step: 'rename', with: {nick: anImage}});
    await page.locator('#device strong', {hasText: anImage}).waitFor();
    await checkFitsWidth(page);

    for (const view of ['Cloud', 'Events', 'Agent', 'State', 'Timeline']) {
      await page.getByRole('button', {name: view, exact: true}).click();
      await page.locator('details').evaluateAll((all) => all.forEach((one) => { one.open = true; }));
      await checkFitsWidth(page);
    }
    const entries = page.locator('#entries .entry', {hasText: 'nick_changed_cb'});
    await entries.last().click();
    await page.locator('#entries pre', {hasText: anImage}).waitFor();
    assert.equal(await page.locator('img, #entries script, main script').count(), 0);
    assert.equal(await page.evaluate(() => globalThis.hit), undefined);
    await closePage(page);
  });
});

describe('A page without the right token', () => {
  const expected = /401/;

  test('explains where the token is and accepts it', async () => {
    const page = await openPage(browser, `${fixture.origin}/#${'0'.repeat(32)}`, {ready: false, expected});
    await page.getByRole('heading', {name: 'This page is not authorized'}).waitFor();
    await page.getByText('control.json').waitFor();
    assert.equal(await page.locator('main').isVisible(), false);
    assert.equal(await page.locator('#version').textContent(), '');

    await page.getByLabel('Token').fill(fixture.http.token);
    await page.getByRole('button', {name: 'Use this token'}).click();
    await page.locator('body[data-status="connected"]').waitFor();
    assert.equal(await page.locator('#locked').isVisible(), false);
    await closePage(page);
  });

  test('accepts the whole address, in its field and in the address bar', async () => {
    const page = await openPage(browser, fixture.origin, {ready: false, expected});
    await page.getByLabel('Token').fill(fixture.address);
    await page.getByRole('button', {name: 'Use this token'}).click();
    await page.locator('body[data-status="connected"]').waitFor();
    await page.goto(`${fixture.origin}/#wrong`);
    await page.locator('body[data-status="locked"]').waitFor();
    await page.goto(fixture.address);
    await page.locator('body[data-status="connected"]').waitFor();
    await closePage(page);
  });

  test('removes the token from the address and keeps it across a reload', async () => {
    const page = await openPage(browser, fixture.address);
    assert.equal(page.url(), `${fixture.origin}/`);
    await page.reload();
    await page.locator('body[data-status="connected"] #version:not(:empty)').waitFor();
    await closePage(page);
  });
});

describe('A page of another origin', () => {
  let server;
  let page;
  const begin = async () => {
    server = createServer((request, response) => response.setHeader('Content-Type', 'text/html').end('<p>elsewhere</p>'));
    await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
    page = await openPage(browser, `http://127.0.0.1:${server.address().port}/`, {ready: false, expected: /./});
  };
  const finish = async () => {
    await page.context().close();
    server.close();
  };

  test('cannot run commands, even with the token', async () => {
    await begin();
    const results = await page.evaluate(async ({origin, token}) => {
      const post = (options) => fetch(`${origin}/v1/phone`, {method: 'POST', body: '{"step":"connect"}', ...options})
        .then(({type}) => type, (problem) => problem.name);
      return [await post({mode: 'no-cors'}), await post({headers: {Authorization: `Bearer ${token}`}})];
    }, {origin: fixture.origin, token: fixture.http.token});
    assert.deepEqual(results, ['TypeError', 'TypeError']);
    assert.deepEqual(await fixture.entries({command: 'phone'}), []);
    await finish();
  });

  test('cannot read the journal, even with the token', async () => {
    await begin();
    const outcome = await page.evaluate(({port, token}) => new Promise((resolve) => {
      const socket = new WebSocket(`ws://127.0.0.1:${port}/v1/stream?token=${token}&since=1`);
      socket.onopen = () => resolve('open');
      socket.onmessage = () => resolve('message');
      socket.onclose = () => resolve('closed');
    }), fixture.http);
    assert.equal(outcome, 'closed');
    await finish();
  });

  test('cannot embed the console in a frame', async () => {
    await begin();
    await page.evaluate((address) => {
      const frame = document.createElement('iframe');
      frame.src = address;
      document.body.append(frame);
      return new Promise((resolve) => { frame.onload = resolve; });
    }, fixture.address);
    const [frame] = page.frames().slice(1);
    assert.equal(await frame.locator('#wizard').count(), 0);
    await finish();
  });
});

describe('The console’s files', () => {
  test('contain no secret, need no token, and set the content policy', async () => {
    const response = await fetch(`${fixture.origin}/`);
    assert.equal(response.status, 200);
    assert.match(response.headers.get('content-security-policy'), /^default-src 'self'/);
    assert.equal(response.headers.get('access-control-allow-origin'), null);
    assert.ok(!(await response.text()).includes(fixture.http.token));
  });
});
