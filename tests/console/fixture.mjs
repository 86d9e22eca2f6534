// SPDX-License-Identifier: Apache-2.0
// Starts a private agent with its console, applications that use it, and a browser.
import assert from 'node:assert/strict';
import {spawn} from 'node:child_process';
import {existsSync, mkdtempSync, readFileSync, rmSync, writeFileSync} from 'node:fs';
import {createRequire} from 'node:module';
import {tmpdir} from 'node:os';
import {join} from 'node:path';

// npm installs into the build directory, so that the source directory stays clean.
const {chromium} = createRequire(`${process.env.KORVANE_NODE_PACKAGES}/`)('playwright-core');

export const timeoutMs = 30000; // long enough for a busy machine
const pollMs = 20;

/// Waits until `condition` returns a true value and returns it. Fails the test after the timeout.
export async function eventually(what, condition) {
  const deadline = Date.now() + timeoutMs;
  for (;;) {
    const found = await condition();
    if (found)
      return found;
    if (Date.now() > deadline)
      assert.fail(`not within ${timeoutMs} ms: ${typeof what === 'function' ? what() : what}`);
    await new Promise((resolve) => setTimeout(resolve, pollMs));
  }
}

/// A process with its output. The kernel kills it if the test program ends first.
class Program {
  #output = '';

  constructor(file, args, env) {
    this.process = spawn('setpriv', ['--pdeathsig', 'KILL', '--', file, ...args],
      {env: {...process.env, ...env}, stdio: ['ignore', 'pipe', 'pipe']});
    for (const stream of [this.process.stdout, this.process.stderr])
      stream.on('data', (text) => { this.#output += text; });
    this.exited = new Promise((resolve) => this.process.on('exit', resolve));
  }

  /// Waits until the process has printed a match of `pattern`, and returns the match.
  prints(pattern) {
    return eventually(() => `${pattern} in:\n${this.#output}`, () => this.#output.match(pattern));
  }

  async stop(signal = 'SIGTERM') {
    this.process.kill(signal);
    await this.exited;
  }
}

export class Fixture {
  #programs = [];

  constructor() {
    this.directory = mkdtempSync(join(tmpdir(), 'korvane-console-'));
    this.env = {KORVANE_RUNTIME_DIR: join(this.directory, 'run'), KORVANE_PACKAGE_DIR: join(this.directory, 'packages')};
  }

  async start(file, ...args) {
    const program = new Program(file, args, this.env);
    this.#programs.unshift(program); // stopped before their agent; otherwise they would start another one
    return program;
  }

  async startAgent(...args) {
    this.agent = await this.start(process.env.KORVANE_AGENT, '--exit-with-parent', '--http', '0', ...args);
    await this.agent.prints(/"agent":"ready"/);
    ({http: this.http} = JSON.parse(readFileSync(join(this.env.KORVANE_RUNTIME_DIR, 'control.json'), 'utf8')));
    this.origin = `http://127.0.0.1:${this.http.port}`;
    this.address = `${this.origin}/#${this.http.token}`;
  }

  async startWasher({radio = defaultRadio, ...options} = {}) {
    const file = this.write('radio.json', radio);
    const args = Object.entries({'join-ms': '50', ...options}).flatMap(([name, value]) => [`--${name}`, value]);
    this.washer = await this.start(process.env.KORVANE_WASHER, '--radio', file, ...args);
    await this.washer.prints(/washer: ready/);
    return this.washer;
  }

  write(name, document) {
    const file = join(this.directory, name);
    writeFileSync(file, JSON.stringify(document));
    return file;
  }

  /// Runs a command of the control API without the browser.
  async run(name, values = {}) {
    const response = await fetch(`${this.origin}/v1/${name}`,
      {method: 'POST', headers: {Authorization: `Bearer ${this.http.token}`}, body: JSON.stringify(values)});
    return response.json();
  }

  async state() {
    return (await this.run('state')).state;
  }

  waitForState(what, condition) {
    return eventually(what, async () => condition(await this.state()));
  }

  async entries(filter = {}) {
    return (await this.run('journal', {filter})).entries;
  }

  async stop() {
    for (const program of this.#programs.splice(0))
      await program.stop();
    rmSync(this.directory, {recursive: true, force: true});
  }
}

export const defaultRadio = [
  {ssid: 'home', bssid: '02:00:00:00:00:01', authtype: 4, enctype: 3, channel: 6, frequency: 2437, signal_level: -48, password: 'laundry day'},
  {ssid: 'café', bssid: '02:00:00:00:00:03', channel: 11, frequency: 2462, signal_level: -70},
];

// ---- the browser -----------------------------------------------------------------------------------------------------

// The shell is Chromium without its own windows and starts three times as fast.
const executablePath = ['/usr/bin/chromium-headless-shell', '/usr/bin/chromium'].find((file) => existsSync(file));

export const launchBrowser = () => chromium.launch({executablePath, args: ['--disable-gpu', '--disable-lcd-text']});

// The page shows the agent's refusals. The browser reports them on its own console too.
const refusal = /status of 400/;

export const wide = {width: 1280, height: 900};
export const narrow = {width: 360, height: 780};

/// Opens a page. closePage() fails the test if the page has reported an error or a violation of its policy.
export async function openPage(browser, address, {viewport = wide, colorScheme = 'light', expected = /^$/, ready = true} = {}) {
  const context = await browser.newContext({viewport, colorScheme, acceptDownloads: true});
  const page = await context.newPage();
  page.setDefaultTimeout(timeoutMs);
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

export async function checkFitsWidth(page) {
  const [content, visible] = await page.evaluate(() => [document.documentElement.scrollWidth, document.documentElement.clientWidth]);
  assert.ok(content <= visible, `the page is ${content} px wide, the window ${visible} px`);
  const cut = await page.evaluate(() => [...document.querySelectorAll('.view, header, #entries')]
    .filter((one) => one.checkVisibility() && one.scrollWidth > one.clientWidth).map((one) => one.id || one.tagName));
  assert.deepEqual(cut, [], 'these elements need horizontal scrolling');
}

/// Defines a test with an agent, the washer and the console: act({fixture, page, washer}). A test that fails leaves a
/// screenshot beside the files that npm has installed.
export function consoleTest(it, browser, name, act, {args = [], washer = true, console: opened = true, ...options} = {}) {
  it(name, async () => {
    const fixture = new Fixture();
    let page;
    try {
      await fixture.startAgent(...args);
      if (washer)
        await fixture.startWasher(washer === true ? {} : washer);
      if (opened)
        page = await openPage(browser(), fixture.address, options);
      await act({fixture, page, washer: fixture.washer});
      if (page)
        await closePage(page);
    } catch (problem) {
      await page?.screenshot({path: join(process.env.KORVANE_NODE_PACKAGES, `failed ${name.slice(0, 60)}.png`)}).catch(() => {});
      problem.message += await page?.locator('.outcome, .refusal').allTextContents()
        .then((shown) => `\nThe page shows: ${shown.filter(Boolean).join(' | ')}`, () => '') ?? '';
      throw problem;
    } finally {
      await page?.context().close().catch(() => {});
      await fixture.stop();
    }
  });
}
