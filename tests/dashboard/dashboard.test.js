import assert from 'node:assert/strict';
import {after, test} from 'node:test';

import {closeBrowser, obstacles, picture, Stage} from './stage.js';

after(closeBrowser);

const row = (page, text) => page.locator('#calls-rows tr', {hasText: text});

test('calls arrive while one watches, are filtered, and shown in full', async (t) => {
  const stage = await Stage.open(t);
  const page = await stage.look('', {permissions: ['clipboard-read', 'clipboard-write']});
  await page.getByText('No app has called yet.').waitFor();
  await stage.join('ann');
  await stage.app('eve', 'user', 'login', '--zavelo-id', 'ann', '--password', 'sesame');
  await row(page, 'zavelo-login').waitFor();
  await row(page, '652').waitFor();

  await page.getByLabel('Outcome').selectOption('refused');
  assert.equal(await page.locator('#calls-rows tr').count(), 1);
  await page.getByLabel('Endpoint or caller').fill('nothing');
  await page.getByText('No call fits the filter.').waitFor();
  await page.getByLabel('Endpoint or caller').fill('LOGIN');

  await row(page, '652').getByRole('button').press('Enter');
  const pane = page.getByRole('complementary', {name: 'The chosen call'});
  await pane.getByText('"password": "•••"').waitFor();
  await pane.getByRole('button', {name: 'Copy as curl'}).click();
  await page.getByText('Copied.').waitFor();
  const command = await page.evaluate(() => navigator.clipboard.readText());
  assert.match(command, /^curl -X POST 'http:.*\/api\/users\/login'/);
  assert.doesNotMatch(await page.content() + command, /sesame/);
});

test('an expired token is renewed before one’s eyes', async (t) => {
  const stage = await Stage.open(t);
  await stage.join('ann');
  const page = await stage.look('#users');
  await page.getByRole('button', {name: 'Expire tokens: ann'}).click();
  await page.locator('[data-user=ann]').getByText('token expired').waitFor();
  assert.ok((await stage.app('ann', 'user', 'search-for-user', '--display-name', 'a')).ok);
  await page.locator('[data-user=ann]').getByText('token until').waitFor();
  await page.getByRole('link', {name: 'Calls'}).click();
  await row(page, '/refresh').waitFor();
  const outcomes = await page.locator('#calls-rows tr td:nth-child(4)').allInnerTexts();
  assert.deepEqual(outcomes.slice(0, 3).reverse(), ['401', 'ok', 'ok']);
});

test('a banned user’s app is signed out', async (t) => {
  const stage = await Stage.open(t);
  await stage.join('ann');
  const page = await stage.look('#users');
  await page.getByRole('button', {name: 'Ban: ann'}).press('Enter');
  await page.getByText('ann is banned').waitFor();
  const {complaint} = await stage.app('ann', 'user', 'search-for-user', '--display-name', 'a');
  assert.match(complaint, /603/);
  assert.equal((await stage.app('ann', 'user', 'is-login')).output, 'false');
  await page.getByRole('link', {name: 'Calls'}).click();
  await row(page, '603 banned').waitFor();
});

test('the next call of an endpoint is broken as told, and no other', async (t) => {
  const stage = await Stage.open(t);
  await stage.join('ann');
  const page = await stage.look('#faults/api/users/search');
  await page.getByRole('combobox', {name: 'Fault', exact: true}).selectOption('code');
  await page.getByLabel('Message').fill('Elsewhere');
  await page.getByLabel('Pass first').fill('1');
  await page.getByRole('button', {name: 'Break it'}).click();
  await page.getByText('⚡ code 1341 Elsewhere').waitFor();
  const search = () => stage.app('ann', 'user', 'search-for-user', '--display-name', 'a');
  assert.ok((await search()).ok);
  assert.match((await search()).complaint, /1341.*Elsewhere/);
  await page.getByText('Nothing is broken.').waitFor();
});

test('a delayed call is shown at once, and becomes the answered one', async (t) => {
  const stage = await Stage.open(t);
  await stage.join('ann');
  const page = await stage.look();
  const pane = page.getByRole('complementary', {name: 'The chosen call'});
  const search = (name) => stage.app(name, 'user', 'search-for-user', '--display-name', 'a');
  await stage.spoil('/api/users/search', 'delay', {milliseconds: 600000});
  search('ann');
  await row(page, 'pending').waitFor();
  await stage.join('bob');
  await page.locator('tr:has-text("zavelo-login") + tr', {hasText: 'pending'}).waitFor();
  await page.getByRole('button', {name: 'Clear the log'}).click();
  await row(page, 'zavelo-login').first().waitFor({state: 'detached'});
  await row(page, /pending \d+ s/).waitFor();

  await page.getByLabel('Outcome').selectOption('pending');
  await stage.spoil('/api/users/search', 'delay', {milliseconds: 600000});
  const answered = search('bob');
  await row(page, 'bob').getByRole('button').click();
  await pane.getByText('There is no answer yet.').waitFor();
  await pane.getByText('Request headers').click();
  await pane.getByRole('button', {name: 'Drop all faults'}).click();
  assert.ok((await answered).ok);
  await row(page, 'bob').waitFor({state: 'detached'});
  await pane.getByText('⚡ delay').waitFor();
  assert.ok(await pane.getByText('authorization').isVisible());
  await page.getByLabel('Outcome').selectOption('');
  assert.deepEqual(await page.locator('#calls-rows .who').allInnerTexts(), ['bob', 'ann']);
});

// Its picture stands in the guides: docs/dashboard.png.
test('a stream that breaks on purpose is read off the page', async (t) => {
  const stage = await Stage.open(t);
  for (const [name, displayName] of [['ann', 'Ann'], ['bob', 'Bob']]) await stage.join(name, displayName);
  await stage.app('gus', 'user', 'login-guest');
  const slug = await stage.broadcast('ann', 'Soup');
  const at = (name, operation, ...words) => stage.app(name, 'stream', operation, '--slug', slug, ...words);
  const search = () => stage.app('bob', 'user', 'search-for-user', '--display-name', 'a');
  for (const name of ['gus', 'bob']) await at(name, 'update-stream-view-count');
  await at('bob', 'end-stream');
  await stage.spoil('/api/streams/like', 'delay', {milliseconds: 300});
  for (const count of ['3', '5']) await at('bob', 'like-stream', '--count', count);
  await stage.spoil('/api/streams/viewer-list', 'invalidJson');
  await at('ann', 'get-audience-list');
  await stage.act('expire-tokens', {userName: 'bob'});
  await search();
  await stage.spoil('/api/streams/detail', 'delay', {milliseconds: 600000});
  at('ann', 'get-stream-detail');
  await stage.spoil('/api/users/search', 'code', {code: 1341, message: 'Signed in elsewhere'});
  await search();

  const page = await stage.look('', {viewport: {width: 1280, height: 760}});
  const expected = {'/detail': 'pending', '/viewer-list': '⚡ invalid JSON', '/end': '1098 no permission'};
  for (const [path, outcome] of Object.entries(expected)) await row(page, path).getByText(outcome).waitFor();
  const outcomes = await row(page, '/search').locator('td:nth-child(4)').allInnerTexts();
  assert.deepEqual(outcomes.map((text) => text.split(/\s/)[0]), ['1341', 'ok', '401']);
  await row(page, '/refresh').getByRole('button').click();
  await page.getByRole('complementary').getByText('"refreshToken"').nth(1).waitFor();
  await picture(page, 'dashboard');
});

test('a lost connection is told, and what comes after it is shown', async (t) => {
  const stage = await Stage.open(t);
  stage.tolerated = /Failed to load resource|ERR_/;
  await stage.join('ann');
  const page = await stage.look();
  await row(page, 'zavelo-login').waitFor();
  await stage.stopSandbox();
  await page.getByText('Lost, trying again…').waitFor();
  await stage.startSandbox();
  await stage.join('ann');
  await page.getByText('Live', {exact: true}).waitFor();
  await row(page, 'zavelo-login').waitFor();
  await stage.app('ann', 'user', 'search-for-user', '--display-name', 'a');
  await row(page, '/search').waitFor();
  assert.equal(await page.locator('#calls-rows tr').count(), 2);
});

test('what happened while the page was out of sight is told when it is back', async (t) => {
  const stage = await Stage.open(t);
  const page = await stage.look();
  const turn = (state) => page.evaluate((value) => {
    Object.defineProperty(document, 'visibilityState', {value, configurable: true});
    document.dispatchEvent(new Event('visibilitychange'));
  }, state);
  await turn('hidden');
  await page.getByText('Paused out of sight').waitFor();
  for (const name of ['ann', 'bob']) await stage.join(name);
  assert.equal(await page.locator('#calls-rows tr').count(), 0);
  await turn('visible');
  await row(page, 'zavelo-login').nth(1).waitFor();
  await page.getByText('Live', {exact: true}).waitFor();
});

test('chat flows, a poll’s bars move, and gifts are ranked', async (t) => {
  const stage = await Stage.open(t);
  await stage.join('ann', 'Ann');
  await stage.join('bob', 'Bob');
  const slug = await stage.broadcast('ann', 'Soup');
  const page = await stage.look('#streams');
  await stage.say('bob', slug, 'Hello');
  const line = page.locator('#chat li', {hasText: 'Bob Hello'});
  await line.getByText('JSON').click();
  await line.getByText('"senderUserName": "bob"').waitFor();
  assert.equal(await line.getByText('claims to be').count(), 0);
  await page.locator('#chat li', {hasText: 'Bob went'}).waitFor();

  await page.getByLabel('Question').fill('Which?');
  await page.getByLabel('First option').fill('Leek');
  await page.getByLabel('Second option').fill('Kale');
  await page.getByRole('button', {name: 'Start a poll'}).click();
  await page.getByRole('button', {name: '+1 for Leek'}).click();
  await page.locator('#poll li', {hasText: 'Leek'}).getByText('1', {exact: true}).waitFor();
  await stage.say('bob', slug, 'kale');
  await page.locator('#poll li', {hasText: 'Kale'}).getByText('1', {exact: true}).waitFor();
  assert.equal(await page.locator('#poll .bar-fill').first().evaluate((bar) => bar.style.width), '50%');
  await page.getByRole('button', {name: 'Stop the poll'}).press('Space');
  await page.getByLabel('Question').waitFor();

  await stage.act('gift', {slug, userName: 'bob', giftId: 1, amount: 3});
  await page.locator('#givers li', {hasText: 'Bob 3 given'}).waitFor();
  await page.getByRole('link', {name: 'Users'}).click();
  await page.getByLabel('Gold to give').fill('5000');
  await page.getByRole('button', {name: 'Give gold: ann'}).click();
  await page.getByText('6000 gold').waitFor();
});

test('what hosts, viewers and administrators do is done by buttons', async (t) => {
  const stage = await Stage.open(t);
  await stage.join('ann', 'Ann');
  await stage.join('bob', 'Bob');
  const slug = await stage.broadcast('ann', 'Soup');
  const page = await stage.look('#streams');
  const pane = page.getByRole('region', {name: 'The chosen stream'});
  const press = (name) => pane.getByRole('button', {name, exact: true}).press('Enter');
  await press('Send a statistic');
  await page.getByText('Nothing was sent: the channel has no members').waitFor();
  await pane.getByLabel('Giver').fill('bob');
  await pane.getByLabel('How many').fill('2');
  await press('Give');
  await page.getByText('bob gave it, but the channel has no members').waitFor();
  await page.locator('#givers li', {hasText: 'Bob 2 given'}).waitFor();

  stage.listen('bob', slug);
  await page.locator('#chat li', {hasText: 'came'}).waitFor();
  await stage.app('bob', 'stream', 'update-stream-view-count', '--slug', slug);
  await pane.getByRole('button', {name: 'Bob since'}).press('Enter');
  for (const [name, told] of [['Kick', 'kicked'], ['Unkick', 'unkicked'], ['Mute', 'muted'], ['Unmute', 'unmuted']]) {
    await press(name);
    const line = page.locator('#chat li').filter({has: page.getByText(told, {exact: true})});
    await line.getByText('JSON').click();
    await line.getByText('"targetUsername": "bob"').waitFor();
  }
  await pane.getByLabel('Text', {exact: true}).fill('Leeks!');
  await pane.getByLabel('x, if any').fill('0.5');
  await press('Show the text');
  await page.locator('#chat li', {hasText: 'floating text Leeks!'}).waitFor();
  await press('Lock with it');
  assert.equal(await pane.getByText('locked', {exact: true}).count(), 0);  // without a password
  await pane.getByLabel('Password').fill('sesame');
  await press('Lock with it');
  await pane.getByText('locked', {exact: true}).waitFor();
  await press('Unlock');
  await pane.getByText('Everybody can watch.').waitFor();
  await stage.app('ann', 'stream', 'end-stream', '--slug', slug);
  await pane.getByText('It has ended').waitFor();
  assert.equal(await pane.getByRole('button', {name: 'Kick', exact: true}).count(), 0);
});

const hostile = '<img src=x onerror=alert(1)><b>Bob</b>';

test('what others write stays text wherever it is shown', async (t) => {
  const stage = await Stage.open(t, {
    tags: [{tagId: 2, tagName: `Tag ${hostile}`}],
    gifts: [{giftId: 1, giftName: `Gift ${hostile}`, costGold: 1}],
  });
  await stage.join('bob', hostile);
  await stage.join('eve', 'Eve');
  await stage.app('gus', 'user', 'login-guest');
  const slug = await stage.broadcast('eve', hostile);
  await stage.app('bob', 'stream', 'update-stream-view-count', '--slug', slug);
  const page = await stage.look('#streams');
  const sees = (place, text = hostile) => page.locator(place).filter({hasText: text}).first().waitFor();

  stage.listen('eve', slug);
  await page.locator('#chat li', {hasText: 'came'}).waitFor();
  await stage.say('bob', slug, hostile);
  await sees('#chat p', `${hostile} ${hostile}`);
  await stage.app('bob', 'chat', 'send', '--channel', slug, '--type', 'gift', '--gift-name', hostile, '--message', `gift ${hostile}`);
  await stage.act('floating-text', {slug, content: `float ${hostile}`, color: '"><script>'});
  await stage.act('start-poll', {slug, question: hostile, option1: `1 ${hostile}`, option2: `2 ${hostile}`});
  await stage.act('gift', {slug, userName: 'bob', giftId: 1});
  for (const kind of ['gift', 'float']) await sees('#chat p', `${kind} ${hostile}`);
  for (const details of await page.locator('#chat summary').all()) await details.click();
  for (const place of ['#stream-list b', '#stream-facts h2', '#poll b', '#givers .name', '#watchers button', '#chat pre']) await sees(place, 'onerror');
  await sees('#stream-facts .facts', `Tag ${hostile}`);
  await page.locator('option', {hasText: `Gift ${hostile}`}).waitFor({state: 'attached'});
  await page.getByRole('button', {name: `+1 for 1 ${hostile}`}).click();
  await sees('#notice', `One more vote for “1 ${hostile}”`);
  await page.locator('#moderated').fill(hostile);
  await page.getByRole('button', {name: 'Mute', exact: true}).click();
  await sees('#notice', 'There is no member');

  await page.getByRole('link', {name: 'Users'}).click();
  await sees('#members .name');
  await page.getByRole('link', {name: 'Faults'}).click();
  await stage.spoil('/api/users/search', 'code', {code: 5, message: hostile});
  await sees('#faults-rows .chip');

  const file = new FormData();
  file.append(hostile, new Blob([hostile], {type: 'text/plain'}), hostile);
  await fetch(`${stage.url}/api/${encodeURIComponent(hostile)}?${hostile}`, {method: 'POST', body: file, headers: {'X-Odd': hostile}});
  await page.getByRole('link', {name: 'Calls'}).click();
  await row(page, `/api/${hostile}`).getByRole('button').click();
  for (const place of ['#call h2', '#call .part b', '#call pre', '#call .headers dd']) {
    await page.locator(place, {hasText: 'onerror'}).first().waitFor({state: 'attached'});
  }
  assert.equal(await page.locator('main img, main b b, main script').count(), 0);
});

const forms = {
  light: {colorScheme: 'light'},
  dark: {colorScheme: 'dark'},
  phone: {colorScheme: 'light', viewport: {width: 390, height: 844}},
};

test('every view is accessible and fits, in light, dark and on a phone', async (t) => {
  const stage = await Stage.open(t);
  await stage.join('ann', 'Ann Nguyễn');
  await stage.join('bob', 'Bob');
  const slug = await stage.broadcast('ann', 'Morning soup');
  for (const count of [2, 3]) await stage.app('bob', 'stream', 'like-stream', '--slug', slug, '--count', String(count));
  await stage.app('bob', 'stream', 'update-stream-view-count', '--slug', slug);
  await stage.app('bob', 'stream', 'end-stream', '--slug', slug);
  await stage.say('bob', slug, 'How much is the scarf?');
  await stage.act('start-poll', {slug, question: 'Which soup next?', option1: 'Pumpkin', option2: 'Leek'});
  await stage.act('add-votes', {slug, choice: 1, amount: 7});
  await stage.act('gift', {slug, userName: 'bob', giftId: 1, amount: 3});
  await stage.spoil('/api/streams/detail', 'delay', {milliseconds: 600000});
  stage.app('ann', 'stream', 'get-stream-detail', '--slug', slug);
  for (const [form, options] of Object.entries(forms)) {
    const page = await stage.look('', options);
    for (const view of ['calls', 'users', 'streams', 'faults']) {
      await page.goto(`${stage.url}/#${view}`);
      if (view === 'calls') await row(page, 'pending').getByRole('button').click();
      if (view === 'streams') await page.getByRole('button', {name: 'Morning soup'}).click();
      await page.locator(`#${view} :is(.chip, .empty):visible`).first().waitFor();
      await picture(page, `${view}-${form}`);
      assert.deepEqual(await obstacles(page), [], `${view} in ${form}`);
      const [inner, outer] = await page.evaluate(() => [document.documentElement.scrollWidth, innerWidth]);
      assert.ok(inner <= outer, `${view} in ${form} is ${inner} wide`);
    }
  }
});
