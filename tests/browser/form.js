// Fills in the forms of a site and catches what a browser sends for them.
'use strict';

const fs = require('fs');
const http = require('http');
const path = require('path');

// A server on the loopback interface that keeps the one form that it gets.
function catcher() {
  return new Promise((ready) => {
    let arrived;
    const form = new Promise((resolve) => {
      arrived = resolve;
    });
    const server = http.createServer((request, response) => {
      const pieces = [];
      request.on('data', (piece) => pieces.push(piece));
      request.on('end', () => {
        response.end('thanks');
        if (request.method === 'POST') {
          arrived({ type: request.headers['content-type'] || '', body: Buffer.concat(pieces) });
        }
      });
    });
    server.listen(0, '127.0.0.1', () => ready({ server, form, port: server.address().port }));
  });
}

// Chooses the last answer of everything in the form that can be chosen, with the keyboard's means.
async function choose(form) {
  const chosen = [];
  for (const group of await form.locator('fieldset:has(input[type=radio])').all()) {
    const button = group.locator('input[type=radio]').last();
    await button.check();
    chosen.push(await button.evaluate((e) => [e.name, e.value]));
  }
  for (const list of await form.locator('select').all()) {
    const options = await list.locator('option').all();
    await list.selectOption({ index: options.length - 1 });
    chosen.push(await list.evaluate((e) => [e.name, e.value]));
  }
  return chosen;
}

// What a mail program makes of a "mailto:" address.
function mailOf(address) {
  const url = new URL(address);
  return {
    to: decodeURIComponent(url.pathname),
    subject: url.searchParams.get('subject') || '',
    body: url.searchParams.get('body') || '',
  };
}

// Sends the form to a server of our own, with its method and enctype.
async function post(form) {
  const target = await form.evaluate((element) => element.getAttribute('action'));
  const { server, form: sent, port } = await catcher();
  try {
    await form.evaluate((element, action) => {
      element.action = action;
    }, `http://127.0.0.1:${port}/`);
    await form.locator('[type=submit]').first().click();
    const { type, body } = await sent;
    return { ...mailOf(target), type, body };
  } finally {
    server.closeAllConnections();
    server.close();
  }
}

// Sends the form as it stands and catches the address that the browser gives to the mail program.
async function mail(form) {
  const asked = form.page().waitForRequest((request) => request.url().startsWith('mailto:'));
  await form.locator('[type=submit]').first().click({ noWaitAfter: true });
  return { ...mailOf((await asked).url()), type: 'text/plain' };
}

// Sends every form of the site in both ways. Writes OUT/N.body and OUT/N.type, what the browser
// sent; OUT/N.to and OUT/N.subject, of the mail that it is for; OUT/N.chosen, lines of question,
// tab, answer.
async function forms(run) {
  fs.mkdirSync(run.out, { recursive: true });
  const wrong = [];
  let number = 0;
  const tab = await run.window();
  for (const page of run.pages) {
    await run.visit(tab, page);
    const targets = await tab.locator('form').evaluateAll((all) => all.map((e) => e.action));
    for (const [index, target] of targets.entries()) {
      if (!target.startsWith('mailto:')) {
        wrong.push(`${page}: a form goes to ${target}`);
        continue;
      }
      for (const send of [post, mail]) {
        await run.visit(tab, page);
        const form = tab.locator('form').nth(index);
        if (!(await form.isVisible())) continue;
        const chosen = await choose(form);
        if (chosen.length === 0) wrong.push(`${page}: a form has nothing to choose`);
        const { to, subject, type, body } = await send(form);
        const base = path.join(run.out, String(++number));
        const lines = chosen.map((pair) => `${pair.join('\t')}\n`).join('');
        for (const [part, text] of Object.entries({ to, subject, type, body, chosen: lines })) {
          fs.writeFileSync(`${base}.${part}`, text);
        }
      }
    }
  }
  if (number === 0) wrong.push('no page has a form');
  return wrong;
}

module.exports = { forms };
