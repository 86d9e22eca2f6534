// SPDX-License-Identifier: Apache-2.0
// Sets up a washer with the console alone.
import assert from 'node:assert/strict';
import {after, before, describe, it} from 'node:test';
import {Keyboard, Mouse} from './input.mjs';
import {checkFitsWidth, consoleTest, eventually, launchBrowser, narrow, wide} from './fixture.mjs';

let browser;
before(async () => { browser = await launchBrowser(); });
after(() => browser.close());
const test = (...args) => consoleTest(it, () => browser, ...args);

const step = (page, name) => page.locator(`[data-step="${name}"]`);
const send = (page, name) => step(page, name).locator('button[type="submit"]');
const field = (page, name, label) => step(page, name).getByLabel(label, {exact: true});
const network = (page, name) => page.getByRole('radio', {name});

async function waitForRefusal(page, name, text) {
  await step(page, name).locator('.refusal', {hasText: text}).waitFor();
}

/// Sets up an unknown washer, with a wrong PIN and a wrong password on the way.
async function setUp({page, fixture, washer}, input) {
  await input.press(send(page, 'connect'));
  await input.press(send(page, 'confirm'));
  await washer.prints(/user confirm: the user says yes/);

  await input.press(send(page, 'pin'));
  const [, pin] = await washer.prints(/display: PIN (\d{8})/);
  await input.fill(field(page, 'enter-pin', 'Pin'), pin === '00000000' ? '11111111' : '00000000');
  await input.press(send(page, 'enter-pin'));
  await waitForRefusal(page, 'enter-pin', 'Wrong PIN. 2 tries left.');
  await input.fill(field(page, 'enter-pin', 'Pin'), pin);
  await input.press(send(page, 'enter-pin'));
  await washer.prints(/display: dark/);

  await input.open(step(page, 'provision'));
  await input.fill(field(page, 'provision', 'Country optional'), 'FR');
  await input.press(send(page, 'provision'));
  await washer.prints(/country: FR/);

  await input.press(send(page, 'scan'));
  await input.choose(network(page, /home/));
  await input.fill(field(page, 'choose', 'Password optional'), 'laundry bay');
  await input.press(send(page, 'choose'));
  await waitForRefusal(page, 'choose', 'could not join home: error code 2');
  await input.fill(field(page, 'choose', 'Password optional'), 'laundry day');
  await input.press(send(page, 'choose'));
  await washer.prints(/join: joined home/);
  await input.press(send(page, 'join'));
  await input.press(send(page, 'stop-soft-ap'));
  await washer.prints(/soft access point: stopped/);
  await input.press(send(page, 'finish'));
  await page.locator('[data-stage="done"]', {hasText: 'Set up · home'}).waitFor();

  const {set_up, owned, setup} = await fixture.state();
  assert.deepEqual({set_up, owned, stage: setup.stage, ssid: setup.chosen.ssid},
    {set_up: true, owned: true, stage: 'done', ssid: 'home'});
}

describe('The complete setup', () => {
  for (const [how, Input, width, viewport, colorScheme] of [
    ['mouse', Mouse, 1280, wide, 'light'], ['mouse', Mouse, 360, narrow, 'dark'],
    ['keyboard', Keyboard, 1280, wide, 'dark'], ['keyboard', Keyboard, 360, narrow, 'light']])
    test(`works by ${how}, ${width} px wide and ${colorScheme}`, async (all) => {
      await setUp(all, new Input(all.page));
      await checkFitsWidth(all.page);
    }, {viewport, colorScheme});
});

const offered = (page) => page.locator('#wizard [data-step]:not(.past)').evaluateAll((steps) =>
  steps.filter((one) => one.checkVisibility()).map((one) => one.dataset.step));

describe('The wizard', () => {
  test('shows the agent’s reason for refusing a step', async ({page}) => {
    await send(page, 'connect').click();
    await waitForRefusal(page, 'connect', 'the device has not started its service, so no phone can find it');
  }, {washer: false});

  test('offers the steps that are possible in the current stage', async ({page}) => {
    assert.deepEqual(await offered(page), ['connect']);
    await send(page, 'connect').click();
    await eventually('the steps of a connected phone', async () => (await offered(page)).includes('confirm'));
    assert.deepEqual(await offered(page), ['confirm', 'pin', 'scan', 'choose', 'provision', 'language', 'vendor-info',
      'features', 'get-provisioning', 'accept-terms', 'leave']);
    await step(page, 'leave').locator('summary').click();
    await send(page, 'leave').click();
    await eventually('only the step connect', async () => (await offered(page)).join() === 'connect');
  });

  test('omits the steps that an old agent does not know', async ({page}) => {
    await send(page, 'connect').click();
    await eventually('the steps of a connected phone', async () => (await offered(page)).includes('confirm'));
    assert.deepEqual(await offered(page), ['confirm', 'pin', 'scan', 'choose', 'provision', 'leave']);
    await step(page, 'pin').locator('summary').click();
    await field(page, 'pin', 'Kind optional').selectOption('ultrasound');
    await send(page, 'pin').click();
    await waitForRefusal(page, 'pin', 'agent 1.0 does not support an ultrasound PIN; 1.1 and later do');
  }, {args: ['--agent-version', '1.0']});

  test('fills in an ultrasound PIN and requests one on a label', async ({page, fixture, washer}) => {
    await send(page, 'connect').click();
    await step(page, 'pin').locator('summary').click();
    await field(page, 'pin', 'Kind optional').selectOption('ultrasound');
    await send(page, 'pin').click();
    await washer.prints(/loudspeaker: plays a PIN of 8 digits/);
    await send(page, 'enter-pin').click();
    await washer.prints(/loudspeaker: silent/);
    assert.equal((await fixture.state()).setup.pin.verified, true);
    await eventually('the step pin', async () => (await offered(page)).includes('pin'));
    await field(page, 'pin', 'Kind optional').selectOption('label');
    await send(page, 'pin').click();
    await waitForRefusal(page, 'pin', 'the device has set no preconfigured PIN, so its label has none');
  });

  test('sends language, vendor data and terms, and shows the reply of the device', async ({page, washer}) => {
    await send(page, 'connect').click();
    await step(page, 'language').locator('summary').click();
    await field(page, 'language', 'Value').fill('fr-FR');
    await send(page, 'language').click();
    await step(page, 'language').locator('.note', {hasText: 'language: fr-FR'}).waitFor();
    await step(page, 'vendor-info').locator('summary').click();
    await field(page, 'vendor-info', 'Text optional').fill('{"colour": "white"}');
    await send(page, 'vendor-info').click();
    await washer.prints(/vendor data: 18 bytes of kind 0/);
    await step(page, 'accept-terms').locator('summary').click();
    await field(page, 'accept-terms', 'Accepted optional').uncheck();
    await send(page, 'accept-terms').click();
    await washer.prints(/terms: the user's answer: \{"accepted":false\}/);
  });

  test('renames a device that is set up and removes it', async ({page, fixture, washer}) => {
    await setUp({page, fixture, washer}, new Mouse(page));
    await step(page, 'rename').locator('summary').click();
    await field(page, 'rename', 'Nick').fill('Laundry');
    await send(page, 'rename').click();
    await washer.prints(/nick name: Laundry \(device 0\)/);
    await page.locator('#device strong', {hasText: 'Laundry'}).waitFor();
    await step(page, 'remove').locator('summary').click();
    await send(page, 'remove').click();
    await washer.prints(/reset: done/);
    await page.locator('[data-stage="waiting"]', {hasText: 'Not set up'}).waitFor();
  });
});
