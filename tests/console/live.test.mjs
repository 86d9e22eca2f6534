// SPDX-License-Identifier: Apache-2.0
// What the console shows of a running agent, and does to it.
import assert from 'node:assert/strict';
import {readFileSync, rmSync} from 'node:fs';
import {writeFile} from 'node:fs/promises';
import {after, before, describe, it} from 'node:test';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {closePage, eventually, fitsItsWidth, narrow, openBrowser, openPage, scene} from './stage.mjs';

let browser;
let stage;
let page;
before(async () => { browser = await openBrowser(); });
after(() => browser.close());

const fifo = join(tmpdir(), `korvane-console-${process.pid}.fifo`);
after(() => rmSync(fifo, {force: true}));

const inside = (name, act, options = {}) => scene(it, () => browser, name, (all) => {
  ({stage, page} = all);
  return act(all);
}, options);

const part = (name) => page.getByRole('region', {name, exact: true});
const view = (name) => page.getByRole('button', {name, exact: true}).click();
const entry = (text, from = page) => from.locator('#entries .entry', {hasText: text});
/// Not the call that registers for it, which has the same name in its own.
const event = (name) => page.locator('#entries .kind-event', {hasText: name});
const rows = () => page.locator('#entries .entry').evaluateAll((all) =>
  all.filter((one) => one.checkVisibility()).map((one) => one.querySelector('b').textContent));
const fullCommand = (name) => page.locator(`[data-command="${name}"]`);

describe('Two consoles', () => {
  inside('show the same', async () => {
    const other = await openPage(browser, stage.address);
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
  inside('are set for all methods, shown as to come, happen, and are gone', async () => {
    await view('Faults');
    await page.getByLabel('Go wrong so').selectOption('result');
    await part('Faults').getByLabel('Result').fill('-5');
    await page.getByRole('button', {name: 'Set', exact: true}).click();
    await page.locator('[data-fault="all"]', {hasText: 'Result -5 once'}).waitFor();
    await stage.run('phone', {step: 'connect'});
    await page.locator('[data-step="scan"] button').click();
    await entry('fault: result').waitFor();
    await page.locator('[data-fault="all"]').waitFor({state: 'detached'});
    assert.match(await entry('fault: result').textContent(), /result -5/);
  });

  inside('are taken back', async () => {
    await view('Faults');
    await page.getByLabel('Requests of').selectOption('get_device_id');
    await page.getByLabel('Go wrong so').selectOption('delay');
    await page.getByLabel('Milliseconds').fill('20');
    await page.getByLabel('How often').fill('3');
    await page.getByRole('button', {name: 'Set', exact: true}).click();
    await page.locator('[data-fault="get_device_id"]', {hasText: 'Delay 20 3 times'}).waitFor();
    assert.deepEqual((await stage.state()).faults, {get_device_id: {fault: 'delay', value: 20, times: 3}});
    await page.getByRole('button', {name: 'Take back the fault of get_device_id'}).click();
    await page.locator('[data-fault="get_device_id"]').waitFor({state: 'detached'});
    assert.deepEqual((await stage.state()).faults, {});
  });
});

describe('Events', () => {
  inside('are emitted with values from a form', async () => {
    await view('Events');
    await part('Events').getByLabel('Event', {exact: true}).selectOption('nick_changed_cb');
    await page.locator('#event-values', {hasText: 'Listening: washer('}).waitFor();
    await part('Events').getByLabel('Device no').fill('0');
    await part('Events').getByLabel('Nick').fill('Laundry');
    await page.getByRole('button', {name: 'Emit', exact: true}).click();
    await page.getByText('One application heard it.').waitFor();
    await stage.washer.says(/nick name: Laundry/);
  });

  inside('have a form each, whose first values the agent takes', async () => {
    await view('Events');
    const {events} = await stage.run('describe');
    assert.deepEqual(await page.locator('#event-choice option').allTextContents(), events.map(({name}) => name));
    for (const {name, values} of events) {
      await part('Events').getByLabel('Event', {exact: true}).selectOption(name);
      assert.equal(await page.locator('#event-values .field').count(), values.length, name);
      await page.getByRole('button', {name: 'Emit', exact: true}).click();
      await page.locator('#event-values .outcome:not(:empty)').waitFor();
      assert.match(await page.locator('#event-values .outcome').textContent(), /heard it/, name);
    }
  }, {washer: false});
});

describe('The agent', () => {
  inside('is updated while the console is open, which goes on with the new version', async () => {
    await view('Agent');
    const update = (step) => page.locator(`[data-form="update-${step}"]`);
    await update('start').getByRole('button').click();
    await update('install').getByRole('button').click();
    await page.getByText('No application is connected').waitFor();
    await update('complete').getByLabel('As version').selectOption('1.2');
    await update('complete').getByRole('button').click();
    await page.locator('#version', {hasText: '1.2'}).waitFor();
    await page.locator('.peer', {hasText: 'washer('}).waitFor();
    await entry('complete').first().waitFor();
    assert.equal(await page.locator('[data-step="language"]').count(), 0, 'a step of newer agents');
    assert.equal((await stage.state()).version, '1.2');
  });

  const token = 'a-token-for-both-agents';
  inside('that goes away is told of, and is found again with a journal of its own', async () => {
    await stage.agent.end('SIGKILL');
    await page.locator('#banner', {hasText: 'The agent does not answer'}).waitFor();
    await stage.startAgent('--http', String(stage.http.port), '--http-token', token, '--agent-version', '2.0');
    await page.locator('#version', {hasText: '2.0'}).waitFor();
    assert.equal(await page.locator('#banner').isVisible(), false);
    await page.getByText('Another agent answers').waitFor();
    await stage.run('update', {step: 'ready', value: 'on'});
    await entry('update').last().waitFor();
  }, {args: ['--http-token', token], washer: false, expected: /ERR_CONNECTION_|ERR_EMPTY_RESPONSE|WebSocket/});

  inside('is saved to a file and restored from it', async () => {
    await view('Agent');
    const [download] = await Promise.all([page.waitForEvent('download'),
      page.locator('[data-form="snapshot"]').getByRole('button').click()]);
    const saved = JSON.parse(readFileSync(await download.path(), 'utf8'));
    await stage.run('cloud', {step: 'own', with: {owner: 'Ada'}});
    await page.locator('[data-light="owned"]', {hasText: 'Owned'}).waitFor({state: 'attached'});
    await page.getByLabel('Restore a snapshot').setInputFiles(stage.write('saved.json', saved));
    await page.getByRole('button', {name: 'Restore', exact: true}).click();
    await page.locator('[data-light="owned"][data-on="false"]').waitFor({state: 'attached'});
    assert.equal((await stage.state()).owned, false);
  }, {washer: false});

  inside('becomes any personality that it has', async () => {
    await view('Agent');
    const {personalities} = await stage.run('describe');
    assert.equal(await page.locator('[data-personality]').count(), personalities.length);
    await page.locator('[data-personality="owned-and-signed-in"]').click();
    await page.locator('[data-light="signed_in"][data-on="true"]').waitFor({state: 'attached'});
  }, {washer: false});

  inside('has a form for each of its commands, phone and cloud steps', async () => {
    const {commands} = await fetch(`${stage.origin}/v1`, {headers: {Authorization: `Bearer ${stage.http.token}`}})
      .then((answer) => answer.json());
    const {phone, cloud} = await stage.run('describe');
    const names = (attribute, within) => page.locator(`${within} [data-${attribute}]`).evaluateAll((all, of) => all.map(({dataset}) => dataset[of]).sort(), attribute);
    assert.deepEqual(await names('command', '#commands'), commands.map(({name}) => name).sort());
    assert.deepEqual(await names('step', '#wizard'), phone.map(({name}) => name).sort());
    assert.deepEqual(await names('cloud', '#cloud-steps'), cloud.map(({name}) => name).sort());

    await view('Agent');
    await fullCommand('clock').locator('summary').click();
    await fullCommand('clock').getByLabel('What').selectOption('advance');
    await fullCommand('clock').getByRole('button', {name: 'Run'}).click();
    await fullCommand('clock').getByText('only a stopped clock can be advanced').waitFor();
  }, {washer: false});
});

describe('The cloud', () => {
  inside('shows sub-devices and who of them is there', async () => {
    await stage.start(process.env.KORVANE_HUB, '--stay');
    const device = (number) => page.locator(`[data-device="${number}"]`);
    await device(1).getByText('Lamp in the hall').waitFor();
    await device(1).getByRole('img', {name: 'present'}).waitFor();
    await device(3).getByRole('img', {name: 'absent'}).waitFor();
  }, {washer: false});

  inside('signs a device up, or not, drops its session and restores it', async () => {
    const light = (name, on) => page.locator(`[data-light="${name}"][data-on="${on}"]`).waitFor();
    const fold = (name) => page.locator(`[data-cloud="${name}"] summary`).click();
    const send = (name) => page.locator(`[data-form="${name}"] button[type="submit"]`).click();
    await fold('next-sign-up');
    await part('Cloud').getByLabel('Outcome').selectOption('fail');
    await send('next-sign-up');
    await page.getByText('will fail').waitFor();
    const washer = await stage.start(process.env.KORVANE_WASHER, '--sign-up');
    await washer.says(/cloud account: signed off/);
    await light('signed_up', false);
    await washer.end();
    await stage.start(process.env.KORVANE_WASHER, '--sign-up');
    await light('signed_in', true);
    await fold('drop-session');
    await send('drop-session');
    await light('signed_in', false);
    await page.locator('button[data-cloud="restore-session"]').click();
    await light('signed_in', true);
  }, {washer: false});
});

describe('The timeline', () => {
  inside('is filtered by text, kind and name', async () => {
    await entry('get_device_id').waitFor();
    await stage.run('emit', {event: 'keepalive_result_cb', values: [7]});
    await event('keepalive_result_cb').waitFor();
    await part('Timeline').getByLabel('Kind').selectOption('event');
    assert.deepEqual([...new Set(await rows())], ['keepalive_result_cb']);
    await part('Timeline').getByLabel('Kind').selectOption('');
    await page.getByLabel('Method or event').selectOption('get_device_id');
    assert.deepEqual(await rows(), ['get_device_id']);
    await page.getByLabel('Method or event').selectOption('');
    await page.getByPlaceholder('Filter by text').fill('LANGUAGES en-');
    assert.deepEqual(await rows(), ['set_language_list']);
    await page.getByPlaceholder('Filter by text').fill('no such thing');
    assert.deepEqual(await rows(), []);
    await page.getByPlaceholder('Filter by text').fill('');
    await stage.run('emit', {event: 'keepalive_result_cb', values: [8]});
    await entry('result 8').waitFor();
  });

  inside('shows an entry’s details, and is read by keys', async () => {
    await entry('get_device_id').waitFor();
    await entry('get_device_id').click();
    const details = page.locator('#entries pre');
    const shown = JSON.parse(await details.textContent());
    assert.equal(shown.method, 'get_device_id');
    assert.equal(shown.answer.device_id, (await stage.state()).device_id);
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

  inside('pauses, goes on, and is cleared', async () => {
    await entry('get_device_id').waitFor();
    await page.getByRole('button', {name: 'Pause'}).click();
    await stage.run('phone', {step: 'connect'});
    await page.getByText(/[1-9]\d* waiting/).waitFor();
    assert.equal(await entry('status_changed_cb').filter({hasText: 'status 1'}).count(), 0);
    await page.getByRole('button', {name: 'Go on'}).click();
    await entry('status 1').waitFor();
    await page.getByRole('button', {name: 'Clear'}).click();
    await page.getByText('0 entries', {exact: true}).waitFor();
    assert.deepEqual(await rows(), []);
  });

  inside('keeps the latest three thousand', async () => {
    const many = 3100;
    await entry('get_device_id').waitFor();
    const commands = Array.from({length: many}, (_, number) => `emit keepalive_result_cb [${number}]\n`);
    await writeFile(fifo, commands.join('')); // its answers are read meanwhile
    await entry(`result ${many - 1}`).first().waitFor();
    assert.equal(await page.locator('#entries .entry').count(), 3000);
    assert.equal(await entry('get_device_id').count(), 0);
  }, {args: ['--command-fifo', fifo]});

  inside('tells of new entries politely', async () => {
    await stage.run('phone', {step: 'connect'});
    assert.equal(await page.locator('#live').getAttribute('aria-live'), 'polite');
    await page.locator('#live', {hasText: /status_changed_cb|connect|phone/}).waitFor({state: 'attached'});
  });
});

describe('The state', () => {
  inside('is a tree that stays open while it changes', async () => {
    await view('State');
    const branch = page.locator('#state-tree > li', {hasText: 'setup'}).first();
    await branch.locator('summary').first().click();
    await branch.locator('.leaf', {hasText: 'stage'}).getByText('“waiting”').waitFor();
    await stage.run('phone', {step: 'connect'});
    await branch.locator('.leaf', {hasText: 'stage'}).getByText('“connected”').waitFor();
  });
});

describe('The page', () => {
  inside('is light or dark as the system or the switch says', async () => {
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

  inside('has labels for everything, and parts with names', async () => {
    const nameless = await page.evaluate(() => [...document.querySelectorAll('input, select, textarea')]
      .filter((one) => one.labels.length === 0 && !one.ariaLabel).map((one) => one.outerHTML));
    assert.deepEqual(nameless, []);
    for (const name of ['Phone', 'Cloud', 'Timeline'])
      await page.getByRole('region', {name, exact: true}).waitFor();
    await page.getByRole('main').waitFor();
    await page.getByRole('navigation', {name: 'Views'}).waitFor();
  });

  inside('needs no scrolling sideways in any view of a phone', async () => {
    for (const name of ['Phone', 'Cloud', 'Faults', 'Events', 'Agent', 'State', 'Timeline']) {
      await view(name);
      await page.locator('details').evaluateAll((all) => all.forEach((one) => { one.open = true; }));
      await fitsItsWidth(page);
    }
  }, {viewport: narrow});
});
