// SPDX-License-Identifier: Apache-2.0
// Runs the test files, two at a time: a browser waits for the page more than it computes.
import {readdirSync} from 'node:fs';
import {run} from 'node:test';
import {spec} from 'node:test/reporters';
import {fileURLToPath} from 'node:url';

const here = fileURLToPath(new URL('.', import.meta.url));
const files = readdirSync(here).filter((name) => name.endsWith('.test.mjs')).map((name) => here + name);

run({files, concurrency: 2})
  .on('test:fail', () => { process.exitCode = 1; })
  .compose(new spec())
  .pipe(process.stdout);
