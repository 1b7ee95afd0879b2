// What must hold for every page. Each check gives a list of what is wrong.
'use strict';

const fs = require('fs');
const path = require('path');
const { fileURLToPath } = require('url');

const axeSource = fs.readFileSync(require.resolve('axe-core/axe.min.js'), 'utf8');

const PHONE = 375;
const DESKTOP = 1280;
const NARROWEST = 320;

// Calls look(tab, page, view) for every page in every view and collects what it finds.
async function everywhere({ pages, window, visit }, views, look) {
  const wrong = [];
  for (const view of views) {
    const tab = await window(view);
    for (const page of pages) {
      await visit(tab, page);
      for (const line of await look(tab, page, view)) wrong.push(`${page}: ${line}`);
    }
    await tab.context().close();
  }
  return wrong;
}

function scroll(run) {
  const views = [NARROWEST, PHONE, DESKTOP].map((width) => ({ width }));
  return everywhere(run, views, async (tab, page, { width }) => {
    const needed = await tab.evaluate(() => {
      window.scrollTo(10000, 0);
      const moved = window.scrollX;
      return Math.max(document.scrollingElement.scrollWidth, window.innerWidth + moved);
    });
    return needed > width ? [`needs ${needed} of ${width} pixels`] : [];
  });
}

// What is wrong with one link of a page, or null.
async function problemOfLink(run, page, link, ids) {
  const url = new URL(link.url);
  if (url.protocol === 'mailto:') {
    return /@/.test(url.pathname) ? null : `${link.text}: an address without @`;
  }
  if (url.protocol !== 'file:') return null;
  const file = fileURLToPath(url.origin === 'null' ? url.href.replace(/[?#].*/, '') : url);
  const inside = path.relative(fs.realpathSync(run.site), file);
  if (inside.startsWith('..')) return `${link.text}: leads out of the site`;
  if (!fs.existsSync(file) || !fs.statSync(file).isFile()) return `${link.text}: no such file`;
  // A web server knows letter case even where the file system here does not.
  if (!fs.readdirSync(path.dirname(file)).includes(path.basename(file))) {
    return `${link.text}: spelled otherwise on disk`;
  }
  if (url.hash.length > 1 && inside === page && !ids.has(decodeURIComponent(url.hash.slice(1)))) {
    return `${link.text}: no such place on the page`;
  }
  return null;
}

function links(run) {
  return everywhere(run, [{}], async (tab, page) => {
    const { found, ids } = await tab.evaluate(() => {
      const all = [];
      for (const name of ['href', 'src', 'background', 'action']) {
        for (const element of document.querySelectorAll(`[${name}]`)) {
          const text = element.getAttribute(name);
          // An empty value: the first page has no page before it. Nobody may see such a link.
          if (text !== '') all.push({ text, url: new URL(text, document.baseURI).href });
          else if (element.checkVisibility()) all.push({ text: `${name}=""`, url: 'file:///none' });
        }
      }
      return { found: all, ids: [...document.querySelectorAll('[id]')].map((e) => e.id) };
    });
    const wrong = [];
    for (const link of found) {
      const problem = await problemOfLink(run, page, link, new Set(ids));
      if (problem) wrong.push(problem);
    }
    return wrong;
  });
}

function axe(run) {
  const views = [];
  for (const width of [PHONE, DESKTOP]) {
    for (const scheme of ['light', 'dark']) views.push({ width, scheme });
  }
  return everywhere(run, views, async (tab, page, { width, scheme }) => {
    await tab.evaluate(axeSource);
    const { violations } = await tab.evaluate(() => window.axe.run(document));
    return violations.map(({ id, help, nodes }) => {
      const where = nodes.map((node) => node.target.join(' ')).join(', ');
      return `${id}: ${help} (${width} pixels, ${scheme}): ${where}`;
    });
  });
}

// No field failed, no tag is left over, and nothing on the page needs a script.
function content(run) {
  return everywhere(run, [{ scripts: false }], async (tab, page) => {
    const text = fs.readFileSync(path.join(run.site, page), 'latin1');
    const wrong = [];
    if (text.includes('***ERROR')) wrong.push(text.match(/\*\*\*ERROR.{0,60}/s)[0]);
    const tag = text.match(/\$(?:[^$\s.]+\.)?[A-Z]+(?:_[A-Z]+)+(?:\([^$]*\))?\$/);
    if (tag) wrong.push(`left over: ${tag[0]}`);
    if (/<script|\son[a-z]+\s*=/i.test(text)) wrong.push('holds a script');
    if ((await tab.locator('h1').count()) === 0) wrong.push('has no heading');
    if ((await tab.title()).trim() === '') wrong.push('has no title');
    return wrong;
  });
}

// A keyboard reaches every link and control that a mouse reaches, each visibly.
function keyboard(run) {
  return everywhere(run, [{ width: PHONE }, { width: DESKTOP }], async (tab) => {
    const wanted = await tab.evaluate(() => {
      const groups = new Set();
      return [...document.querySelectorAll('a[href], button, input, select, textarea, [tabindex="0"]')]
        .filter((element) => element.checkVisibility({ visibilityProperty: true }))
        .filter((element) => {
          // The radio buttons of one name are one stop.
          if (element.type !== 'radio') return true;
          const seen = groups.has(element.name);
          groups.add(element.name);
          return !seen;
        }).length;
    });
    const wrong = [];
    for (let stop = 0; stop < wanted; ++stop) {
      await tab.keyboard.press('Tab');
      const problem = await tab.evaluate((first) => {
        const element = document.activeElement;
        if (!element || element === document.body) return 'a stop is missing';
        const box = element.getBoundingClientRect();
        const onScreen = box.right > 0 && box.bottom > 0 && box.left < window.innerWidth;
        const style = getComputedStyle(element);
        if (!onScreen) return `${element.outerHTML.slice(0, 80)} is not on the screen`;
        if (style.outlineStyle === 'none') return `${element.outerHTML.slice(0, 80)} shows no focus`;
        if (first && !element.matches('a[href^="#"]')) return 'the first stop skips nothing';
        return null;
      }, stop === 0);
      if (problem) wrong.push(problem);
    }
    return wrong;
  });
}

// Pictures of every page for people to look at, as a reader without scripts sees it.
async function screenshots(run) {
  fs.mkdirSync(run.out, { recursive: true });
  const views = [];
  for (const [name, width] of [['phone', PHONE], ['desktop', DESKTOP]]) {
    for (const scheme of ['light', 'dark']) views.push({ name, width, scheme, scripts: false });
  }
  return everywhere(run, views, async (tab, page, { name, scheme }) => {
    const file = path.join(run.out, `${page.replace(/\.htm$/, '')}.${name}-${scheme}.png`);
    await tab.screenshot({ path: file, fullPage: true });
    return fs.statSync(file).size > 1000 ? [] : [`${file} is empty`];
  });
}

module.exports = { scroll, links, axe, content, keyboard, screenshots };
