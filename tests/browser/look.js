// look.js CHECK SITE [OUT]: looks at a generated site in Chromium. Prints what is wrong, a line each,
// and ends with 1 when there is anything; 2 means that the check could not run.
'use strict';

const fs = require('fs');
const path = require('path');
const { pathToFileURL } = require('url');
const { chromium } = require('playwright-core');

const checks = { ...require('./attack.js'), ...require('./checks.js'), ...require('./form.js') };

function pagesOf(site) {
  return fs.readdirSync(site).filter((name) => name.endsWith('.htm')).sort();
}

async function main() {
  const [name, site, out] = process.argv.slice(2);
  if (!checks[name]) throw new Error(`there is no check "${name}"`);
  const pages = pagesOf(site);
  if (pages.length === 0) throw new Error(`there is no page in ${site}`);
  const browser = await chromium.launch({ executablePath: process.env.BROWSER_PROGRAM });
  try {
    const window = async (view = {}) => {
      const context = await browser.newContext({
        viewport: { width: view.width || 1280, height: view.width < 600 ? 812 : 900 },
        deviceScaleFactor: view.scale || 1,
        colorScheme: view.scheme || 'light',
        javaScriptEnabled: view.scripts !== false,
      });
      return context.newPage();
    };
    const visit = (tab, page) => tab.goto(pathToFileURL(path.join(site, page)).href);
    const wrong = await checks[name]({ site, out, pages, window, visit });
    for (const line of wrong) console.log(line);
    return wrong.length === 0 ? 0 : 1;
  } finally {
    await browser.close();
  }
}

main().then(
  (code) => process.exit(code),
  (error) => {
    console.error(error.stack || String(error));
    process.exit(2);
  },
);
