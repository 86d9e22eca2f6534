// SPDX-License-Identifier: Apache-2.0
// Hostile names, other people's pages, and a page without the right token.
import assert from 'node:assert/strict';
import {createServer} from 'node:http';
import {after, before, describe, it} from 'node:test';
import {closePage, eventually, fitsItsWidth, narrow, openBrowser, openPage, scene} from './stage.mjs';

let browser;
let stage;
before(async () => { browser = await openBrowser(); });
after(() => browser.close());

/// Each opens its own pages.
const inside = (name, act) => scene(it, () => browser, name, (all) => {
  ({stage} = all);
  return act();
}, {washer: false, console: false});

const anImage = '<img src=x onerror=hit=1>';
const aScript = '</script><script>hit=1</script>';
const turnedAround = 'caf\u202eemoh\u2066';
const hostileRadio = [
  {ssid: anImage, authtype: 4, enctype: 3, signal_level: -40, password: 'right'},
  {ssid: aScript, signal_level: -50}, {ssid: turnedAround, signal_level: -60},
  {ssid: 'W'.repeat(32), signal_level: -70}, {ssid_hex: 'ff00c3', signal_level: -80}, {ssid_hex: 'fffec3', signal_level: -90},
];

describe('Hostile names', () => {
  inside('are shown as the text that they are, everywhere', async () => {
    await stage.startWasher({radio: hostileRadio});
    const page = await openPage(browser, stage.address, {viewport: narrow});
    await stage.run('phone', {step: 'connect'});
    await page.locator('[data-step="scan"] button').click();
    const names = page.locator('.ssid bdi');
    await eventually('five networks', async () => await names.count() === 5);
    assert.deepEqual((await names.allTextContents()).slice(0, 4),
      [anImage, aScript, 'caf\\u{202e}emoh\\u{2066}', 'W'.repeat(32)]);

    await page.getByRole('radio', {name: anImage}).check();
    await page.getByLabel('Password optional').fill('wrong');
    await page.locator('[data-step="choose"] button[type="submit"]').click();
    await page.locator('.refusal', {hasText: anImage}).waitFor();
    await stage.run('phone', {step: 'rename', with: {nick: anImage}});
    await page.locator('#device strong', {hasText: anImage}).waitFor();
    await fitsItsWidth(page);

    for (const view of ['Cloud', 'Events', 'Agent', 'State', 'Timeline']) {
      await page.getByRole('button', {name: view, exact: true}).click();
      await page.locator('details').evaluateAll((all) => all.forEach((one) => { one.open = true; }));
      await fitsItsWidth(page);
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

  inside('says what to do, shows nothing, and takes the right one', async () => {
    const page = await openPage(browser, `${stage.origin}/#${'0'.repeat(32)}`, {ready: false, expected});
    await page.getByRole('heading', {name: 'The agent does not know this page'}).waitFor();
    await page.getByText('control.json').waitFor();
    assert.equal(await page.locator('main').isVisible(), false);
    assert.equal(await page.locator('#version').textContent(), '');

    await page.getByLabel('Token').fill(stage.http.token);
    await page.getByRole('button', {name: 'Use this token'}).click();
    await page.locator('body[data-status="connected"]').waitFor();
    assert.equal(await page.locator('#locked').isVisible(), false);
    await closePage(page);
  });

  inside('takes the whole address too, and one that is put into the address line', async () => {
    const page = await openPage(browser, stage.origin, {ready: false, expected});
    await page.getByLabel('Token').fill(stage.address);
    await page.getByRole('button', {name: 'Use this token'}).click();
    await page.locator('body[data-status="connected"]').waitFor();
    await page.goto(`${stage.origin}/#wrong`);
    await page.locator('body[data-status="locked"]').waitFor();
    await page.goto(stage.address);
    await page.locator('body[data-status="connected"]').waitFor();
    await closePage(page);
  });

  inside('does not keep the token where others see it, but over a reload', async () => {
    const page = await openPage(browser, stage.address);
    assert.equal(page.url(), `${stage.origin}/`);
    await page.reload();
    await page.locator('body[data-status="connected"] #version:not(:empty)').waitFor();
    await closePage(page);
  });
});

describe('Somebody else’s page', () => {
  let server;
  let page;
  const begin = async () => {
    server = createServer((request, answer) => answer.setHeader('Content-Type', 'text/html').end('<p>elsewhere</p>'));
    await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
    page = await openPage(browser, `http://127.0.0.1:${server.address().port}/`, {ready: false, expected: /./});
  };
  const finish = async () => {
    await page.context().close();
    server.close();
  };

  inside('cannot steer the agent by requests, even if it knew the token', async () => {
    await begin();
    const tried = await page.evaluate(async ({origin, token}) => {
      const post = (options) => fetch(`${origin}/v1/phone`, {method: 'POST', body: '{"step":"connect"}', ...options})
        .then(({type}) => type, (problem) => problem.name);
      return [await post({mode: 'no-cors'}), await post({headers: {Authorization: `Bearer ${token}`}})];
    }, {origin: stage.origin, token: stage.http.token});
    assert.deepEqual(tried, ['TypeError', 'TypeError']);
    assert.deepEqual(await stage.entries({command: 'phone'}), []);
    await finish();
  });

  inside('cannot read along, even if it knew the token', async () => {
    await begin();
    const heard = await page.evaluate(({port, token}) => new Promise((resolve) => {
      const socket = new WebSocket(`ws://127.0.0.1:${port}/v1/stream?token=${token}&since=1`);
      socket.onopen = () => resolve('open');
      socket.onmessage = () => resolve('message');
      socket.onclose = () => resolve('closed');
    }), stage.http);
    assert.equal(heard, 'closed');
    await finish();
  });

  inside('cannot put the console into a frame', async () => {
    await begin();
    await page.evaluate((address) => {
      const frame = document.createElement('iframe');
      frame.src = address;
      document.body.append(frame);
      return new Promise((resolve) => { frame.onload = resolve; });
    }, stage.address);
    const [frame] = page.frames().slice(1);
    assert.equal(await frame.locator('#wizard').count(), 0);
    await finish();
  });
});

describe('The console’s files', () => {
  inside('hold no secret, need no token, and bring their policy', async () => {
    const answer = await fetch(`${stage.origin}/`);
    assert.equal(answer.status, 200);
    assert.match(answer.headers.get('content-security-policy'), /^default-src 'self'/);
    assert.equal(answer.headers.get('access-control-allow-origin'), null);
    assert.ok(!(await answer.text()).includes(stage.http.token));
  });
});
