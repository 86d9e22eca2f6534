// SPDX-License-Identifier: Apache-2.0
// A private agent with its console, applications beside it, and a browser in front of it.
import assert from 'node:assert/strict';
import {spawn} from 'node:child_process';
import {mkdtempSync, readFileSync, rmSync, writeFileSync} from 'node:fs';
import {createRequire} from 'node:module';
import {tmpdir} from 'node:os';
import {join} from 'node:path';

// What npm installed lies in the build directory; the sources stay clean.
const {chromium} = createRequire(`${process.env.KORVANE_NODE_PACKAGES}/`)('playwright-core');

export const patienceMs = 30000; // a busy machine is no failure
const pollMs = 20;

/// Until `condition` gives something true, which is given back; the deadline fails the test.
export async function eventually(what, condition, within = patienceMs) {
  const end = Date.now() + within;
  for (;;) {
    const found = await condition();
    if (found)
      return found;
    if (Date.now() > end)
      assert.fail(`not within ${within} ms: ${typeof what === 'function' ? what() : what}`);
    await new Promise((resolve) => setTimeout(resolve, pollMs));
  }
}

/// A process of the stage; it ends with the test program, whatever becomes of that.
class Actor {
  said = '';

  constructor(program, args, env) {
    this.process = spawn('setpriv', ['--pdeathsig', 'KILL', '--', program, ...args],
      {env: {...process.env, ...env}, stdio: ['ignore', 'pipe', 'pipe']});
    for (const stream of [this.process.stdout, this.process.stderr])
      stream.on('data', (text) => { this.said += text; });
    this.ended = new Promise((resolve) => this.process.on('exit', resolve));
  }

  says(text) {
    return eventually(() => `${text} in:\n${this.said}`, () => this.said.match(text));
  }

  async end(signal = 'SIGTERM') {
    this.process.kill(signal);
    await this.ended;
  }
}

export class Stage {
  #actors = [];

  constructor() {
    this.directory = mkdtempSync(join(tmpdir(), 'korvane-console-'));
    this.env = {KORVANE_RUNTIME_DIR: join(this.directory, 'run'), KORVANE_PACKAGE_DIR: join(this.directory, 'packages')};
  }

  async start(program, ...args) {
    const actor = new Actor(program, args, this.env);
    this.#actors.unshift(actor); // applications go before their agent, or they would have another one started
    return actor;
  }

  async startAgent(...args) {
    this.agent = await this.start(process.env.KORVANE_AGENT, '--exit-with-parent', '--http', '0', ...args);
    await this.agent.says(/"agent":"ready"/);
    ({http: this.http} = JSON.parse(readFileSync(join(this.env.KORVANE_RUNTIME_DIR, 'control.json'), 'utf8')));
    this.origin = `http://127.0.0.1:${this.http.port}`;
    this.address = `${this.origin}/#${this.http.token}`;
  }

  async startWasher({radio, ...options} = {}) {
    const file = this.write('radio.json', radio ?? ordinaryRadio);
    const more = Object.entries(options).flatMap(([name, value]) => [`--${name}`, value]);
    this.washer = await this.start(process.env.KORVANE_WASHER, '--join-ms', '50', '--radio', file, ...more);
    await this.washer.says(/washer: ready/);
    return this.washer;
  }

  write(name, document) {
    const file = join(this.directory, name);
    writeFileSync(file, JSON.stringify(document));
    return file;
  }

  /// The control API without a browser: what the console did is looked at from the other side.
  async run(name, values = {}) {
    const answer = await fetch(`${this.origin}/v1/${name}`,
      {method: 'POST', headers: {Authorization: `Bearer ${this.http.token}`}, body: JSON.stringify(values)});
    return answer.json();
  }

  async state() {
    return (await this.run('state')).state;
  }

  stateBecomes(what, condition) {
    return eventually(what, async () => condition(await this.state()));
  }

  async entries(filter = {}) {
    return (await this.run('journal', {filter})).entries;
  }

  async end() {
    for (const actor of this.#actors.splice(0))
      await actor.end();
    rmSync(this.directory, {recursive: true, force: true});
  }
}

export const ordinaryRadio = [
  {ssid: 'home', bssid: '02:00:00:00:00:01', authtype: 4, enctype: 3, channel: 6, frequency: 2437, signal_level: -48, password: 'laundry day'},
  {ssid: 'café', bssid: '02:00:00:00:00:03', channel: 11, frequency: 2462, signal_level: -70},
];

// ---- the browser -----------------------------------------------------------------------------------------------------

export const openBrowser = () => chromium.launch({executablePath: '/usr/bin/chromium', args: ['--disable-gpu', '--disable-lcd-text']});

// The agent refuses with a sentence that the page shows; the browser notes that as well.
const refusal = /status of 400/;

export const wide = {width: 1280, height: 900};
export const narrow = {width: 360, height: 780};

/// A page whose errors, and whatever its policy kept out, fail the test at the end.
export async function openPage(browser, address, {viewport = wide, colorScheme = 'light', expected = /^$/, ready = true} = {}) {
  const context = await browser.newContext({viewport, colorScheme, acceptDownloads: true});
  const page = await context.newPage();
  page.setDefaultTimeout(patienceMs);
  page.problems = [];
  page.on('pageerror', (problem) => page.problems.push(String(problem)));
  page.on('console', (message) => message.type() === 'error' && !refusal.test(message.text()) && !expected.test(message.text()) && page.problems.push(message.text()));
  page.on('dialog', (dialog) => { page.problems.push(`dialog: ${dialog.message()}`); dialog.dismiss(); });
  await page.goto(address);
  if (ready)
    await page.locator('body[data-status="connected"] #version:not(:empty)').waitFor();
  return page;
}

export async function closePage(page) {
  assert.deepEqual(page.problems, []);
  await page.context().close();
}

export async function fitsItsWidth(page) {
  const [content, shown] = await page.evaluate(() => [document.documentElement.scrollWidth, document.documentElement.clientWidth]);
  assert.ok(content <= shown, `the page is ${content} px wide and shows ${shown}`);
  const cut = await page.evaluate(() => [...document.querySelectorAll('.view, header, #entries')]
    .filter((one) => one.checkVisibility() && one.scrollWidth > one.clientWidth).map((one) => one.id || one.tagName));
  assert.deepEqual(cut, [], 'these would have to be scrolled sideways');
}

/// A test with an agent, the washer and the console in front of them: act({stage, page, washer}). Whatever becomes of it,
/// nothing stays; of one that fails there is a picture beside what npm installed.
export function scene(it, browser, name, act, {args = [], washer = true, console: opened = true, ...options} = {}) {
  it(name, async () => {
    const stage = new Stage();
    let page;
    try {
      await stage.startAgent(...args);
      if (washer)
        await stage.startWasher(washer === true ? {} : washer);
      if (opened)
        page = await openPage(browser(), stage.address, options);
      await act({stage, page, washer: stage.washer});
      if (page)
        await closePage(page);
    } catch (problem) {
      await page?.screenshot({path: join(process.env.KORVANE_NODE_PACKAGES, `failed ${name.slice(0, 60)}.png`)}).catch(() => {});
      problem.message += await page?.locator('.outcome, .refusal').allTextContents()
        .then((said) => `\nThe page says: ${said.filter(Boolean).join(' | ')}`, () => '') ?? '';
      throw problem;
    } finally {
      await page?.context().close().catch(() => {});
      await stage.end();
    }
  });
}
