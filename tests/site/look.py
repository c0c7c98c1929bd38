#!/usr/bin/python3
"""Looks at the site of the documents in a headless browser: tests/site/look.py DIRECTORY [SCREENSHOTS].

Opens every page from its file, in light and in dark and at the widths of a phone and of a desktop, and follows every
link and anchor. Nothing may be wider than the page, hard to read, missing or asked for from elsewhere, the browser may
have nothing to complain about, and the search must find a member. Screenshots go to the second directory, if there is
one. Ends with 1 after a fault.
"""

import pathlib
import sys
from urllib.parse import unquote, urldefrag, urlparse

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

WIDTHS = (390, 1280)
FLAGS = ("--headless=new --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking "
         "--disable-component-update --disable-sync --force-device-scale-factor=1")

# What sticks out of the page to the right, less what is in a part that scrolls by itself.
OVERFLOWING = """
  const limit = document.documentElement.clientWidth + 1, found = [];
  const scrolls = e => e.closest('pre, .table-wrapper, .highlight') !== null;
  if (document.documentElement.scrollWidth > limit) found.push('the page, ' + document.documentElement.scrollWidth);
  for (const e of document.querySelectorAll('article *, h1, footer *')) {
    const box = e.getBoundingClientRect();
    if (box.width && box.right > limit && !scrolls(e.parentElement)) found.push(e.tagName + ' ' + e.textContent.slice(0, 40));
  }
  return found;
"""

# Whether the page is as dark as its reader's system.
IS_DARK = "return getComputedStyle(document.body).backgroundColor.match(/\\d+/g).every(part => part < 100)"

# Text that is too like what is behind it: a contrast below 3 to 1.
FAINT = """
  const light = c => { const [r, g, b] = c.match(/[\\d.]+/g).map(Number).map(v => (v /= 255) <= 0.03928 ? v / 12.92
    : ((v + 0.055) / 1.055) ** 2.4); return 0.2126 * r + 0.7152 * g + 0.0722 * b; };
  const behind = e => { for (; e; e = e.parentElement) { const c = getComputedStyle(e).backgroundColor;
    if (!/, 0\\)$/.test(c)) return c; } return 'rgb(255, 255, 255)'; };
  const faint = new Set();
  for (const e of document.querySelectorAll('article p, article li, article td, article pre span, article h2')) {
    if (!e.textContent.trim()) continue;
    const a = light(getComputedStyle(e).color), b = light(behind(e));
    if ((Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05) < 3) faint.add(e.tagName + ' ' + e.className + ' ' + e.textContent.slice(0, 20));
  }
  return [...faint];
"""


# Names in tables that are broken, and code that does not stand out from the page.
UNREADABLE = """
  const found = [...document.querySelectorAll('article td code')].filter(e => e.getClientRects().length > 1);
  const ground = e => getComputedStyle(e).backgroundColor;
  const page = ground(document.body);
  for (const e of document.querySelectorAll('article .highlight')) if (ground(e) === page) found.push(e);
  return found.map(e => e.textContent.slice(0, 40));
"""


class Look:
    def __init__(self, site, screenshots):
        self.site = site
        self.screenshots = screenshots
        self.faults = []
        self.anchors = {}  # by page: its ids
        self.links = {}  # by target: a page that has the link
        options = webdriver.ChromeOptions()
        for flag in FLAGS.split():
            options.add_argument(flag)
        if (site / "_static").exists():  # the search of a site reads its pages; a flat folder is read as it is
            options.add_argument("--allow-file-access-from-files")
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        self.browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)

    def fault(self, page, message):
        self.faults.append(f"{page}: {message}")
        print(self.faults[-1], file=sys.stderr)

    def open(self, page, width, scheme, query=""):
        height = 844 if width < 500 else 900
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": width < 500})
        self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": "prefers-color-scheme", "value": scheme}]})
        self.browser.get((self.site / page).as_uri() + query)

    def check_log(self, page):
        for entry in self.browser.get_log("browser"):
            self.fault(page, f"the browser says {entry['message']}")
        for entry in self.browser.get_log("performance"):
            if '"Network.requestWillBeSent"' in entry["message"] and '"url":"http' in entry["message"]:
                self.fault(page, "asks for something from elsewhere")

    def look_at(self, page):
        for width in WIDTHS:
            for scheme in ("light", "dark"):
                self.open(page, width, scheme)
                view = f"at {width} pixels, {scheme}"
                for what in self.browser.execute_script(OVERFLOWING):
                    self.fault(page, f"{view}: {what} sticks out")
                for what in self.browser.execute_script(UNREADABLE):
                    self.fault(page, f"{view}: {what} is broken, or looks like the page")
                if self.browser.execute_script(IS_DARK) != (scheme == "dark"):
                    self.fault(page, f"{view}: the page is not")
                for what in self.browser.execute_script(FAINT):
                    self.fault(page, f"{view}: {what} is hard to read")
                broken = self.browser.execute_script(
                    "return [...document.images].filter(i => !i.complete || !i.naturalWidth).map(i => i.src)")
                for source in broken:
                    self.fault(page, f"{source} does not show")
                if self.screenshots:
                    name = page.replace("/", "-").removesuffix(".html") + f"-{width}-{scheme}.png"
                    self.browser.save_screenshot(str(self.screenshots / name))
                self.check_log(page)
        self.anchors[page] = set(self.browser.execute_script(
            "return [...document.querySelectorAll('[id]')].map(e => e.id)"))
        for target in self.browser.execute_script("return [...document.links].map(a => a.href)"):
            self.links.setdefault(target, page)

    def check_links(self):
        for target, page in self.links.items():
            address, anchor = urldefrag(target)
            parts = urlparse(address)
            if parts.scheme != "file":
                continue
            path = pathlib.Path(unquote(parts.path))
            if not path.is_file():
                self.fault(page, f"links to {path}, which is not there")
                continue
            known = self.anchors.get(str(path.relative_to(self.site)))
            if anchor and known is not None and unquote(anchor) not in known:
                self.fault(page, f"links to {path.name}#{anchor}, which is not there")

    def check_search(self, word, target):
        for width in WIDTHS:
            self.open("search.html", width, "light", "?q=" + word)
            try:
                WebDriverWait(self.browser, 20).until(lambda browser: any(
                    target in (a.get_attribute("href") or "")
                    for a in browser.find_elements(By.CSS_SELECTOR, "#search-results a")))
            except Exception:
                self.fault("search.html", f"{word} does not find {target}")
            if self.screenshots:
                self.browser.save_screenshot(str(self.screenshots / f"search-{word}-{width}.png"))
            self.check_log("search.html")


def main():
    site = pathlib.Path(sys.argv[1]).resolve()
    screenshots = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else None
    if screenshots:
        screenshots.mkdir(parents=True, exist_ok=True)
    look = Look(site, screenshots)
    try:
        pages = sorted(str(path.relative_to(site)) for path in site.rglob("*.html") if "_static" not in path.parts)
        for page in pages:
            look.look_at(page)
        look.check_links()
        look.check_search("LowerBound", "integer-maps.html")
        look.check_search("insert", "string-sets.html")
        look.check_search("priority", "recipes.html")
    finally:
        look.browser.quit()
    print(f"{len(pages)} pages, {len(look.links)} links, {len(look.faults)} faults")
    return 1 if look.faults or not pages else 0


if __name__ == "__main__":
    sys.exit(main())
