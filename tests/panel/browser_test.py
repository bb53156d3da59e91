"""A browser that hangs or dies with a hand on its button: the axis stops all the same."""

import os
import signal
import unittest

import browser
from selenium.webdriver.common.action_chains import ActionChains
from support import Panel


def processes_under(process):
    """Of a tree of processes all but its root."""
    found, waiting = [], [process]
    while waiting:
        parent = waiting.pop()
        for task in os.listdir(f"/proc/{parent}/task"):
            with open(f"/proc/{parent}/task/{task}/children", encoding="ascii") as children:
                waiting += [int(child) for child in children.read().split()]
        found.append(parent)
    return found[1:]


class Dead(unittest.TestCase):
    def setUp(self):
        self.panel = Panel()
        self.addCleanup(self.panel.__exit__)
        self.driver = browser.start()
        self.addCleanup(self.driver.quit)
        self.looker = self.panel.page()
        self.addCleanup(self.looker.__exit__)

    def hold(self, view):
        ActionChains(self.driver).click_and_hold(view.button("Jog positive: hold")).perform()
        self.looker.axis(0, lambda axis: axis["moving"])

    def stop_by(self, by):
        """Milliseconds of simulated time until the motor stands for good."""
        looker = self.looker
        looker.ask("scope", signals=["0.encoder"], source="recorder")
        processes = processes_under(self.driver.service.process.pid)
        begin = looker.simulator("GET", "/clock")["data"]["now"]
        for process in processes:
            os.kill(process, by)
        took = looker.stands_after(begin, axis=0)
        looker.ask("scope", signals=[])
        print(f"{by.name}: stood after {1000 * took:.0f} ms", end=" ", flush=True)
        return processes, took

    def test_stops_its_axis(self):
        view = browser.View(self.driver, self.panel.url)
        view.button("Servo on").click()
        self.looker.watch("axes")
        self.looker.axis(0, lambda axis: axis["servoOn"])
        self.hold(view)
        processes, took = self.stop_by(signal.SIGSTOP)
        self.assertLess(took, 0.2)
        for process in processes:
            os.kill(process, signal.SIGCONT)
        # The button is still held, and says so: what is over stays over.
        place = self.looker.axis()["command"]
        view.script("return 0")
        for _ in range(10):
            self.assertEqual(self.looker.axis()["command"], place)
        ActionChains(self.driver).release().perform()
        self.hold(view)
        self.assertLess(self.stop_by(signal.SIGKILL)[1], 0.2)
