// SPDX-License-Identifier: Apache-2.0
// A washer is set up by somebody who has nothing but the console.
import assert from 'node:assert/strict';
import {after, before, describe, it} from 'node:test';
import {Keyboard, Mouse} from './hands.mjs';
import {eventually, fitsItsWidth, narrow, openBrowser, scene, wide} from './stage.mjs';

let browser;
before(async () => { browser = await openBrowser(); });
after(() => browser.close());
const inside = (...test) => scene(it, () => browser, ...test);

const step = (page, name) => page.locator(`[data-step="${name}"]`);
const send = (page, name) => step(page, name).locator('button[type="submit"]');
const field = (page, name, label) => step(page, name).getByLabel(label, {exact: true});
const network = (page, name) => page.getByRole('radio', {name});

async function isRefused(page, name, words) {
  await step(page, name).locator('.refusal', {hasText: words}).waitFor();
}

/// From an unknown washer to one that is set up, with what people do wrong on the way.
async function setUp({page, stage, washer}, hands) {
  await hands.press(send(page, 'connect'));
  await hands.press(send(page, 'confirm'));
  await washer.says(/user confirm: the user says yes/);

  await hands.press(send(page, 'pin'));
  const [, pin] = await washer.says(/display: PIN (\d{8})/);
  await hands.fill(field(page, 'enter-pin', 'Pin'), pin === '00000000' ? '11111111' : '00000000');
  await hands.press(send(page, 'enter-pin'));
  await isRefused(page, 'enter-pin', 'That is not the PIN; 2 more.');
  await hands.fill(field(page, 'enter-pin', 'Pin'), pin);
  await hands.press(send(page, 'enter-pin'));
  await washer.says(/display: dark/);

  await hands.open(step(page, 'provision'));
  await hands.fill(field(page, 'provision', 'Country optional'), 'FR');
  await hands.press(send(page, 'provision'));
  await washer.says(/country: FR/);

  await hands.press(send(page, 'scan'));
  await hands.pick(network(page, /home/));
  await hands.fill(field(page, 'choose', 'Password optional'), 'laundry bay');
  await hands.press(send(page, 'choose'));
  await isRefused(page, 'choose', 'could not join home: its error code is 2');
  await hands.fill(field(page, 'choose', 'Password optional'), 'laundry day');
  await hands.press(send(page, 'choose'));
  await washer.says(/join: joined home/);
  await hands.press(send(page, 'join'));
  await hands.press(send(page, 'stop-soft-ap'));
  await washer.says(/soft access point: stopped/);
  await hands.press(send(page, 'finish'));
  await page.locator('[data-stage="done"]', {hasText: 'Set up · home'}).waitFor();

  const {set_up, owned, setup} = await stage.state();
  assert.deepEqual({set_up, owned, stage: setup.stage, ssid: setup.chosen.ssid},
    {set_up: true, owned: true, stage: 'done', ssid: 'home'});
}

describe('A complete setup', () => {
  for (const [how, Hands, width, viewport, colorScheme] of [
    ['mouse', Mouse, 1280, wide, 'light'], ['mouse', Mouse, 360, narrow, 'dark'],
    ['keyboard', Keyboard, 1280, wide, 'dark'], ['keyboard', Keyboard, 360, narrow, 'light']])
    inside(`goes well by ${how} alone, ${width} px wide and ${colorScheme}`, async (all) => {
      await setUp(all, new Hands(all.page));
      await fitsItsWidth(all.page);
    }, {viewport, colorScheme});
});

const offered = (page) => page.locator('#wizard [data-step]').evaluateAll((steps) =>
  steps.filter((one) => one.checkVisibility()).map((one) => one.dataset.step));

describe('The wizard', () => {
  inside('shows the agent’s own sentence where a step is refused', async ({page}) => {
    await send(page, 'connect').click();
    await isRefused(page, 'connect', 'the device has not started its service, so no phone can find it');
  }, {washer: false});

  inside('offers at each moment what makes sense then', async ({page}) => {
    assert.deepEqual(await offered(page), ['connect']);
    await send(page, 'connect').click();
    await eventually('the steps of a connected phone', async () => (await offered(page)).includes('confirm'));
    assert.deepEqual(await offered(page), ['confirm', 'pin', 'scan', 'choose', 'provision', 'language', 'vendor-info',
      'features', 'get-provisioning', 'accept-terms', 'leave']);
    await step(page, 'leave').locator('summary').click();
    await send(page, 'leave').click();
    await eventually('only connecting again', async () => (await offered(page)).join() === 'connect');
  });

  inside('leaves out what an old agent does not know', async ({page}) => {
    await send(page, 'connect').click();
    await eventually('the steps of a connected phone', async () => (await offered(page)).includes('confirm'));
    assert.deepEqual(await offered(page), ['confirm', 'pin', 'scan', 'choose', 'provision', 'leave']);
    await step(page, 'pin').locator('summary').click();
    await field(page, 'pin', 'Kind optional').selectOption('ultrasound');
    await send(page, 'pin').click();
    await isRefused(page, 'pin', 'agent 1.0 knows no ultrasound PIN, only 1.1 and newer ones do');
  }, {args: ['--agent-version', '1.0']});

  inside('hears an ultrasound PIN, and asks for one on a label', async ({page, stage, washer}) => {
    await send(page, 'connect').click();
    await step(page, 'pin').locator('summary').click();
    await field(page, 'pin', 'Kind optional').selectOption('ultrasound');
    await send(page, 'pin').click();
    await washer.says(/loudspeaker: plays a PIN of 8 digits/);
    await send(page, 'enter-pin').click();
    await washer.says(/loudspeaker: silent/);
    assert.equal((await stage.state()).setup.pin.verified, true);
    await step(page, 'pin').locator('summary').click();
    await field(page, 'pin', 'Kind optional').selectOption('label');
    await send(page, 'pin').click();
    await isRefused(page, 'pin', 'the device has set no preconfigured PIN, so its label has none');
  });

  inside('tells the device language, vendor data and terms, and what it answers', async ({page, washer}) => {
    await send(page, 'connect').click();
    await step(page, 'language').locator('summary').click();
    await field(page, 'language', 'Value').fill('fr-FR');
    await send(page, 'language').click();
    await step(page, 'language').locator('.note', {hasText: 'language: fr-FR'}).waitFor();
    await step(page, 'vendor-info').locator('summary').click();
    await field(page, 'vendor-info', 'Text optional').fill('{"colour": "white"}');
    await send(page, 'vendor-info').click();
    await washer.says(/vendor data: 18 bytes of kind 0/);
    await step(page, 'accept-terms').locator('summary').click();
    await field(page, 'accept-terms', 'Accepted optional').uncheck();
    await send(page, 'accept-terms').click();
    await washer.says(/terms: the user's answer: \{"accepted":false\}/);
  });

  inside('renames a device that is set up, and removes it when its user agrees', async ({page, stage, washer}) => {
    await setUp({page, stage, washer}, new Mouse(page));
    await step(page, 'rename').locator('summary').click();
    await field(page, 'rename', 'Nick').fill('Laundry');
    await send(page, 'rename').click();
    await washer.says(/nick name: Laundry \(device 0\)/);
    await page.locator('#device strong', {hasText: 'Laundry'}).waitFor();
    await step(page, 'remove').locator('summary').click();
    await send(page, 'remove').click();
    await washer.says(/reset: done/);
    await page.locator('[data-stage="waiting"]', {hasText: 'Not set up'}).waitFor();
  });
});
