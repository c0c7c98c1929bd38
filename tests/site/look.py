#!/usr/bin/python3
"""Looks at the site of the documents in a headless browser: tests/site/look.py DIRECTORY.

Opens every page from its file, in light and in dark and at the widths of a phone and of a desktop. Nothing may be wider
than the page, hard to read, missing or asked for from elsewhere, the browser may have nothing to complain about, and
the search must find a member. Where links lead is the generator's to check. Ends with 1 after a fault.
"""

import itertools
import pathlib
import sys

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.support.ui import WebDriverWait

# No host is found, so that what is asked for from elsewhere is an error.
FLAGS = ("--headless=new --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking "
         "--disable-component-update --disable-sync --force-device-scale-factor=1").split()
FLAGS.append("--host-resolver-rules=MAP * ~NOTFOUND")

# What sticks out to the right, less what is in a part that scrolls by itself; a page that is not as dark as its
# reader's system; and text whose contrast to what is behind it is below 3 to 1.
FAULTS = """
  const limit = document.documentElement.clientWidth + 1, found = [];
  if (document.documentElement.scrollWidth > limit) found.push('the page is too wide');
  for (const e of document.querySelectorAll('article *, h1, footer *')) {
    const box = e.getBoundingClientRect();
    if (box.width && box.right > limit && !e.parentElement.closest('pre, .table-wrapper, .highlight'))
      found.push('sticks out: ' + e.tagName + ' ' + e.textContent);
  }
  const light = c => { const [r, g, b] = c.match(/[\\d.]+/g).map(Number).map(v => (v /= 255) <= 0.03928 ? v / 12.92
    : ((v + 0.055) / 1.055) ** 2.4); return 0.2126 * r + 0.7152 * g + 0.0722 * b; };
  const behind = e => { for (; e; e = e.parentElement) { const c = getComputedStyle(e).backgroundColor;
    if (!/, 0\\)$/.test(c)) return c; } return 'rgb(255, 255, 255)'; };
  const wantsDark = matchMedia('(prefers-color-scheme: dark)').matches;
  if ((light(behind(document.body)) < 0.2) !== wantsDark) found.push('is not dark or light as wanted');
  for (const e of document.querySelectorAll('article p, article li, article td, article pre span, article h2')) {
    if (!e.textContent.trim()) continue;
    const a = light(getComputedStyle(e).color), b = light(behind(e));
    if ((Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05) < 3) found.push('hard to read: ' + e.textContent);
  }
  return found;
"""


def faults_of(browser, page, width, scheme):
    browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
        "width": width, "height": 850, "deviceScaleFactor": 1, "mobile": width < 500})
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
        "features": [{"name": "prefers-color-scheme", "value": scheme}]})
    browser.get(page.as_uri() + "?q=LowerBound")
    if page.name == "search.html":
        WebDriverWait(browser, 20).until(lambda _: browser.execute_script(
            "return document.querySelector('#search-results a[href*=integer-maps]')"), "the search finds nothing")
    return browser.execute_script(FAULTS) + [entry["message"] for entry in browser.get_log("browser")]


def main():
    site = pathlib.Path(sys.argv[1]).resolve()
    options = webdriver.ChromeOptions()
    for flag in FLAGS:
        options.add_argument(flag)
    if (site / "_static").exists():  # the search of a site reads its pages; a flat folder is read as it is
        options.add_argument("--allow-file-access-from-files")
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    pages = [page for page in sorted(site.rglob("*.html")) if "_static" not in page.parts]
    faults = 0
    with webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options) as browser:
        for page, width, scheme in itertools.product(pages, (390, 1280), ("light", "dark")):
            for fault in faults_of(browser, page, width, scheme):
                print(f"{page.relative_to(site)} at {width} pixels, {scheme}: {fault[:200]}", file=sys.stderr)
                faults += 1
    print(f"{len(pages)} pages, {faults} faults")
    return 1 if faults or not pages else 0


if __name__ == "__main__":
    sys.exit(main())
