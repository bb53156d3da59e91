"""The panel's server, as a page meets it."""

import bisect
import http.client
import json
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import time
import unittest

import websocket
from support import PATIENCE, Panel, await_that

PRESS = iter(range(int(time.time() * 1000), 1 << 60))


def jog(page, axis=0, direction=1, speed=20000, **more):
    """Pressed anew where a busy computer was so late that the press was over before it began."""
    for _ in range(4):
        answer = page.ask("jog", **{"axis": axis, "direction": direction, "speed": speed,
                                    "press": next(PRESS), **more})
        if "it was let go of" not in answer.get("text", ""):
            break
    return answer


def run(page, axis=0, speed=20000):
    """Keeps a jog until the axis has its speed; as it was seen then."""
    while abs((seen := page.axis(axis))["speed"]) < 0.99 * speed:
        page.send("keep", axis=axis)
    page.send("keep", axis=axis)
    return seen


def children_of(process):
    path = pathlib.Path(f"/proc/{process}/task/{process}/children")
    return [int(child) for child in path.read_text().split()]


def is_alive(process):
    stat = pathlib.Path(f"/proc/{process}/stat")
    return stat.exists() and stat.read_text().rpartition(")")[2].split()[0] != "Z"


class Protocol(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.panel = Panel()
        cls.addClassCleanup(cls.panel.__exit__)
        with cls.panel.page() as page:
            page.ready(0, 1, 2, 3)

    def keep(self, page, axis, seconds):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            page.send("keep", axis=axis)
            page.axis(axis)  # the states come at a steady pace
        return page

    def rest(self, page, axis=0):
        return page.axis(axis, lambda each: not each["moving"])

    def test_shows_moving_axes_and_the_page(self):
        connection = http.client.HTTPConnection(self.panel.host, timeout=PATIENCE)
        connection.request("GET", "/")
        answer = connection.getresponse()
        self.assertIn(b"<html", answer.read())
        self.assertIn("script-src 'self'", answer.headers["Content-Security-Policy"])
        connection.request("GET", "/nothing")
        answer = connection.getresponse()
        self.assertEqual((answer.status, answer.read() != b""), (404, True))
        connection.close()
        with self.panel.page() as page:
            self.assertTrue(page.welcome["mayChange"])
            self.assertTrue(page.welcome["controller"]["simulated"])
            self.assertEqual([axis["axis"] for axis in page.welcome["axes"]], [0, 1, 2, 3])
            page.watch("axes")
            start = page.axis(3)["command"]
            self.assertEqual(page.ask("move", axis=3, distance=4000)["result"], 0)
            self.assertEqual(page.axis(3, lambda axis: axis["moving"])["motion"], "absolute-move")
            there = self.rest(page, 3)
            self.assertEqual((there["command"], there["motion"]), (start + 4000, "none"))
            self.assertEqual(self.panel.axis(3)["commandPosition"], there["command"])
            self.assertEqual(page.ask("move", axis=3, position=start, speed=9000)["result"], 0)
            fastest = 0
            while (axis := page.axis(3))["moving"] or axis["command"] != start:
                fastest = max(fastest, abs(axis["speed"]))
            self.assertAlmostEqual(fastest, 9000, delta=90)

    def test_jogs_while_it_is_kept_and_stops_when_it_is_let_go(self):
        with self.panel.page() as page:
            page.watch("axes")
            start = page.axis()["command"]
            self.assertEqual(jog(page)["result"], 0)
            self.keep(page, 0, 0.5)
            at = page.axis()
            self.assertAlmostEqual(at["speed"], 20000, delta=200)
            page.send("release", axis=0)
            way = self.rest(page)["command"] - at["command"]
            self.assertLess(way, 20000 * 0.2)
            self.assertGreater(at["command"], start)
            # The axis's own profile is as it was.
            before = page.axis()["command"]
            self.assertEqual(jog(page, direction=-1, speed=2000)["result"], 0)
            self.keep(page, 0, 0.2)
            page.send("release", axis=0)
            self.assertLess(self.rest(page)["command"], before)

    def test_a_page_that_says_nothing_stops_its_axis(self):
        """The page is there, and its connection too; only nobody keeps."""
        with self.panel.page() as page:
            page.watch("axes")
            page.ask("scope", signals=["1.encoder"], source="recorder")
            # A busy computer may let everybody wait, but not each time.
            took = min(self.silence(page) for _ in range(2))
            print(f"stood {1000 * took:.0f} ms after the last word", end=" ", flush=True)
            self.assertLess(took, 0.2)
            for _ in range(10):  # nothing but a new press moves it again
                page.send("keep", axis=1)
                self.assertFalse(page.axis(1)["moving"])

    def silence(self, page):
        """Seconds of simulated time from the last word until the motor stands."""
        press = next(PRESS)
        self.assertEqual(jog(page, axis=1, speed=20000, press=press)["result"], 0)
        run(page, 1)
        last = page.simulator("GET", "/clock")["data"]["now"]
        self.assertIn("Nothing was heard", page.next("jogEnd")["text"])
        return page.stands_after(last, axis=1)

    def test_a_connection_that_is_gone_stops_its_axis(self):
        with self.panel.page() as looker:
            looker.watch("axes")
            page = self.panel.page()
            self.assertEqual(jog(page, axis=1, direction=-1)["result"], 0)
            looker.axis(1, lambda axis: axis["moving"])
            page.socket.sock.close()
            self.rest(looker, 1)

    def test_a_press_is_never_replayed(self):
        with self.panel.page() as page:
            press = next(PRESS)
            self.assertEqual(jog(page, press=press)["result"], 0)
            page.send("release", axis=0)
            for old in (press, press - 1):
                self.assertEqual(jog(page, press=old)["refused"], "replay")
        with self.panel.page() as again:
            self.assertEqual(jog(again, press=press)["refused"], "replay")

    def test_stop_reaches_the_axes_while_a_program_takes_all_commands(self):
        with self.panel.page() as page:
            page.watch("axes")
            self.assertEqual(page.ask("move", axis=1, distance=1e6)["result"], 0)
            page.axis(1, lambda axis: axis["moving"])
            self.panel.zelq("call", "zelQ_SeqSetFocus", "seq=0")
            self.assertEqual(page.ask("stop")["result"], 0)
            self.rest(page, 1)

    def test_stop_overtakes_slow_commands(self):
        with self.panel.page() as page, self.panel.page() as other:
            page.watch("axes")
            self.assertEqual(jog(page, axis=0)["result"], 0)
            page.axis(0, lambda axis: axis["moving"])
            for number in range(3):  # each some thousand exchanges
                other.send("parameters", id=f"slow{number}", axis=2)
            self.assertEqual(page.ask("move", axis=2, distance=5)["result"], 0)  # nor do these wait
            self.assertEqual(other.ask("stop")["result"], 0)  # in control or not
            self.assertNotIn("slow2", [message.get("id") for message in other.heard])
            self.rest(page)
            self.assertTrue(other.answer("slow2")["data"]["values"])

    def test_a_fault_raises_its_alarm_with_its_explanation(self):
        with self.panel.page() as page, self.panel.page(token="") as other:
            page.watch("axes")
            self.assertEqual(page.simulator("POST", "/axes/3/alarm", {"number": 20})["data"], None)
            for each in (page, other):
                alarm = each.next("alarm")
                self.assertEqual((alarm["axis"], alarm["number"]), (3, 20))
                self.assertEqual(alarm["text"], "following error")
                self.assertTrue(alarm["cause"] and alarm["remedy"])
            self.assertEqual(page.axis(3)["alarm"], 20)
            refusal = page.ask("move", axis=3, distance=10)
            self.assertGreater(refusal["result"], 0)
            self.assertTrue(refusal["text"] and refusal["remedy"])
            told = page.ask("alarms", axis=3)["data"]
            self.assertEqual(told["now"][0]["number"], 20)
            self.assertEqual(page.ask("resetAlarm", axis=3)["result"], 0)
            page.axis(3, lambda axis: axis["alarm"] == 0)
            page.ready(3)

    def test_two_pages_agree_on_who_is_in_control(self):
        with self.panel.page() as first, self.panel.page() as second:
            self.assertEqual(first.next("control")["holder"], "nobody")
            self.assertEqual(first.ask("control", take=True)["result"], 0)
            self.assertEqual(second.next("control", lambda told: told["holder"] != "nobody")
                             ["holder"], "other")
            self.assertEqual(second.ask("move", axis=0, distance=1)["refused"], "control")
            first.watch("axes")
            self.assertEqual(jog(first)["result"], 0)
            second.ask("control", take=True)
            self.assertEqual(first.next("control", lambda told: told["holder"] == "other")
                             ["holder"], "other")
            first.send("keep", axis=0)
            self.rest(first)
            self.assertEqual(second.ask("move", axis=0, distance=1)["result"], 0)

    def test_who_has_no_token_only_looks(self):
        for token in ("", "0" * 32, self.panel.token[:-1]):
            with self.panel.page(token=token) as page:
                self.assertFalse(page.welcome["mayChange"])
                page.watch("axes")
                self.assertEqual(page.axis()["axis"], 0)
                for do in ("jog", "move", "home", "servo", "resetAlarm", "stop", "output", "unit",
                           "control"):
                    self.assertEqual(page.ask(do, axis=0)["refused"], "token", do)
                self.assertEqual(page.simulator("POST", "/power")["refused"], "token")
                self.assertIn("axes", page.simulator("GET", "/state")["data"])

    def test_pages_from_elsewhere_are_refused(self):
        for header in ({"origin": "http://evil.example"}, {"host": "evil.example"}):
            with self.assertRaises(websocket.WebSocketBadStatusException) as refused:
                self.panel.page(**header)
            self.assertEqual(refused.exception.status_code, 403)

    def test_what_is_no_request_is_refused(self):
        with self.panel.page(hello=False) as page:
            self.assertEqual(page.ask("watch", tabs=[])["refused"], "unknown")
        for text in ("[]", "{", "[" * 60000):
            with self.panel.page() as page:
                page.socket.send(text)
                with self.assertRaises((websocket.WebSocketException, OSError)):
                    page.next("never")
        with self.panel.page() as page:
            rows = [("fly", {}), ("move", {"axis": 0}), ("move", {"axis": 9, "distance": 1}),
                    ("jog", {"axis": 0, "direction": 2, "speed": 5, "press": next(PRESS)}),
                    ("output", {"pin": 8, "on": True}), ("unit", {"axis": 0, "unit": 0}),
                    ("scope", {"signals": ["0.nothing"]}), ("explain", {"code": 1e9}),
                    ("compare", {"axis": 0, "file": "{}"}),
                    ("simulator", {"method": "GET", "path": "/../x y"})]
            for do, fields in rows:
                with self.subTest(do=do, **fields):
                    self.assertNotEqual(page.ask(do, **fields).get("result", 0), 0)
            self.assertEqual(page.ask("simulator", method="GET", path="/none")["result"], 404)

    def test_inputs_outputs_units_and_what_is_asked_for(self):
        with self.panel.page() as page:
            page.watch("io")
            self.assertEqual(page.ask("output", pin=2, on=True)["result"], 0)
            self.assertEqual(page.ask("output", station=31, pin=5, on=True)["result"], 0)
            page.simulator("PUT", "/slaves/30/inputs", {"value": 9})
            state = page.state(lambda told: told["stations"][0]["inputs"] == 9)
            self.assertEqual((state["outputs"], state["stations"][1]["outputs"]), (4, 32))
            self.assertEqual(page.ask("unit", axis=2, unit=0.001, text="mm")["result"], 0)
            axis = page.next("welcome")["axes"][2]
            self.assertEqual((axis["unit"], axis["unitText"]), (0.001, "mm"))
            page.ask("unit", axis=2, unit=1, text="")
            values = page.ask("parameters", axis=1)["data"]["values"]
            kept = {"format": "zelq drive parameters", "version": 1, "drives": [
                {"axis": 1, "maker": "", "drive": "", "serial": "", "motor": "", "motorSerial": "",
                 "parameters": {values[0]["parameter"]: values[0]["value"] + 1,
                                values[1]["parameter"]: values[1]["value"]}}]}
            self.assertEqual(
                page.ask("compare", axis=1, file=json.dumps(kept))["data"]["differences"],
                [{"axis": 1, "parameter": values[0]["parameter"], "drive": values[0]["value"],
                  "file": values[0]["value"] + 1}])
            self.assertEqual(len(page.ask("programs")["data"]), 4)
            self.assertEqual(len(page.ask("lists")["data"]), 4)
            self.assertEqual(page.ask("explain", code=-2002)["data"]["name"], "ZELQ_BAD_AXIS")
            page.watch("trace", "simulator")
            self.assertIn("clock", page.next("simulator")["state"])
            self.panel.axis()
            self.assertIn("zelQ_", page.next("trace")["lines"][0])

    def test_scopes_show_what_the_library_sees(self):
        """A move, seen by the recorder, by polling, and by another program of the library."""
        with self.panel.page() as page, self.panel.page() as polled:
            start = page.ask("simulator", method="GET", path="/state")["data"]["axes"][1]["command"]
            signals = ["1.command", "1.encoder", "1.speed"]
            self.assertEqual(page.ask("scope", signals=signals, source="recorder")["result"], 0)
            self.assertEqual(polled.ask("scope", signals=signals, source="poll")["result"], 0)
            self.assertEqual(page.ask("move", axis=1, distance=8000)["result"], 0)
            seen = self.panel.zelq("watch", "1", "--every", "10", "--count", "60")
            recorded, looked = {}, []

            def gather(messages, until):
                while True:
                    batch = messages.next("samples")
                    yield batch
                    if batch["samples"]["1.encoder"][-1] == until:
                        return

            for batch in gather(page, start + 8000):
                self.assertEqual((batch["step"], batch["lost"]), (0.001, 0))
                for row in zip(*(batch["samples"][signal] for signal in signals)):
                    recorded[row[0]] = row
            for batch in gather(polled, start + 8000):
                self.assertAlmostEqual(batch["step"], 0.02)
                looked += zip(*(batch["samples"][signal] for signal in signals))
            moving = [axis for each in seen for axis in each["axes"] if axis["flags"]["moving"]]
            self.assertGreater(len(moving), 5)
            rows = [(each["commandPosition"], each["encoderPosition"], each["velocity"])
                    for each in moving]
            self.assertTrue([row for row in looked if start < row[0] < start + 8000])
            # The recorder has every millisecond; others look in between.
            places = sorted(recorded)
            for row in rows + [row for row in looked if start < row[0] < start + 8000]:
                after = bisect.bisect_left(places, row[0])
                near = [recorded[place] for place in places[max(0, after - 1):after + 2]]
                for column in (1, 2):
                    values = [each[column] for each in near]
                    self.assertTrue(min(values) - 1 <= row[column] <= max(values) + 1, (row, near))


class Ends(unittest.TestCase):
    def test_what_it_moved_is_stopped_and_the_simulator_ends_with_it(self):
        for by in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with Simulator() as simulator, simulator.panel() as panel:
                with panel.page() as page:
                    page.ready()
                    self.assertEqual(page.ask("move", axis=0, distance=9_000_000)["result"], 0)
                    panel.end(by)
                axis = panel.axis()
                self.assertFalse(axis["flags"]["moving"])
                self.assertEqual(axis["stopCause"], "stopped")

    def test_killed_hard_it_leaves_no_simulator_and_no_running_axis(self):
        with Simulator() as simulator, simulator.panel() as panel:
            with panel.page() as page:
                page.watch("axes")
                page.ready()
                self.assertEqual(jog(page)["result"], 0)
                run(page)
                panel.process.kill()
                panel.process.wait()
            await_that(lambda: not panel.axis()["flags"]["moving"])
        panel = Panel()
        child, = children_of(panel.process.pid)
        panel.process.kill()
        panel.process.wait()
        await_that(lambda: not is_alive(child), "the simulator's end")
        panel.__exit__()

    def test_a_link_that_is_lost_is_told_and_nothing_goes_on_behind_it(self):
        with Simulator() as simulator, simulator.panel() as panel, panel.page() as page:
            page.watch("axes")
            page.ready(0, 1)
            self.assertEqual(jog(page)["result"], 0)
            page.axis(0, lambda axis: axis["moving"])
            simulator.process.send_signal(signal.SIGSTOP)
            page.state(lambda state: not state["link"]["ok"])
            for number in range(3):
                page.send("move", id=f"move{number}", axis=1, distance=50000)
            page.send("stop", id="stop")
            # What waits is gone at once, though the controller says nothing.
            for number in (1, 2):
                self.assertEqual(page.answer(f"move{number}")["refused"], "stopped")
            simulator.process.send_signal(signal.SIGCONT)
            state = page.state(lambda state: state["link"]["ok"])
            self.assertGreater(state["link"]["lost"], 0)
            page.answer("stop")
            for axis in (0, 1):
                page.axis(axis, lambda axis: not axis["moving"])
            self.assertLess(page.axis(1)["command"], 50000)

    def test_read_only_shows_and_does_nothing(self):
        with Panel("--simulate", "--read-only", "--rate", "20") as panel, panel.page() as page:
            self.assertEqual((page.welcome["readOnly"], page.welcome["mayChange"],
                              page.welcome["periodMs"]), (True, False, 50))
            page.watch("axes")
            self.assertEqual(page.axis()["axis"], 0)
            for do in ("jog", "servo", "stop", "output"):
                self.assertEqual(page.ask(do, axis=0)["refused"], "readOnly")

    def test_one_look_a_period_for_all_pages_and_none_for_nobody(self):
        def looks(panel):
            lines = panel.zelq("trace", "--for", "1", "--function", "GetAllStatus")
            return sum("function" in line for line in lines)

        with Panel() as panel, panel.page() as first, panel.page() as second:
            for page in (first, second):
                page.watch("axes", "io")
                page.state()
            self.assertTrue(25 <= looks(panel) <= 53)
            for page in (first, second):
                page.watch()
                page.ask("explain", code=0)
            self.assertLessEqual(looks(panel), 1)

    def test_says_what_is_wrong(self):
        machine = {"controllers": [{"number": 3, "port": 0, "servos": 2}]}
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder, "machine.json")
            file.write_text(json.dumps(machine), encoding="utf-8")
            panel = Panel("--simulate", "--machine", str(file))
        with panel:
            self.assertEqual(panel.told["controller"], 3)  # as the file has it
            rows = [(("--simulate", "--listen", panel.host), "cannot listen"),
                    (("--simulate", "--listen", "nowhere"), "[ADDRESS:]PORT"),
                    (("--simulate", "--machine", "none"), "lumo-sim has not started"),
                    (("--simulate", "--rate", "0"), "--rate"),
                    (("--axes", "3"), "--simulate")]
            for words, text in rows:
                with self.subTest(words=words), self.assertRaisesRegex(RuntimeError, re.escape(text)):
                    Panel(*words)


class Simulator:
    """A lumo-sim that the panel has not started."""

    def __init__(self, *words):
        self.process = subprocess.Popen(
            [os.environ["LUMO_SIM"], "--port", "0", "--control", "0", "--no-discovery", *words],
            stdout=subprocess.PIPE, text=True)
        self.port = self.process.stdout.readline().rpartition(" ")[2].strip()
        self.control = self.process.stdout.readline().rpartition(":")[2].strip()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGINT)
        assert self.process.wait(PATIENCE) == 0
        self.process.stdout.close()

    def panel(self, *words):
        return Panel("--control", self.control, *words,
                     before=("--network", "127.0.0", "--controller", "1", "--port", self.port))
