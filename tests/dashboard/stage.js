// A sandbox, apps that call it, and a person's browser.

import {execFile, spawn} from 'node:child_process';
import assert from 'node:assert/strict';
import {mkdtempSync, rmSync, writeFileSync} from 'node:fs';
import {createRequire} from 'node:module';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {createInterface} from 'node:readline';

const {DASHBOARD_PACKAGES, DASHBOARD_BROWSER, DASHBOARD_COMMAND, DASHBOARD_PICTURES} = process.env;
const require = createRequire(join(DASHBOARD_PACKAGES, 'package.json'));
const {chromium} = require('playwright-core');
const axe = require('axe-core').source;

// Chromium's own sandbox wants what a container does not give to root.
const browser = await chromium.launch({executablePath: DASHBOARD_BROWSER,
  args: ['--no-sandbox', '--disable-dev-shm-usage']});

export class Stage {
  #folder = mkdtempSync(join(tmpdir(), 'dashboard-'));
  #seedFile = join(this.#folder, 'seed.json');
  #process;
  #listeners = [];
  #contexts = [];
  #errors = [];
  /** What the console may say: a test that stops the sandbox expects failing loads. */
  tolerated = null;

  /** `seed`: what the sandbox's seed file says. */
  static async open(t, seed = {}) {
    const stage = new Stage();
    t.after(() => stage.#close());
    writeFileSync(stage.#seedFile, JSON.stringify(seed));
    await stage.startSandbox();
    return stage;
  }

  async startSandbox() {
    this.#process = spawn(DASHBOARD_COMMAND, ['sandbox', '--ephemeral', '--seed', this.#seedFile, '--port', String(this.port ?? 0), '--broker-port', '0'],
      {stdio: ['ignore', 'pipe', 'inherit']});
    for await (const line of createInterface({input: this.#process.stdout})) {
      ({url: this.url, port: this.port, rtmUrl: this.rtmUrl} = JSON.parse(line));
      return;
    }
    throw new Error('the sandbox does not start');
  }

  stopSandbox() {
    const ended = new Promise((resolve) => this.#process.once('exit', resolve));
    this.#process.kill('SIGTERM');
    return ended;
  }

  /** An app: `await stage.app('ann', 'user', 'login-zavelo', …)`, with a session of its own. */
  app(name, ...words) {
    return new Promise((resolve) => {
      execFile(DASHBOARD_COMMAND, [...this.#optionsOf(name), ...words],
        (error, output, complaint) => resolve({ok: !error, output: output.trim(), complaint}));
    });
  }

  /** One that stays in the channel. */
  listen(name, channel) {
    this.#listeners.push(spawn(DASHBOARD_COMMAND, [...this.#optionsOf(name), 'chat', '--channel', channel], {stdio: 'ignore'}));
  }

  #optionsOf(name) {
    return ['--api', this.url, '--rtm', this.rtmUrl, '--store', join(this.#folder, name), '--json'];
  }

  async join(name, displayName = name) {
    const {ok, complaint} = await this.app(name, 'user', 'login-zavelo', '--zavelo-id', name, '--display-name', displayName);
    assert.ok(ok, complaint);
  }

  /** A stream of the member's that is live; its slug. */
  async broadcast(name, title) {
    const {output} = await this.app(name, 'stream', 'create-stream', '--title', title, '--tag-id', '2', '--address', 'Hue',
      '--country-code', 'VN', '--screen-type', 'portrait', '--stream-type', 'user');
    const {slug} = JSON.parse(output);
    assert.ok((await this.app(name, 'stream', 'begin-stream', '--slug', slug)).ok);
    return slug;
  }

  /** Says the line in the channel. */
  async say(name, channel, message) {
    const {ok, complaint} = await this.app(name, 'chat', 'send', '--channel', channel, '--message', message);
    assert.ok(ok, complaint);
  }

  /** What an administrator or a host's app does. */
  act(action, target) {
    return this.#steer('actions', {action, ...target});
  }

  /** Breaks the next call of the endpoint. */
  spoil(endpoint, fault, more = {}) {
    return this.#steer('faults', {endpoint, fault, ...more});
  }

  async #steer(what, body) {
    const answer = await fetch(`${this.url}/sandbox/${what}`, {method: 'POST', body: JSON.stringify(body),
      headers: {'Content-Type': 'application/json'}});
    assert.equal((await answer.json()).code, 1);
  }

  /** The page as a person sees it. */
  async look(view = '', options = {}) {
    const context = await browser.newContext({viewport: {width: 1280, height: 800}, ...options});
    this.#contexts.push(context);
    const page = await context.newPage();
    page.setDefaultTimeout(20000);
    page.on('console', (message) => message.type() === 'error' && this.#errors.push(message.text()));
    page.on('pageerror', (error) => this.#errors.push(String(error)));
    page.on('dialog', (dialog) => this.#errors.push(`dialog: ${dialog.message()}`));
    await page.goto(`${this.url}/${view}`);
    await page.locator('#connection[data-state=live]').waitFor();
    return page;
  }

  async #close() {
    await Promise.all(this.#contexts.map((context) => context.close()));
    for (const listener of this.#listeners) listener.kill();
    if (this.#process.exitCode === null) await this.stopSandbox();
    rmSync(this.#folder, {recursive: true});
    assert.deepEqual(this.#errors.filter((text) => !this.tolerated?.test(text)), []);
  }
}

/** What stands in the way of people who see, hear or move differently (WCAG 2.2 AA). */
export async function obstacles(page) {
  await page.evaluate(axe);
  const {violations} = await page.evaluate('axe.run()');
  return violations.map(({id, nodes}) => `${id}: ${nodes.map((node) => node.html).join(' ')}`);
}

export const picture = (page, name) => page.screenshot({path: join(DASHBOARD_PICTURES, `${name}.png`)});

export const closeBrowser = () => browser.close();
