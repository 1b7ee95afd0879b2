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

// Sends the page's form number index to a server of our own, with its method and enctype. Gives what
// arrived and where it would have gone.
async function send(tab, index) {
  const form = tab.locator('form').nth(index);
  const chosen = await choose(form);
  const target = await form.evaluate((element) => element.getAttribute('action'));
  const { server, form: sent, port } = await catcher();
  try {
    await form.evaluate((element, action) => {
      element.action = action;
    }, `http://127.0.0.1:${port}/`);
    await form.locator('[type=submit]').first().click();
    return { target, chosen, ...(await sent) };
  } finally {
    server.closeAllConnections();
    server.close();
  }
}

// Writes OUT/N.body, OUT/N.type, OUT/N.to (the address to mail it to, as a mail program writes it)
// and OUT/N.chosen (lines of question, tab, answer) for every form of the site.
async function forms(run) {
  fs.mkdirSync(run.out, { recursive: true });
  const wrong = [];
  let number = 0;
  for (const page of run.pages) {
    const count = await (await run.open(page)).locator('form').count();
    for (let index = 0; index < count; ++index) {
      const tab = await run.open(page);
      const { target, chosen, type, body } = await send(tab, index);
      await tab.context().close();
      if (!target.startsWith('mailto:')) wrong.push(`${page}: a form goes to ${target}`);
      if (chosen.length === 0) wrong.push(`${page}: a form has nothing to choose`);
      const base = path.join(run.out, String(++number));
      fs.writeFileSync(`${base}.body`, body);
      fs.writeFileSync(`${base}.type`, type);
      fs.writeFileSync(`${base}.to`, decodeURIComponent(target.slice('mailto:'.length)));
      fs.writeFileSync(`${base}.chosen`, chosen.map((pair) => `${pair.join('\t')}\n`).join(''));
    }
  }
  if (number === 0) wrong.push('no page has a form');
  return wrong;
}

module.exports = { forms };
