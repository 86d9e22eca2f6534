// SPDX-License-Identifier: Apache-2.0
// Updates that arrive while the user clicks, types, points at something or has opened something. Each test runs a command
// without the browser, waits until the page has received the new state, and then continues the user's action.
import assert from 'node:assert/strict';
import {after, before, describe, it} from 'node:test';
import {consoleTest, eventually, launchBrowser, narrow, wide} from './fixture.mjs';

let browser;
let fixture;
let page;
before(async () => { browser = await launchBrowser(); });
after(() => browser.close());

const test = (name, act, options = {}) => consoleTest(it, () => browser, name, async (all) => {
  ({fixture, page} = all);
  await recordReceived();
  await act(all);
}, options);

// ---- deliver updates -------------------------------------------------------------------------------------------------

/// Makes the page store each state and description that it receives. The timer runs after the page has processed it.
const recordReceived = () => page.evaluate(() => {
  const json = Response.prototype.json;
  Response.prototype.json = async function() {
    const body = await json.call(this);
    setTimeout(() => {
      globalThis.receivedState = body.state ?? globalThis.receivedState;
      globalThis.receivedVersion = body.versions ? body.version : globalThis.receivedVersion;
    }, 0);
    return body;
  };
});

async function waitUntilReceived(what, condition) {
  await eventually(`the page to receive ${what}`, async () => {
    const state = await page.evaluate(() => globalThis.receivedState);
    return state && condition(state);
  });
  await page.evaluate(() => new Promise((resolve) => { requestAnimationFrame(() => requestAnimationFrame(resolve)); }));
}

async function phone(step, values = {}) {
  const result = await fixture.run('phone', {step, with: values});
  assert.equal(result.ok, true, `${step}: ${result.error}`);
}

const pin = '20260417';
/// Steps of the phone that change what the wizard offers.
const updates = {
  async connect() {
    await phone('connect');
    await waitUntilReceived('the connection', ({setup}) => setup.stage === 'connected');
  },
  async confirm() {
    await phone('confirm');
    await waitUntilReceived('the confirmation', ({setup}) => setup.confirmed === true);
  },
  async requestPin() {
    await phone('pin', {pin});
    await waitUntilReceived('the PIN request', ({setup}) => setup.pin.tries_left === 3);
  },
  async verifyPin() {
    await phone('enter-pin', {pin});
    await waitUntilReceived('the verified PIN', ({setup}) => setup.pin.verified && setup.pin.tries_left === 0);
  },
  async scan() {
    await phone('scan');
    await waitUntilReceived('the networks', ({setup}) => setup.scan === null && setup.networks.length === 2);
  },
  async disconnect() {
    await phone('leave');
    await waitUntilReceived('the disconnection', ({setup}) => setup.stage === 'waiting');
  },
};

const step = (name) => page.locator(`[data-step="${name}"]`);
const summary = (name) => step(name).locator('summary');
const isOpen = (name) => step(name).evaluate((details) => details.open);
const showView = (name) => page.getByRole('button', {name, exact: true}).click();

/// Presses the mouse on the centre of an element, runs `update`, and releases it where it is.
async function clickDuring(locator, update) {
  await locator.scrollIntoViewIfNeeded();
  const {x, y, width, height} = await locator.boundingBox();
  await page.mouse.move(x + width / 2, y + height / 2);
  await page.mouse.down();
  await update();
  await page.mouse.up();
}

// ---- tests -----------------------------------------------------------------------------------------------------------

describe('A click during an update', () => {
  test('opens a panel when the step above it ends', async () => {
    await updates.connect();
    await updates.requestPin();
    await clickDuring(summary('provision'), updates.verifyPin);
    assert.equal(await isOpen('provision'), true);
    await step('provision').getByLabel('Country').fill('FR');
    assert.equal(await isOpen('provision'), true);
  });

  test('opens a panel when a step above it is added', async () => {
    await updates.connect();
    await clickDuring(summary('provision'), updates.requestPin);
    assert.equal(await isOpen('provision'), true);
  });

  test('presses a button of a step that the update moves', async ({washer}) => {
    await updates.connect();
    await clickDuring(step('scan').locator('button'), updates.confirm);
    await washer.prints(/scan: 2 access points/);
  });

  test('selects a network when a new scan replaces the list', async ({washer}) => {
    await updates.connect();
    await updates.scan();
    await clickDuring(step('choose').getByRole('radio', {name: /café/}), async () => {
      washer.process.kill('SIGSTOP'); // the list is empty until the washer continues
      await phone('scan');
      await waitUntilReceived('the empty list', ({setup}) => setup.networks.length === 0);
      washer.process.kill('SIGCONT');
      await waitUntilReceived('the new list', ({setup}) => setup.networks.length === 2);
    });
    assert.equal(await step('choose').getByRole('radio', {name: /café/}).isChecked(), true);
  });

  test('presses a button of the cloud when the possible actions change', async () => {
    await clickDuring(page.locator('button[data-cloud="authority"]'), async () => {
      await fixture.run('cloud', {step: 'own', with: {owner: 'Ada'}});
      await waitUntilReceived('the owner', ({owned}) => owned);
    });
    await page.locator('#cloud-steps .outcome', {hasText: 'BEGIN CERTIFICATE'}).waitFor();
  });

  const faultOf = (method) => page.locator(`[data-fault="${method}"] button`);
  const inject = async (method) => {
    await fixture.run('fault', {method, form: 'delay', value: 1, times: 5});
    await waitUntilReceived('the fault', ({faults}) => faults[method]);
  };

  test('removes a pending fault when another one is added', async () => {
    await showView('Faults');
    await inject('get_device_id');
    await clickDuring(faultOf('get_device_id'), () => inject('get_signin_status'));
    await eventually('the removal', async () => !(await fixture.state()).faults.get_device_id);
  });

  test('made with the space bar removes a pending fault when another one is added', async () => {
    await showView('Faults');
    await inject('get_device_id');
    await faultOf('get_device_id').focus();
    await page.keyboard.down('Space');
    await inject('get_signin_status');
    await page.keyboard.up('Space');
    await eventually('the removal', async () => !(await fixture.state()).faults.get_device_id);
  });

  test('opens an entry of the timeline when new entries arrive', async () => {
    const entry = await latestEntry();
    await clickDuring(entry, emitEvents);
    assert.equal(await entry.getAttribute('aria-expanded'), 'true');
  });
});

const isAtEnd = () => page.locator('#entries').evaluate((list) => list.scrollHeight - list.scrollTop - list.clientHeight < 1);

/// Waits until the timeline shows all entries and has scrolled to the last one, which it returns.
async function latestEntry() {
  const entries = page.locator('#entries .entry');
  await eventually('all entries', async () => await entries.count() === (await fixture.entries()).length);
  await eventually('the latest entry', isAtEnd);
  assert.ok(await page.locator('#entries').evaluate((list) => list.scrollTop > 0), 'more entries than the list can show');
  return page.locator(`#entries .entry[data-seq="${await entries.last().getAttribute('data-seq')}"]`);
}

/// Fills the timeline. The page shows the entries at once, or when the mouse is released.
async function emitEvents() {
  for (let i = 0; i < 20; ++i)
    await fixture.run('emit', {event: 'keepalive_result_cb', values: [i]});
  await fixture.run('cloud', {step: 'own', with: {owner: 'Ada'}});
  await waitUntilReceived('the owner', ({owned}) => owned);
  await page.evaluate(() => new Promise((resolve) => { setTimeout(resolve, 200); })); // several batches of the timeline
}

describe('A panel that the user has opened', () => {
  test('stays open when the next step changes', async () => {
    await updates.connect();
    await updates.confirm(); // the next step is now the PIN
    await summary('pin').click();
    if (!await isOpen('pin'))
      await summary('pin').click();
    await step('pin').getByLabel('Pin').fill('1234');
    await phone('choose', {ssid: 'elsewhere', hidden: true, password: ''});
    await waitUntilReceived('the stage joining', ({setup}) => setup.stage === 'joining');
    assert.equal(await isOpen('pin'), true);
    assert.equal(await step('pin').getByLabel('Pin').inputValue(), '1234');
  }, {washer: {'join-ms': '600000'}});

  test('stays open when its step ends and is offered again', async () => {
    await updates.connect();
    await summary('provision').click();
    await updates.disconnect();
    await updates.connect();
    assert.equal(await isOpen('provision'), true);
  });

  test('stays open when its step ends and is offered again while the pointer is elsewhere', async () => {
    await updates.connect();
    await summary('provision').click();
    await page.mouse.move(0, 0);
    await updates.disconnect();
    await summary('provision').waitFor({state: 'hidden'});
    await updates.connect();
    assert.equal(await isOpen('provision'), true);
  });

  test('stays open when the agent is updated to another version', async () => {
    await updates.connect();
    await summary('provision').click();
    await page.locator('[data-cloud="keepalive"] summary').click();
    await updateAgent('1.2');
    assert.equal(await isOpen('provision'), true);
    assert.equal(await page.locator('[data-cloud="own"]').evaluate((details) => details.open), false);
    await updateAgent('2.3');
    assert.equal(await page.locator('[data-cloud="keepalive"]').evaluate((details) => details.open), true);
  });

  test('stays open in the tree of the state while the branch is absent', async () => {
    await showView('State');
    const branch = page.locator('#state-tree > li', {hasText: 'faults'}).first();
    await fixture.run('fault', {method: 'get_device_id', form: 'delay', value: 1, times: 5});
    await waitUntilReceived('the fault', ({faults}) => faults.get_device_id);
    await branch.locator('summary').first().click();
    const fault = branch.locator('details', {hasText: 'get_device_id'}).last();
    await fault.locator('summary').click();
    await fixture.run('fault', {method: 'get_device_id', form: 'delay', value: 1, times: 0});
    await waitUntilReceived('no fault', ({faults}) => !faults.get_device_id);
    await fixture.run('fault', {method: 'get_device_id', form: 'delay', value: 1, times: 5});
    await waitUntilReceived('the fault', ({faults}) => faults.get_device_id);
    assert.equal(await fault.evaluate((details) => details.open), true);
  });
});

async function updateAgent(version) {
  for (const [name, value] of [['start'], ['install'], ['complete', version]])
    await fixture.run('update', {step: name, ...value && {value}});
  await page.locator('#version', {hasText: version}).waitFor();
  await eventually('the description', async () => await page.evaluate(() => globalThis.receivedVersion) === version);
  await waitUntilReceived('the version', (state) => state.version === version);
}

describe('Input that was not sent', () => {
  /// The values of all fields of all forms in the page, by form and field name.
  const readAll = () => page.evaluate(() => Object.fromEntries([...document.querySelectorAll('main form :is(input, select, textarea)')]
    .filter(({type}) => type !== 'file')
    .map((input) => [`${input.form.dataset.form} ${input.name.replace(/-\d+$/, '')} ${input.type === 'radio' ? input.labels[0].innerText : ''}`,
      ['checkbox', 'radio'].includes(input.type) ? input.checked : input.value])));

  /// Changes every field, as a user would who has not finished.
  const editAll = () => page.evaluate(() => {
    for (const input of document.querySelectorAll('main form :is(input, select, textarea)')) {
      if (input.type === 'file' || (input.type === 'radio' && !/café|Hidden/.test(input.labels[0].textContent)))
        continue;
      if (input.type === 'checkbox')
        input.checked = !input.checked;
      else if (input.type === 'radio')
        input.checked = true;
      else if (input.tagName === 'SELECT')
        input.selectedIndex = input.options.length - 1;
      else
        input.value = input.type === 'number' ? '77' : '{"half';
      input.dispatchEvent(new Event('input', {bubbles: true}));
      input.dispatchEvent(new Event('change', {bubbles: true}));
    }
  });

  test('survives updates in every field of the page', async () => {
    await updates.connect();
    await updates.requestPin();
    await updates.scan();
    await step('choose').getByRole('radio', {name: /café/}).waitFor({state: 'attached'});
    await editAll();
    const before = await readAll();
    assert.ok(Object.keys(before).length > 40, 'many fields');
    for (const update of [updates.confirm, updates.verifyPin, updates.scan, updates.disconnect, updates.connect, updates.requestPin,
      updates.scan])
      await update();
    await fixture.run('cloud', {step: 'own', with: {owner: 'Ada'}});
    await waitUntilReceived('the owner', ({owned}) => owned);
    const now = await readAll();
    for (const [field, value] of Object.entries(before))
      assert.deepEqual([field, now[field]], [field, value]);
  });

  test('survives an update of the agent in every field of the page', async () => {
    await updates.connect();
    await editAll();
    const before = await readAll();
    await updateAgent('1.2');
    await updateAgent('2.3');
    const now = await readAll();
    for (const [field, value] of Object.entries(before))
      assert.deepEqual([field, now[field]], [field, value]);
  });

  test('survives with its focus when its step ends and is offered again', async () => {
    await updates.connect();
    await updates.requestPin();
    const field = step('enter-pin').getByLabel('Pin');
    const top = async () => (await field.boundingBox())?.y;
    await field.focus();
    const topBefore = await top();
    await page.keyboard.type('1234');
    await updates.verifyPin();
    await page.keyboard.type('56');
    assert.equal(await field.inputValue(), '123456');
    await updates.requestPin();
    await page.keyboard.type('78');
    assert.equal(await field.inputValue(), '12345678');
    assert.equal(await field.evaluate((input) => input === document.activeElement), true);
    assert.ok(Math.abs(await top() - topBefore) <= 1, 'the field has moved');
  });

  test('is replaced in the next setup if it was sent', async () => {
    await updates.connect();
    await updates.requestPin();
    const field = step('enter-pin').getByLabel('Pin');
    await field.fill(pin);
    await step('enter-pin').locator('button').click();
    await waitUntilReceived('the verified PIN', ({setup}) => setup.pin.verified);
    await page.mouse.move(0, 0);
    await updates.requestPin();
    assert.equal(await field.inputValue(), '');
  });
});

describe('An element in use', () => {
  /// Runs the updates and checks after each that `locator` has not moved and is still under the pointer.
  async function checkStays(locator, sequence, pointed) {
    const before = await locator.boundingBox();
    const [x, y] = [before.x + before.width / 2, before.y + before.height / 2];
    if (pointed)
      await page.mouse.move(x, y);
    for (const [name, update] of Object.entries(sequence)) {
      await update();
      assert.ok(await locator.isVisible(), `${name} has hidden it`);
      const now = await locator.boundingBox();
      assert.ok(Math.abs(now.x - before.x) + Math.abs(now.y - before.y) <= 1, `${name} has moved it: ${JSON.stringify([before, now])}`);
      assert.ok(await locator.evaluate((element, point) => element.contains(document.elementFromPoint(...point)), [x, y]),
        `${name} has covered it`);
    }
  }

  const {connect, ...afterConnect} = updates;
  const setup = {...afterConnect, reconnect: connect, requestPinAgain: updates.requestPin, verifyPinAgain: updates.verifyPin};

  for (const viewport of [wide, narrow]) {
    test(`stays in place under the pointer during a whole setup, ${viewport.width} px wide`, async () => {
      await connect();
      await summary('features').scrollIntoViewIfNeeded();
      await checkStays(summary('features'), setup, true);
    }, {viewport});

    test(`stays in place with the keyboard focus during a whole setup, ${viewport.width} px wide`, async () => {
      await connect();
      await summary('features').scrollIntoViewIfNeeded();
      await page.keyboard.press('Tab');
      await summary('features').focus();
      await checkStays(summary('features'), setup, false);
      assert.equal(await summary('features').evaluate((element) => element === document.activeElement), true);
    }, {viewport});
  }

  test('stays in place under the pointer when the connection to the agent is lost', async () => {
    await checkStays(page.locator('[data-cloud="keepalive"] summary'), {
      async loss() {
        await fixture.agent.stop('SIGKILL');
        await page.locator('#banner:not(:empty)').waitFor();
      },
    }, true);
  }, {washer: false, expected: /ERR_CONNECTION_|ERR_EMPTY_RESPONSE|WebSocket/});

  test('stays in place under the pointer in the cloud', async () => {
    await checkStays(page.locator('button[data-cloud="authority"]'), {
      async own() {
        await fixture.run('cloud', {step: 'own', with: {owner: 'Ada'}});
        await waitUntilReceived('the owner', ({owned}) => owned);
      },
      async presence() {
        await fixture.run('personality', {name: 'owned-and-signed-in'});
        await waitUntilReceived('the session', ({signed_in: signedIn}) => signedIn);
      },
    }, true);
  }, {washer: false});

  test('stays in place under the pointer in the timeline, which follows again afterwards', async () => {
    await checkStays(await latestEntry(), {events: emitEvents}, true);
    await page.mouse.move(0, 0);
    await eventually('the latest entry', isAtEnd);
  });

  test('is removed after the pointer has left', async () => {
    await connect();
    await summary('features').hover();
    await updates.disconnect();
    assert.equal(await summary('features').isVisible(), true);
    await page.mouse.move(0, 0);
    await summary('features').waitFor({state: 'hidden'});
  });
});
