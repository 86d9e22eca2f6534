// SPDX-License-Identifier: Apache-2.0
// The HTML site in a browser, opened as files: each page fits a phone, each link has a target, and the search finds functions.
import assert from 'node:assert/strict';
import {existsSync, readdirSync} from 'node:fs';
import {createRequire} from 'node:module';
import {join, relative} from 'node:path';
import {after, before, test} from 'node:test';
import {fileURLToPath, pathToFileURL} from 'node:url';

const {chromium} = createRequire(`${process.env.KORVANE_NODE_PACKAGES}/`)('playwright-core');
const executablePath = ['/usr/bin/chromium-headless-shell', '/usr/bin/chromium'].find((file) => existsSync(file));
const site = process.env.KORVANE_SITE;
const phone = {width: 390, height: 844};
const screen = {width: 1280, height: 900};
const timeoutMs = 180000; // long enough for a busy machine

const address = (page) => pathToFileURL(join(site, page)).href;

function filesBelow(folder, ending) {
  return readdirSync(folder, {withFileTypes: true}).flatMap((entry) => entry.isDirectory()
    ? filesBelow(join(folder, entry.name), ending)
    : entry.name.endsWith(ending) ? [join(folder, entry.name)] : []);
}
const pages = filesBelow(site, '.html').map((file) => relative(site, file)).filter((page) => !page.startsWith('_static'));

let browser;
before(async () => { browser = await chromium.launch({executablePath, args: ['--disable-gpu', '--no-sandbox']}); });
after(() => browser?.close());

/// Opens a page of this size. `problems` collects what the browser reports.
async function open(viewport) {
  const problems = [];
  const page = await browser.newPage({viewport, reducedMotion: 'reduce'});
  page.setDefaultTimeout(timeoutMs);
  page.on('console', (message) => message.type() === 'error' && problems.push(`${page.url()}: ${message.text()}`));
  page.on('pageerror', (error) => problems.push(`${page.url()}: ${error.message}`));
  page.on('requestfailed', (request) => problems.push(`${page.url()} does not load ${request.url()}`));
  page.on('request', (request) => request.url().startsWith('http') && problems.push(`${page.url()} loads ${request.url()}`));
  return {page, problems};
}

/// What a page looks like to the tests.
const inspect = () => ({
  surplus: document.documentElement.scrollWidth - document.documentElement.clientWidth,
  links: [...document.querySelectorAll('a[href]')].map((link) => link.href),
  anchors: [...document.querySelectorAll('[id]')].map((element) => element.id),
  title: document.title,
});

test('each page fits a phone, reports no error, and each of its links has a target', async () => {
  const {page, problems} = await open(phone);
  const seen = new Map();
  for (const name of pages) {
    await page.goto(address(name), {waitUntil: 'domcontentloaded'});
    seen.set(address(name), await page.evaluate(inspect));
  }
  for (const [url, {surplus, title}] of seen) {
    if (surplus > 0)
      problems.push(`${url} is ${surplus} pixels wider than a phone`);
    if (!title)
      problems.push(`${url} has no title`);
  }
  for (const [url, {links}] of seen)
    for (const link of links.filter((each) => each.startsWith('file:'))) {
      const [target, anchor] = link.split('#');
      const file = target.split('?')[0];
      if (!existsSync(fileURLToPath(file)))
        problems.push(`${url} links to ${link}, which does not exist`);
      else if (anchor && seen.has(file) && !seen.get(file).anchors.includes(decodeURIComponent(anchor)))
        problems.push(`${url} links to ${link}, a place that does not exist`);
    }
  assert.deepEqual(problems, []);
  assert.ok(seen.size > 300, `only ${seen.size} pages`);
  await page.close();
});

test('each guide and reference page fits a screen', async () => {
  const {page, problems} = await open(screen);
  for (const name of pages.filter((each) => /^(docs|reference|index|README)/.test(each))) {
    await page.goto(address(name), {waitUntil: 'domcontentloaded'});
    const {surplus} = await page.evaluate(inspect);
    if (surplus > 0)
      problems.push(`${name} is ${surplus} pixels wider than a screen`);
  }
  assert.deepEqual(problems, []);
  await page.close();
});

test('the start page leads to each guide and each reference', async () => {
  const {page} = await open(screen);
  await page.goto(address('index.html'));
  const links = await page.locator('article a').evaluateAll((all) => all.map((link) => link.href));
  const guides = readdirSync(process.env.KORVANE_GUIDES).filter((name) => name.endsWith('.md'));
  assert.ok(guides.length > 15);
  for (const guide of guides)
    assert.ok(links.includes(address(`docs/${guide.replace('.md', '.html')}`)), guide);
  for (const reference of ['manual/index', 'reference/cpp', 'reference/python', 'docs/reference/control', 'docs/reference/codings'])
    assert.ok(links.includes(address(`${reference}.html`)), reference);
  const rows = await page.locator('article tbody tr').evaluateAll((all) => all.map((row) => row.lastElementChild.textContent.trim()));
  assert.ok(rows.length > 25 && rows.every((subject) => subject.length > 5), 'a page has no subject');
  await page.close();
});

test('on a phone, the menu opens the contents', async () => {
  const {page, problems} = await open(phone);
  await page.goto(address('docs/agent.html'));
  const entry = page.locator('.sidebar-tree a', {hasText: 'A first application'});
  assert.equal(await entry.evaluate((link) => link.getBoundingClientRect().right > 0), false);
  await page.locator('.mobile-header label.nav-overlay-icon').click();
  await entry.click();
  await page.waitForURL(address('docs/first-application.html'));
  assert.deepEqual(problems, []);
  await page.close();
});

for (const [word, expected] of [
  ['korvane_set_nick_name', ['manual/korvane_set_nick_name.3.html']],
  ['on_nick_changed', ['reference/cpp.html', 'reference/python.html']],
  ['SupervisedConnection', ['reference/cpp.html', 'reference/python.html', 'docs/cpp.html']],
  ['handshake', ['docs/wire-protocol.html', 'docs/glossary.html']],
])
  test(`the search finds ${word}`, async () => {
    const {page, problems} = await open(screen);
    await page.goto(address('index.html'));
    await page.locator('.sidebar-search').fill(word);
    await page.locator('.sidebar-search').press('Enter');
    const results = page.locator('#search-results ul.search li a');
    await page.locator('#search-results p', {hasText: /found \d+ page/}).waitFor();
    const found = await results.evaluateAll((links) => links.map((link) => link.href.split(/[?#]/)[0]));
    for (const wanted of expected)
      assert.ok(found.includes(address(wanted)), `${wanted} is not in ${found.join(' ')}`);
    assert.equal(expected.length > 1 || found[0] === address(expected[0]), true, 'the page of the function is not the first');
    await results.first().click();
    await page.locator('article h1').first().waitFor();
    assert.deepEqual(problems, []);
    await page.close();
  });

test('the references describe the functions of the bindings', async () => {
  const {page} = await open(screen);
  for (const [name, wanted] of [
    ['reference/cpp.html', ['Device', 'start', 'on_scan_ap', 'sign_up_cloud', 'register_sub_device', 'SupervisedConnection',
      'Subscription', 'Result', 'AccessPoint', 'ChosenAccessPoint', 'Task', 'set_exception_handler']],
    ['reference/python.html', ['class Device', 'start', 'on_scan_ap', 'sign_up_cloud', 'register_sub_device',
      'class SupervisedConnection', 'class Subscription', 'class ErrorCode', 'class AccessPoint', 'class ChosenAccessPoint',
      'class Agent', 'wait_for_call', 'run', 'set_exception_handler']],
  ]) {
    await page.goto(address(name), {waitUntil: 'domcontentloaded'});
    const headings = await page.locator('article h3').evaluateAll((all) => all.map((each) => each.firstChild.textContent));
    for (const heading of wanted)
      assert.ok(headings.includes(heading), `${name} does not describe ${heading}`);
  }
  await page.close();
});
