"""The panel's page in a real browser: what somebody in front of it sees and does."""

import pathlib
import tempfile
import unittest

import browser
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys
from support import Panel

TABS = ("axes", "scope", "path", "io", "alarms", "parameters", "programs", "lists", "trace",
        "simulator")
# Each takes the hand from a held button in a way of its own.
PARTINGS = {
    "the window has lost the focus": "window.dispatchEvent(new Event('blur'))",
    "the page is being left": "window.dispatchEvent(new Event('pagehide'))",
    "the page is frozen": "document.dispatchEvent(new Event('freeze'))",
    "the finger was taken for a scroll": """document.querySelector('.jog.held')
        .dispatchEvent(new PointerEvent('pointercancel', {pointerId: window.pointer}))""",
    "the pointer has left the button": """document.querySelector('.jog.held')
        .dispatchEvent(new PointerEvent('pointermove',
            {pointerId: window.pointer, buttons: 1, clientX: 9, clientY: 9}))""",
    "the button cannot be pressed any more":
        "document.querySelector('.controls').disabled = true",
}


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.driver = browser.start()
        cls.addClassCleanup(cls.driver.quit)
        cls.panel = Panel()
        cls.addClassCleanup(cls.panel.__exit__)
        cls.view = browser.View(cls.driver, cls.panel.url)
        cls.view.button("Servo on").click()
        cls.view.awaits(lambda: "servo" in cls.view.flags(0), "servo on")

    def setUp(self):
        self.view.here()
        self.view.open("axes")

    def hold(self, name="Jog positive: hold"):
        button = self.view.button(name)
        self.keep(lambda: ActionChains(self.driver).click_and_hold(button).perform(), self.let_go)

    def keep(self, press, let_go):
        """On a machine so busy that the page is late to say so, a press is over: it is pressed anew."""
        for patience in (2, 5, 10):
            press()
            try:
                return self.view.moves(0, patience)
            except AssertionError:
                let_go()
        raise AssertionError("held, the button moves nothing")

    def let_go(self):
        ActionChains(self.driver).release().perform()

    def assert_stays(self, axis=0):
        """At rest, and still there when some states have come by."""
        view = self.view
        view.rests(axis)
        place = view.axis(axis)
        view.frames(15)
        self.assertEqual(view.axis(axis), place)

    def test_jogs_while_a_button_is_held_and_no_longer(self):
        view = self.view
        view.script("document.addEventListener('pointerdown', (event) => {"
                    "window.pointer = event.pointerId; }, true)")
        start = view.axis(0)
        self.hold()
        view.awaits(lambda: view.axis(0) > start, "way")
        self.let_go()
        self.assert_stays()
        for why, script in PARTINGS.items():
            with self.subTest(why):
                self.hold("Jog negative: hold")
                view.script(script)
                self.assert_stays()
                self.let_go()
                view.script("document.querySelector('.controls').disabled = false")
        with self.subTest("a key is held"):
            view.script("arguments[0].focus()", view.button("Jog negative: hold"))
            key = lambda action: getattr(ActionChains(self.driver), action)(Keys.ENTER).perform()
            self.keep(lambda: key("key_down"), lambda: key("key_up"))
            key("key_up")
            self.assert_stays()

    def test_space_stops_all_wherever_the_focus_is(self):
        view = self.view
        view.fill("speed", "2000")
        view.fill("move to", "-900000\n")
        for where in ("#tab-axes", ".axis-list", "#theme", ".jog-row select",
                      ".control-fields input"):
            with self.subTest(where):
                view.moves(0)
                view.script("document.querySelector(arguments[0]).focus()", where)
                ActionChains(self.driver).send_keys(" ").perform()
                self.assert_stays()
                view.button("Go").click()
        view.open("trace")
        word = view.find("#view-trace input[type=search]")
        word.send_keys("a b")
        self.assertEqual(word.get_property("value"), "a b")
        view.open("axes")
        self.assertIn("moving", view.flags(0))
        view.find("#stop").click()
        self.assert_stays()

    def test_a_step_goes_its_way_and_no_further(self):
        view = self.view
        view.fill("speed", "20000")
        place = view.axis(0)
        view.button("step +").click()
        view.awaits(lambda: view.axis(0) == place + 1000, "the step")
        self.assert_stays()
        view.fill("move to", "4 000,0\n")
        view.awaits(lambda: view.axis(0) == 4000 and "in position" in view.flags(0), "the place")
        for unclear in ("1,000", "4e", "", "1.2.3"):
            view.fill("move to", unclear + "\n")
            view.awaits(lambda: view.field("move to").get_attribute("aria-invalid") == "true", unclear)
            self.assert_stays()

    def test_a_fault_raises_its_alarm_with_explanation(self):
        view = self.view
        view.open("simulator")
        view.awaits(lambda: view.script("return document.querySelectorAll('.fault').length") > 30,
                    "the list of faults")
        view.script("""[...document.querySelectorAll('.fault')].find((fault) =>
            fault.textContent.includes('drive alarm')).open = true""")
        opened = "#view-simulator .fault[open]"
        for name, text in (("axis", "1"), ("number", "20")):
            view.script("arguments[0].value = arguments[1]", view.field(name, opened), text)
        view.button("Apply", opened).click()
        view.awaits(lambda: "active" in view.find(opened).get_attribute("class"), "the fault")
        view.open("axes")
        view.awaits(lambda: "alarm 20.0" in view.flags(1), "the alarm")
        view.find("#axis-1").click()
        view.awaits(lambda: view.find(".axis-panel .alarm-box").is_displayed(), "the explanation")
        told = view.find(".axis-panel .alarm-box").text.splitlines()
        self.assertEqual(told[0], "Alarm 20.0: following error")
        self.assertGreater(len(told), 3, told)  # cause, what to do, and the button
        view.open("simulator")
        view.button("Clear", opened).click()
        view.open("alarms")
        view.button("Reset", "#view-alarms .alarm-box").click()
        view.awaits_text("#view-alarms .alarm-cards", "No axis has an alarm")
        view.awaits_text("#view-alarms tbody", "20.0")
        view.open("axes")
        view.find("#axis-0").click()

    def test_pins_show_what_is_so(self):
        view = self.view
        view.open("simulator")
        view.button("input 3", "#view-simulator").click()
        view.open("io")
        view.awaits(lambda: view.script(
            "return document.querySelector('#view-io [aria-label=\"input 3 on\"]')"), "input 3")
        switch = view.button("output 5", "#view-io")
        for wanted in ("true", "false"):
            switch.click()
            view.awaits(lambda: switch.get_attribute("aria-checked") == wanted, "output 5")

    def test_the_scope_shows_and_saves_what_the_axis_did(self):
        view = self.view
        place = view.axis(0)
        view.open("scope")
        first = ".channel.ch1 .channel-value:first-child .value"
        view.awaits(lambda: view.text(first)[0] != "\N{EN DASH}", "samples")
        self.assertEqual(view.number(view.text(first)), place)
        with tempfile.TemporaryDirectory() as folder:
            self.driver.execute_cdp_cmd("Browser.setDownloadBehavior",
                                        {"behavior": "allow", "downloadPath": folder})
            view.button("Save as CSV").click()
            view.button("Save as PNG").click()
            saved = lambda kind: next(pathlib.Path(folder).glob(f"scope_*.{kind}"), None)
            csv = view.awaits(lambda: saved("csv"), "the file").read_text().splitlines()
            picture = view.awaits(lambda: saved("png"), "the picture").read_bytes()
        self.assertEqual(picture[:4], b"\x89PNG")
        self.assertEqual(csv[0].split(",")[:2], ["time [s]", "0.command [pulses]"])
        rows = [[float(value or "nan") for value in line.split(",")] for line in csv[1:]]
        self.assertEqual(rows[-1][1], place)
        steps = {round(after[0] - before[0], 6) for before, after in zip(rows, rows[1:])}
        self.assertEqual(steps, {0.001})

    def test_every_tab_draws_and_the_browser_has_nothing_against_it(self):
        view = self.view
        for width in (1280, 390):
            view.size(width, 844)
            for tab in TABS:
                with self.subTest(tab, width=width):
                    view.open(tab)
                    shown, wider, stop = view.script("""
                        const box = (name) => document.querySelector(name).getBoundingClientRect();
                        const { top, bottom, left, right } = box('#stop');
                        return [box(arguments[0]).height,
                            document.documentElement.scrollWidth - innerWidth,
                            top > 0 && left > 0 && bottom < innerHeight && right < innerWidth];
                        """, f"#view-{tab}")
                    self.assertGreater(shown, 40)
                    self.assertLessEqual(wider, 0)
                    self.assertTrue(stop, "stop all is out of sight")
        view.size(*browser.WIDE)
        self.assertEqual(view.complaints(), [])

    def test_one_of_two_pages_has_control(self):
        first = self.view
        second = browser.View(self.driver, self.panel.url, another=True)
        second.button("take control", "header").click()
        second.awaits_text("#control-text", "you have control")
        first.here()
        first.awaits_text("#control-text", "another has control")
        self.assertFalse(first.button("Servo on").is_enabled())
        second.here()
        self.driver.close()
        first.here()
        first.awaits(lambda: first.button("Servo on").is_enabled(), "control that is free again")

    def test_without_its_token_a_page_may_only_look(self):
        view = browser.View(self.driver, self.panel.place + "/", another=True)
        view.script("sessionStorage.clear()")
        view = browser.View(self.driver, self.panel.place + "/")
        view.awaits_text("#control-text", "look only")
        self.assertFalse(view.button("Servo on").is_enabled())
        self.assertEqual(view.axis(0), view.axis(0, "encoder"))
        view.driver.get(self.panel.url)  # nothing but the fragment is new
        view.awaits_text("#control-text", "has control")
        self.driver.close()

    def test_says_whose_silence_it_is(self):
        view = self.view
        with self.panel.page() as other:
            other.simulator("PUT", "/faults/hang", {})
            view.awaits_text("#banner-head", "The controller does not answer")
            self.assertTrue(view.find("#banner").is_displayed())
            self.assertFalse(view.button("Servo on").is_enabled())
            other.simulator("DELETE", "/faults")
        view.awaits(lambda: not view.find("#banner").is_displayed(), "the controller")

    def test_says_in_large_letters_when_the_panel_is_gone(self):
        with Panel() as panel:
            view = browser.View(self.driver, panel.url, another=True)
            panel.process.kill()
            panel.process.wait()
            view.awaits_text("#banner-head", "The panel is gone")
            self.assertTrue(view.find("#banner").is_displayed())
            self.assertFalse(view.button("Servo on").is_enabled())
            view.find("#stop").click()
            view.awaits_text("#notices", "The stop was not sent")
            view.complaints()  # of the lost connection
            self.driver.close()


if __name__ == "__main__":
    unittest.main()
