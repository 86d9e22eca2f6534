// SPDX-License-Identifier: Apache-2.0
// Takes the screenshots of docs/console.md: screenshots.mjs DIRECTORY
import {mkdirSync, statSync} from 'node:fs';
import {join} from 'node:path';
import {Fixture, narrow, launchBrowser, openPage} from './fixture.mjs';

const [directory] = process.argv.slice(2);
mkdirSync(directory, {recursive: true});

// Small pictures, for readers with slow connections.
const wide = {width: 1180, height: 640};
const radio = [
  {ssid: 'home', bssid: '02:00:00:00:00:01', authtype: 4, enctype: 3, channel: 6, frequency: 2437, signal_level: -48, password: 'laundry day'},
  {ssid: 'home', bssid: '02:00:00:00:00:02', authtype: 4, enctype: 3, channel: 44, frequency: 5220, signal_level: -61, password: 'laundry day'},
  {ssid: 'café', bssid: '02:00:00:00:00:03', channel: 11, frequency: 2462, signal_level: -70},
];

async function picture(name, options, act) {
  const fixture = new Fixture();
  try {
    await fixture.startAgent('--device-id', '5b1f0c7e-2d1a-5f0e-9c54-3f6d1e0a7b21');
    const washer = await fixture.startWasher({radio});
    const page = await openPage(browser, fixture.address, options);
    await act({page, fixture, washer});
    await page.mouse.move(0, 0);
    const file = join(directory, `console-${name}.png`);
    await page.screenshot({path: file, scale: 'css'});
    console.log(`${file}: ${Math.round(statSync(file).size / 1024)} KB`);
    await page.context().close();
  } finally {
    await fixture.stop();
  }
}

const phone = (fixture, ...steps) => steps.reduce((before, [step, values = {}]) =>
  before.then(() => fixture.run('phone', {step, with: values})), Promise.resolve());
const identified = [['connect'], ['confirm'], ['pin', {pin: '20260417'}], ['enter-pin', {pin: '20260417'}]];

const browser = await launchBrowser();
await picture('light', {colorScheme: 'light', viewport: wide}, async ({page, fixture}) => {
  await phone(fixture, ...identified);
  await page.locator('[data-step="scan"] button').click();
  await page.getByRole('radio', {name: /home/}).first().check();
});
await picture('dark', {colorScheme: 'dark', viewport: wide}, async ({page, fixture, washer}) => {
  await phone(fixture, ...identified, ['vendor-info', {text: {account: {region: 'EU', user_id: 'ada', access_token: 'sample', client_id: 'washer'}}}], ['scan']);
  await fixture.waitForState('networks', ({setup}) => setup.networks.length > 0);
  await phone(fixture, ['choose', {index: 0, password: 'laundry day'}]);
  await washer.prints(/joined home/);
  await fixture.waitForState('a session', ({signed_in}) => signed_in);
  await phone(fixture, ['join'], ['finish'], ['rename', {nick: 'Laundry room'}]);
  await page.locator('#device strong', {hasText: 'Laundry room'}).waitFor();
  await page.locator('#entries .entry', {hasText: 'nick_changed_cb'}).last().click();
});
await picture('phone', {colorScheme: 'light', viewport: narrow}, async ({page, fixture}) => {
  await phone(fixture, ...identified);
  await page.locator('[data-step="scan"] button').click();
  await page.getByRole('radio', {name: /home/}).first().check();
});
await browser.close();
