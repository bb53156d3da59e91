"""Headless Chromium with the panel's page in it. One serves a whole run: starting it takes seconds."""

import functools
import os
import tempfile

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from support import PATIENCE, await_that

WIDE = (1280, 900)
# A browser that was killed leaves its files there.
SCRATCH = tempfile.TemporaryDirectory(prefix="zelq-", ignore_cleanup_errors=True)


def start():
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    words = ["--headless=new", "--disable-dev-shm-usage", "--no-first-run", "--hide-scrollbars",
             "--force-device-scale-factor=1", "--disable-background-networking"]
    if os.geteuid() == 0:
        words.append("--no-sandbox")
    for word in words:
        options.add_argument(word)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    service = Service("/usr/bin/chromedriver", env={**os.environ, "TMPDIR": SCRATCH.name})
    driver = webdriver.Chrome(options=options, service=service)
    driver.set_script_timeout(PATIENCE)
    return driver


class View:
    """One window with the page, as somebody sees it."""

    def __init__(self, driver, url, another=False):
        self.driver = driver
        if another:
            driver.switch_to.new_window("window")
        self.window = driver.current_window_handle
        self.size(*WIDE)
        # Another fragment alone would not load the page anew.
        driver.get("about:blank")
        driver.get(url)
        self.awaits(lambda: self.text("#link-text") == "connected", "a connection")

    def here(self):
        self.driver.switch_to.window(self.window)
        return self

    def size(self, width, height):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": width < 600})

    def script(self, text, *words):
        return self.driver.execute_script(text, *words)

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def text(self, selector):
        return self.script("return document.querySelector(arguments[0]).textContent", selector)

    def awaits(self, happens, what, patience=PATIENCE):
        return await_that(happens, what, patience)

    def awaits_text(self, selector, wanted):
        self.awaits(lambda: wanted in self.text(selector), f"{wanted!r} in {selector}")

    def open(self, tab):
        self.script("document.getElementById(arguments[0]).click()", f"tab-{tab}")
        self.frames(2)  # then it has been drawn

    def frames(self, count):
        self.driver.execute_async_script("""
            let [left, done] = arguments;
            const next = () => (left-- ? requestAnimationFrame(next) : done());
            next();""", count)

    def button(self, name, within="main section:not([hidden])"):
        """The button of this name; what a screen reader calls it, or what stands on it."""
        found = self.script("""
            return [...document.querySelectorAll(arguments[1] + ' button')].find((each) =>
                (each.getAttribute('aria-label') ?? each.textContent) === arguments[0]);""", name, within)
        assert found, f"there is no button {name}"
        return found

    def field(self, name, within="main section:not([hidden])"):
        found = self.script("""
            return [...document.querySelectorAll(arguments[1] + ' label.field')].find((each) =>
                each.querySelector('.field-name').textContent === arguments[0])
                ?.querySelector('input, select');""", name, within)
        assert found, f"there is no field {name}"
        return found

    def fill(self, name, text):
        field = self.field(name)
        field.clear()
        field.send_keys(text)

    def number(self, text):
        return float(text.replace("\N{MINUS SIGN}", "-").replace("\N{NARROW NO-BREAK SPACE}", "")
                     .split(" ")[0].rstrip("%"))

    def axis(self, axis, cell="command"):
        return self.number(self.text(f"#axis-{axis} .cell-{cell} .value"))

    def flags(self, axis):
        return set(self.script("""
            return [...document.querySelectorAll(arguments[0] + ' .flag.on')]
                .map((flag) => flag.childNodes[1].textContent)""", f"#axis-{axis}"))

    def rests(self, axis):
        self.awaits(lambda: "moving" not in self.flags(axis), f"axis {axis} at rest")

    def moves(self, axis, patience=PATIENCE):
        self.awaits(lambda: "moving" in self.flags(axis), f"axis {axis} in motion", patience)

    def complaints(self):
        """What the browser itself had against the page, such as a breach of its content policy."""
        return [line["message"] for line in self.driver.get_log("browser")
                if line["level"] in ("SEVERE", "WARNING")]


@functools.cache
def shared():
    """The one that all tests use, each with windows of its own."""
    return start()
