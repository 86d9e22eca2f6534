// SPDX-License-Identifier: Apache-2.0
// The views of the console, with a running agent.
import assert from 'node:assert/strict';
import {readFileSync, rmSync} from 'node:fs';
import {writeFile} from 'node:fs/promises';
import {Agent, request} from 'node:http';
import {after, before, describe, it} from 'node:test';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {checkFitsWidth, closePage, consoleTest, eventually, launchBrowser, narrow, openPage, timeoutMs} from './fixture.mjs';

const idleTimeoutMs = 10000; // of the agent, for a connection on which a request is incomplete

let browser;
let fixture;
let page;
before(async () => { browser = await launchBrowser(); });
after(() => browser.close());

const fifo = join(tmpdir(), `korvane-console-${process.pid}.fifo`);
after(() => rmSync(fifo, {force: true}));

const test = (name, act, options = {}) => consoleTest(it, () => browser, name, (all) => {
  ({fixture, page} = all);
  return act(all);
}, options);

const region = (name) => page.getByRole('region', {name, exact: true});
const showView = (name) => page.getByRole('button', {name, exact: true}).click();
const entry = (text, from = page) => from.locator('#entries .entry', {hasText: text});
/// Excludes the call that registers for the event, which contains its name.
const event = (name) => page.locator('#entries .kind-event', {hasText: name});
const rows = () => page.locator('#entries .entry').evaluateAll((all) =>
  all.filter((one) => one.checkVisibility()).map((one) => one.querySelector('b').textContent));
const command = (name) => page.locator(`[data-command="${name}"]`);

describe('Two consoles', () => {
  test('show the same entries and networks', async () => {
    const other = await openPage(browser, fixture.address);
    await page.locator('[data-step="connect"] button').click();
    await other.locator('[data-stage="connected"]').waitFor();
    await entry('status_changed_cb', other).first().waitFor();
    await other.locator('[data-step="scan"] button').click();
    await page.locator('.ssid', {hasText: 'café'}).waitFor();
    const shown = (of) => of.locator('#entries .entry').evaluateAll((all) => all.map(({dataset}) => dataset.seq));
    await eventually('the same entries', async () => String(await shown(page)) === String(await shown(other)));
    await closePage(other);
  });
});

describe('Faults', () => {
  test('are injected for all methods, listed as pending, and removed after use', async () => {
    await showView('Faults');
    await region('Faults').getByLabel('Fault', {exact: true}).selectOption('result');
    await region('Faults').getByLabel('Result').fill('-5');
    await page.getByRole('button', {name: 'Inject', exact: true}).click();
    await page.locator('[data-fault="all"]', {hasText: 'Result -5 1 request'}).waitFor();
    await fixture.run('phone', {step: 'connect'});
    await page.locator('[data-step="scan"] button').click();
    await entry('fault: result').waitFor();
    await page.locator('[data-fault="all"]').waitFor({state: 'detached'});
    assert.match(await entry('fault: result').textContent(), /result -5/);
  });

  test('are removed by a button', async () => {
    await showView('Faults');
    await region('Faults').getByLabel('Method', {exact: true}).selectOption('get_device_id');
    await region('Faults').getByLabel('Fault', {exact: true}).selectOption('delay');
    await region('Faults').getByLabel('Milliseconds').fill('20');
    await region('Faults').getByLabel('Requests', {exact: true}).fill('3');
    await page.getByRole('button', {name: 'Inject', exact: true}).click();
    await page.locator('[data-fault="get_device_id"]', {hasText: 'Delay 20 3 requests'}).waitFor();
    assert.deepEqual((await fixture.state()).faults, {get_device_id: {fault: 'delay', value: 20, times: 3}});
    await page.getByRole('button', {name: 'Remove the fault of get_device_id'}).click();
    await page.locator('[data-fault="get_device_id"]').waitFor({state: 'detached'});
    assert.deepEqual((await fixture.state()).faults, {});
  });
});

describe('Events', () => {
  test('are emitted with values from a form', async () => {
    await showView('Events');
    await region('Events').getByLabel('Event', {exact: true}).selectOption('nick_changed_cb');
    await page.locator('#event-form', {hasText: 'Receivers: washer('}).waitFor();
    await region('Events').getByLabel('Device no').fill('0');
    await region('Events').getByLabel('Nick').fill('Laundry');
    await page.getByRole('button', {name: 'Emit', exact: true}).click();
    await page.getByText('1 application has received it.').waitFor();
    await fixture.washer.prints(/nick name: Laundry/);
  });

  test('have a form each, whose initial values the agent accepts', async () => {
    await showView('Events');
    const {events} = await fixture.run('describe');
    assert.deepEqual(await page.locator('#event-name option').allTextContents(), events.map(({name}) => name));
    for (const {name, values} of events) {
      await region('Events').getByLabel('Event', {exact: true}).selectOption(name);
      assert.equal(await page.locator('#event-form .field').count(), values.length, name);
      await page.getByRole('button', {name: 'Emit', exact: true}).click();
      await page.locator('#event-form .outcome:not(:empty)').waitFor();
      assert.match(await page.locator('#event-form .outcome').textContent(), /received it/, name);
    }
  }, {washer: false});
});

describe('The agent', () => {
  test('is updated while the console is open', async () => {
    await showView('Agent');
    const update = (step) => page.locator(`[data-form="update-${step}"]`);
    await update('start').getByRole('button').click();
    await update('install').getByRole('button').click();
    await page.getByText('No application is connected').waitFor();
    await update('complete').getByLabel('To version').selectOption('1.2');
    await update('complete').getByRole('button').click();
    await page.locator('#version', {hasText: '1.2'}).waitFor();
    await page.locator('.peer', {hasText: 'washer('}).waitFor();
    await entry('complete').first().waitFor();
    await page.locator('[data-step="language"]').waitFor({state: 'hidden'}); // a step of newer agents
    assert.equal((await fixture.state()).version, '1.2');
  });

  test('replies on a connection that was idle for longer than its timeout', async () => {
    const connection = new Agent({keepAlive: true, maxSockets: 1});
    const get = () => new Promise((resolve, reject) => {
      const sent = request(`${fixture.origin}/v1/state`, {agent: connection, timeout: timeoutMs,
        headers: {Authorization: `Bearer ${fixture.http.token}`}}, (response) => {
        response.resume();
        response.on('end', () => resolve({status: response.statusCode, reused: sent.reusedSocket}));
      });
      sent.on('timeout', () => sent.destroy(new Error('no reply')));
      sent.on('error', reject);
      sent.end();
    });
    assert.deepEqual(await get(), {status: 200, reused: false});
    await new Promise((resolve) => { setTimeout(resolve, idleTimeoutMs + 1000); });
    assert.deepEqual(await get(), {status: 200, reused: true});
    connection.destroy();
  }, {washer: false, console: false});

  const token = 'a-token-for-both-agents';
  test('is reported as not connected, and found again with a new journal', async () => {
    await fixture.agent.stop('SIGKILL');
    await page.locator('#banner', {hasText: 'The agent does not reply'}).waitFor();
    await fixture.startAgent('--http', String(fixture.http.port), '--http-token', token, '--agent-version', '2.0');
    await page.locator('#version', {hasText: '2.0'}).waitFor();
    assert.equal(await page.locator('#banner').isVisible(), false);
    await page.getByText('Another agent has replaced the previous one').waitFor();
    await fixture.run('update', {step: 'ready', value: 'on'});
    await entry('update').last().waitFor();
  }, {args: ['--http-token', token], washer: false, expected: /ERR_CONNECTION_|ERR_EMPTY_RESPONSE|WebSocket/});

  test('is saved to a file and restored from it', async () => {
    await showView('Agent');
    const [download] = await Promise.all([page.waitForEvent('download'),
      page.locator('[data-form="snapshot"]').getByRole('button').click()]);
    const saved = JSON.parse(readFileSync(await download.path(), 'utf8'));
    await fixture.run('cloud', {step: 'own', with: {owner: 'Ada'}});
    await page.locator('[data-light="owned"]', {hasText: 'Owned'}).waitFor({state: 'attached'});
    await page.getByLabel('Restore a snapshot').setInputFiles(fixture.write('saved.json', saved));
    await page.getByRole('button', {name: 'Restore', exact: true}).click();
    await page.locator('[data-light="owned"][data-on="false"]').waitFor({state: 'attached'});
    assert.equal((await fixture.state()).owned, false);
  }, {washer: false});

  test('takes on a personality', async () => {
    await showView('Agent');
    const {personalities} = await fixture.run('describe');
    assert.equal(await page.locator('[data-personality]').count(), personalities.length);
    await page.locator('[data-personality="owned-and-signed-in"]').click();
    await page.locator('[data-light="signed_in"][data-on="true"]').waitFor({state: 'attached'});
  }, {washer: false});

  test('has a form for each of its commands, phone and cloud steps', async () => {
    const {commands} = await fetch(`${fixture.origin}/v1`, {headers: {Authorization: `Bearer ${fixture.http.token}`}})
      .then((answer) => answer.json());
    const {phone, cloud} = await fixture.run('describe');
    const names = (attribute, within) => page.locator(`${within} [data-${attribute}]`).evaluateAll((all, of) => all.map(({dataset}) => dataset[of]).sort(), attribute);
    assert.deepEqual(await names('command', '#commands'), commands.map(({name}) => name).sort());
    assert.deepEqual(await names('step', '#wizard'), phone.map(({name}) => name).sort());
    assert.deepEqual(await names('cloud', '#cloud-steps'), cloud.map(({name}) => name).sort());

    await showView('Agent');
    await command('clock').locator('summary').click();
    await command('clock').getByLabel('What').selectOption('advance');
    await command('clock').getByRole('button', {name: 'Run'}).click();
    await command('clock').getByText('only a stopped clock can be advanced').waitFor();
  }, {washer: false});
});

describe('The cloud', () => {
  test('shows sub-devices and their presence', async () => {
    await fixture.start(process.env.KORVANE_HUB, '--stay');
    const device = (number) => page.locator(`[data-device="${number}"]`);
    await device(1).getByText('Lamp in the hall').waitFor();
    await device(1).getByRole('img', {name: 'present'}).waitFor();
    await device(3).getByRole('img', {name: 'absent'}).waitFor();
  }, {washer: false});

  test('fails a sign-up, signs a device up, drops its session and restores it', async () => {
    const light = (name, on) => page.locator(`[data-light="${name}"][data-on="${on}"]`).waitFor();
    const open = (name) => page.locator(`[data-cloud="${name}"] summary`).click();
    const send = (name) => page.locator(`[data-form="${name}"] button[type="submit"]`).click();
    await open('next-sign-up');
    await region('Cloud').getByLabel('Outcome').selectOption('fail');
    await send('next-sign-up');
    await page.getByText('will fail').waitFor();
    const washer = await fixture.start(process.env.KORVANE_WASHER, '--sign-up');
    await washer.prints(/cloud account: signed off/);
    await light('signed_up', false);
    await washer.stop();
    await fixture.start(process.env.KORVANE_WASHER, '--sign-up');
    await light('signed_in', true);
    await open('drop-session');
    await send('drop-session');
    await light('signed_in', false);
    await page.locator('button[data-cloud="restore-session"]').click();
    await light('signed_in', true);
  }, {washer: false});
});

describe('The timeline', () => {
  test('is filtered by text, kind and name', async () => {
    await entry('get_device_id').waitFor();
    await fixture.run('emit', {event: 'keepalive_result_cb', values: [7]});
    await event('keepalive_result_cb').waitFor();
    await region('Timeline').getByLabel('Kind').selectOption('event');
    assert.deepEqual([...new Set(await rows())], ['keepalive_result_cb']);
    await region('Timeline').getByLabel('Kind').selectOption('');
    await page.getByLabel('Method or event').selectOption('get_device_id');
    assert.deepEqual(await rows(), ['get_device_id']);
    await page.getByLabel('Method or event').selectOption('');
    await page.getByPlaceholder('Filter by text').fill('LANGUAGES en-');
    assert.deepEqual(await rows(), ['set_language_list']);
    await page.getByPlaceholder('Filter by text').fill('no such thing');
    assert.deepEqual(await rows(), []);
    await page.getByPlaceholder('Filter by text').fill('');
    await fixture.run('emit', {event: 'keepalive_result_cb', values: [8]});
    await entry('result 8').waitFor();
  });

  test('shows a step above the events that it caused, which are indented', async () => {
    await fixture.run('phone', {step: 'connect'});
    await fixture.run('phone', {step: 'pin'});
    const step = page.locator('#entries li', {hasText: /^[\d:.]+.phone pin$/});
    await step.waitFor();
    await event('pin_generate_cb').waitFor();
    const shown = await page.locator('#entries li').evaluateAll((all) => all.map((row) =>
      ({name: row.querySelector('b').textContent, values: row.querySelector('.values').textContent, caused: row.matches('.caused'),
        left: row.querySelector('b').getBoundingClientRect().left})));
    const at = shown.findIndex(({name, values}) => name === 'phone' && values === 'pin');
    assert.deepEqual([shown[at].caused, shown[at + 1].name, shown[at + 1].caused], [false, 'pin_generate_cb', true]);
    assert.ok(shown[at + 1].left > shown[at].left, 'the event is not indented');
    assert.deepEqual(shown.filter(({name, caused}) => name === 'set_pin_cb' && caused), [], 'a call of the application is caused by no step');
    assert.match(await page.getByLabel('Signs of the entries').textContent(), /↳ caused by the command above/);
  });

  test('shows a name completely in an opened entry', async () => {
    await fixture.run('emit', {event: 'wifi_ap_prov_with_candidates_cb'});
    const name = event('wifi_ap_prov_with_candidates_cb').locator('.what');
    const isCut = () => name.evaluate((what) => what.scrollWidth > what.clientWidth);
    assert.equal(await isCut(), true);
    await name.click();
    assert.equal(await isCut(), false);
    assert.match(await page.getByLabel('Signs of the entries').textContent(), /▸ opens an entry/);
  });

  test('shows the details of an entry and is used by keyboard', async () => {
    await entry('get_device_id').waitFor();
    await entry('get_device_id').click();
    const details = page.locator('#entries pre');
    const shown = JSON.parse(await details.textContent());
    assert.equal(shown.method, 'get_device_id');
    assert.equal(shown.answer.device_id, (await fixture.state()).device_id);
    await page.keyboard.press('Enter');
    await details.waitFor({state: 'detached'});
    const here = () => page.evaluate(() => Number(document.activeElement.dataset.seq));
    const seq = await here();
    await page.keyboard.press('ArrowUp');
    assert.equal(await here(), seq - 1);
    await page.keyboard.press('Home');
    assert.equal(await here(), 1);
    await page.keyboard.press('Tab');
    assert.equal(await page.locator('#entries').evaluate((list) => list.contains(document.activeElement)), false);
  });

  test('pauses, resumes, and is cleared', async () => {
    await entry('get_device_id').waitFor();
    await page.getByRole('button', {name: 'Pause'}).click();
    await fixture.run('phone', {step: 'connect'});
    await page.getByText(/[1-9]\d* waiting/).waitFor();
    assert.equal(await entry('status_changed_cb').filter({hasText: 'status 1'}).count(), 0);
    await page.getByRole('button', {name: 'Resume'}).click();
    await entry('status 1 (connected)').waitFor();
    await page.getByRole('button', {name: 'Clear'}).click();
    await page.getByText('0 entries', {exact: true}).waitFor();
    assert.deepEqual(await rows(), []);
  });

  test('keeps the latest 3000 entries', async () => {
    const many = 3100;
    await entry('get_device_id').waitFor();
    const commands = Array.from({length: many}, (_, number) => `emit keepalive_result_cb [${number}]\n`);
    await writeFile(fifo, commands.join('')); // asynchronous, so that the replies are read
    await entry(`result ${many - 1}`).first().waitFor();
    assert.equal(await page.locator('#entries .entry').count(), 3000);
    assert.equal(await entry('get_device_id').count(), 0);
  }, {args: ['--command-fifo', fifo]});

  test('announces new entries to screen readers', async () => {
    await fixture.run('phone', {step: 'connect'});
    assert.equal(await page.locator('#live').getAttribute('aria-live'), 'polite');
    await page.locator('#live', {hasText: /status_changed_cb|connect|phone/}).waitFor({state: 'attached'});
  });
});

describe('The state', () => {
  test('is a tree that stays open while it changes', async () => {
    await showView('State');
    const branch = page.locator('#state-tree > li', {hasText: 'setup'}).first();
    await branch.locator('summary').first().click();
    await branch.locator('.leaf', {hasText: 'stage'}).getByText('“waiting”').waitFor();
    await fixture.run('phone', {step: 'connect'});
    await branch.locator('.leaf', {hasText: 'stage'}).getByText('“connected”').waitFor();
  });
});

describe('The page', () => {
  test('follows the theme of the system or of the switch', async () => {
    const ground = () => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
    const [light, dark] = ['rgb(244, 246, 247)', 'rgb(20, 24, 26)'];
    assert.equal(await ground(), dark);
    await page.getByLabel('Theme').selectOption('light');
    assert.equal(await ground(), light);
    await page.reload();
    assert.equal(await ground(), light);
    await page.getByLabel('Theme').selectOption('auto');
    assert.equal(await ground(), dark);
  }, {washer: false, colorScheme: 'dark'});

  test('has labels for all fields, and named regions', async () => {
    const unlabelled = await page.evaluate(() => [...document.querySelectorAll('input, select, textarea')]
      .filter((one) => one.labels.length === 0 && !one.ariaLabel).map((one) => one.outerHTML));
    assert.deepEqual(unlabelled, []);
    for (const name of ['Phone', 'Cloud', 'Timeline'])
      await page.getByRole('region', {name, exact: true}).waitFor();
    await page.getByRole('main').waitFor();
    await page.getByRole('navigation', {name: 'Views'}).waitFor();
  });

  test('needs no horizontal scrolling on a phone', async () => {
    for (const name of ['Phone', 'Cloud', 'Faults', 'Events', 'Agent', 'State', 'Timeline']) {
      await showView(name);
      await page.locator('details').evaluateAll((all) => all.forEach((one) => { one.open = true; }));
      await checkFitsWidth(page);
    }
  }, {viewport: narrow});
});
