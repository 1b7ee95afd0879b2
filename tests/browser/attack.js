// What must hold for pages with visitors' HTML on them.
'use strict';

const fs = require('fs');
const path = require('path');
const { pathToFileURL } = require('url');

// Everything on the page that could run, load or send something, and everything that a visitor's
// text has no business with.
function findHarm() {
  const wrong = [];
  const show = (element) => element.outerHTML.slice(0, 120);
  const code = 'script, iframe, frame, object, embed, applet, svg, math, base, portal, template';
  for (const element of document.querySelectorAll(code)) wrong.push(`holds ${show(element)}`);
  for (const element of document.querySelectorAll('meta[http-equiv]')) wrong.push(show(element));
  const content = [...document.querySelectorAll('.content')];
  const dressing = 'form, input, button, select, textarea, style, link, meta, [style], [id], [name], [class], [target]';
  for (const part of content) {
    for (const element of part.querySelectorAll(dressing)) {
      if (!element.matches('h2.attachments')) wrong.push(`a visitor wrote ${show(element)}`);
    }
  }
  for (const element of document.querySelectorAll('*')) {
    for (const { name } of element.attributes) {
      if (/^on/i.test(name)) wrong.push(`${name} on ${show(element)}`);
    }
  }
  for (const name of ['href', 'src', 'action', 'formaction', 'background', 'data', 'poster', 'xlink:href']) {
    for (const element of document.querySelectorAll(`[${CSS.escape(name)}]`)) {
      const { protocol } = new URL(element.getAttribute(name), document.baseURI);
      const fine = ['http:', 'https:', 'ftp:', 'mailto:'].includes(protocol) || protocol === 'file:';
      if (!fine) wrong.push(`${name} leads to ${protocol}: ${show(element)}`);
    }
  }
  return wrong;
}

// The page without the texts of visitors: the same for all pages of a template.
function skeleton() {
  const tree = (element) => {
    const own = `${element.localName}.${element.className}#${element.id}`;
    if (element.matches('.content, h1, .title, .author, .address, .byline')) return own;
    return `${own}(${[...element.children].map(tree).join(' ')})`;
  };
  return tree(document.documentElement);
}

// Everything that a reader can do to an element.
function poke() {
  for (const element of document.querySelectorAll('body *')) {
    for (const name of ['mouseover', 'mouseenter', 'pointerenter', 'mousedown', 'wheel', 'toggle',
      'animationstart', 'animationend', 'load', 'error', 'focus', 'close']) {
      element.dispatchEvent(new Event(name, { bubbles: name !== 'load' && name !== 'error' }));
    }
    if (!element.matches('a[href^="http" i], a[href^="ftp" i], a[href^="mailto" i], a[href$=".htm"]')) {
      if (element.focus) element.focus();
    }
  }
}

function templateOf(page) {
  return page.replace(/--\d+\.htm$/, '');
}

// No script runs, nothing is asked for outside the site, no link leads to a script, and the page
// around a visitor's text is what its template made it.
async function attack(run) {
  const wrong = [];
  const root = pathToFileURL(fs.realpathSync(run.site)).href + '/';
  const tab = await run.window();
  let page = '';
  await tab.exposeBinding('alert', () => wrong.push(`${page}: a script ran`));
  tab.on('dialog', (dialog) => {
    wrong.push(`${page}: a script asked ${dialog.message()}`);
    dialog.dismiss();
  });
  tab.on('popup', () => wrong.push(`${page}: opened a window`));
  tab.on('request', (request) => {
    const url = request.url();
    if (!url.startsWith(root)) wrong.push(`${page}: asked for ${url.slice(0, 100)}`);
  });
  await tab.route((url) => !url.protocol.startsWith('file'), (route) => route.abort());
  const skeletons = new Map();
  for (page of run.pages) {
    await run.visit(tab, page);
    for (const line of await tab.evaluate(findHarm)) wrong.push(`${page}: ${line}`);
    if (/--\d+\.htm$/.test(page)) {
      const found = await tab.evaluate(skeleton);
      const first = skeletons.get(templateOf(page));
      if (first === undefined) skeletons.set(templateOf(page), found);
      else if (first !== found) wrong.push(`${page}: is built otherwise: ${found}`);
    }
    await tab.evaluate(poke);
    if (!tab.url().startsWith(root + page)) wrong.push(`${page}: went to ${tab.url()}`);
  }
  // What scripts do later.
  await tab.waitForTimeout(200);
  return wrong;
}

// The message looks the same, to the pixel, on the page of that name in the site OUT.
async function alike(run) {
  const wrong = [];
  for (const width of [375, 1280]) {
    const tab = await run.window({ width });
    for (const page of run.pages.filter((name) => /--\d+\.htm$/.test(name))) {
      const pictures = [];
      const texts = [];
      for (const site of [run.site, run.out]) {
        await tab.goto(pathToFileURL(path.join(site, page)).href);
        pictures.push(await tab.locator('.content').screenshot());
        texts.push((await tab.locator('.content').innerText()).replace(/\s+/g, ' '));
      }
      if (texts[0] !== texts[1]) wrong.push(`${page}: reads otherwise`);
      if (!pictures[0].equals(pictures[1])) wrong.push(`${page}: looks otherwise at ${width} pixels`);
    }
    await tab.context().close();
  }
  return wrong;
}

module.exports = { attack, alike };
