#!/usr/bin/env python3
"""lumo-sim from outside, by clients that are not ours: its control port by curl and by a WebSocket
client, its command line and machine file, its end, and the examples against it.

    control_test.py LUMO-SIM SOURCE-FOLDER EXAMPLES-FOLDER
"""

import json
import os
import pathlib
import re
import signal
import socket
import subprocess
import sys
import tempfile
import unittest

import websocket

LUMO_SIM, SOURCES, EXAMPLES = sys.argv[1:4]
del sys.argv[1:4]
PATIENCE = 30


class Simulator:
    """A lumo-sim with a control port, both at free ports."""

    def __init__(self, *words):
        self.process = subprocess.Popen(
            [LUMO_SIM, "--port", "0", "--control", "0", "--no-discovery", *words],
            stdout=subprocess.PIPE, text=True)
        self.port = self.control = None
        while not self.control:
            line = self.process.stdout.readline()
            if not line:
                raise RuntimeError("lumo-sim has ended")
            if found := re.search(r"listens on [\d.]+, port (\d+)", line):
                self.port = self.port or int(found[1])
            if found := re.search(r"control port http://127.0.0.1:(\d+)", line):
                self.control = int(found[1])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGINT)
        assert self.process.wait(PATIENCE) == 0
        self.process.stdout.close()

    def ask(self, method, path, body=None, *headers):
        """Status and body, as JSON where it is some."""
        words = ["curl", "-s", "-m", str(PATIENCE), "-X", method, "-w", "\n%{http_code}",
                 f"http://127.0.0.1:{self.control}/{path}"]
        for header in headers:
            words += ["-H", header]
        if body is not None:
            words += ["--data-binary", "@-"]
            body = body if isinstance(body, str) else json.dumps(body)
        done = subprocess.run(words, input=body, capture_output=True, text=True, check=True)
        text, _, status = done.stdout.rpartition("\n")
        return int(status), json.loads(text) if text.strip() else None

    def do(self, method, path, body=None):
        status, answer = self.ask(method, path, body)
        assert status in (200, 204), (path, status, answer)
        return answer

    def watch(self, path):
        return websocket.create_connection(f"ws://127.0.0.1:{self.control}/{path}",
                                           timeout=PATIENCE, suppress_origin=True)


def run(*words):
    return subprocess.run([LUMO_SIM, *words], capture_output=True, text=True, timeout=PATIENCE,
                          check=False)


class ControlPort(unittest.TestCase):
    def test_refuses_what_is_wrong_with_a_sentence(self):
        rows = [
            ("GET", "nowhere", None, 404, "nothing is at /nowhere"),
            ("POST", "state", None, 405, "GET only"),
            ("GET", "stream", None, 426, "WebSocket"),
            ("PUT", "inputs", '{"value": 1', 400, "line 1, column"),
            ("PUT", "inputs", {"value": 256}, 400, "/value: 256 is outside 0..255"),
            ("PUT", "inputs", {"values": 1}, 400, "/values: there is no such member"),
            ("PUT", "inputs", " " * 70000, 413, "at most 65536"),
            ("PUT", "axes/7/load", {"torque": 1}, 404, "there is no axis 7"),
            ("PUT", "faults/none", None, 404, "there is no fault none"),
            ("PUT", "faults/delay", {"ms": -1}, 400, "ms"),
            ("GET", "controllers/9/state", None, 404, "there is no controller 9"),
        ]
        with Simulator() as simulator:
            for method, path, body, status, text in rows:
                with self.subTest(path=path, body=body):
                    got, answer = simulator.ask(method, path, body)
                    self.assertEqual(got, status)
                    self.assertIn(text, answer["error"])
            own = f"127.0.0.1:{simulator.control}"
            for header, status in [("Host: elsewhere.example", 403), ("Host: localhost", 200),
                                   ("Origin: http://elsewhere.example", 403),
                                   (f"Origin: http://{own}", 200)]:
                with self.subTest(header=header):
                    self.assertEqual(simulator.ask("GET", "state", None, header)[0], status)
            with self.assertRaises(websocket.WebSocketBadStatusException):
                websocket.create_connection(f"ws://{own}/stream", origin="http://elsewhere.example")

    def test_shows_and_handles_the_machine(self):
        with Simulator("--axes", "2", "--slaves", "30:2") as simulator:
            simulator.do("PUT", "clock", {"paused": True})
            before = simulator.do("GET", "clock")
            after = simulator.do("POST", "clock/step", {"ms": 250})
            self.assertAlmostEqual(after["now"] - before["now"], 0.25, 9)
            simulator.do("PUT", "inputs", {"value": 0x81})
            simulator.do("PUT", "inputs", {"pins": {"7": False, "1": True}})
            simulator.do("PUT", "slaves/30/inputs", {"value": 5})
            simulator.do("PUT", "axes/1/inputs", {"homeSensor": True})
            simulator.do("PUT", "axes/1/mechanics", {"friction": 80, "probe": [100, 200]})
            simulator.do("PUT", "axes/1/load", {"torque": 200})
            simulator.do("POST", "axes/1/push", {"pulses": 150})
            simulator.do("POST", "axes/0/alarm", {"number": 16})
            simulator.do("PUT", "faults/late-reply", {"probability": 0.01})
            with_recorder = simulator.watch(
                "recorder?signals=inputs,30.inputs,1.homeSensor,1.encoder,1.probe,0.alarm")
            simulator.do("POST", "clock/step", {"ms": 3})
            batch = json.loads(with_recorder.recv())
            with_recorder.close()
            self.assertEqual(batch["lost"], 0)
            self.assertEqual(batch["samples"],
                             {"inputs": [3] * 3, "30.inputs": [5] * 3, "1.homeSensor": [1] * 3,
                              "1.encoder": [150] * 3, "1.probe": [1] * 3, "0.alarm": [1] * 3})
            state = simulator.do("GET", "state")
            self.assertEqual(state["axes"][1]["encoder"], 150)
            self.assertTrue(state["clock"]["paused"])
            self.assertEqual(state["faults"]["late-reply"],
                             {"probability": 0.01, "ms": 80, "count": 0})
            simulator.do("DELETE", "axes/0/alarm")
            simulator.do("DELETE", "faults")
            simulator.do("POST", "power")
            simulator.do("DELETE", "hosts")
            simulator.do("POST", "hand-wheel", {"notches": 1})
            self.assertEqual(simulator.do("GET", "state")["faults"], {})

    def test_streams_and_loses_samples_for_who_does_not_fetch(self):
        with Simulator("--count", "2", "--number", "5") as simulator:
            stream = simulator.watch("controllers/6/stream?rate=100")
            times = [json.loads(stream.recv())["clock"]["now"] for _ in range(5)]
            self.assertEqual(times, sorted(set(times)))
            stream.close()
            simulator.do("PUT", "clock", {"paused": True})
            start = simulator.do("GET", "clock")["now"]
            recorder = simulator.watch("recorder?signals=0.command")
            simulator.do("POST", "clock/step", {"ms": 8000})
            batch = json.loads(recorder.recv())
            recorder.close()
            kept = len(batch["samples"]["0.command"])
            self.assertEqual(batch["lost"] + kept, 8000)
            self.assertAlmostEqual(batch["from"], start + (batch["lost"] + 1) / 1000, 2)


class Program(unittest.TestCase):
    def test_says_what_is_wrong(self):
        with tempfile.TemporaryDirectory() as folder:
            config = pathlib.Path(folder, "machine.json")
            config.write_text('{"controllers": [{"servos": 2, "axes": {"2": {}}}]}')
            rows = [
                (("--slaves", "3:2", "--slaves", "4:2"), 2, "given twice"),
                (("--slaves", "3:2,3:3"), 2, "two slaves cannot stand at station 3"),
                (("--travel", "9223372036854775807"), 2, "--travel"),
                (("--fault", "nothing"), 2, "nothing"),
                (("--fault", "delay:ms=x"), 2, "NAME:KEY=NUMBER"),
                (("--serial", "pipe:/nowhere/at/all", "--port", "0"), 1, "serial port's pipe"),
                (("--address", "203.0.113.1"), 1, "cannot listen on 203.0.113.1, port 502"),
                (("--config", str(config)), 2, "/controllers/0: no servo stands at station 2"),
                (("--config", folder + "/none"), 2, "cannot be read"),
            ]
            for words, code, text in rows:
                with self.subTest(words=words):
                    done = run(*words)
                    self.assertEqual(done.returncode, code)
                    self.assertIn(text, done.stderr)
        self.assertRegex(run("--version").stdout, r"^lumo-sim \d+\.\d+\.\d+\n$")

    def test_ends_properly_however_early(self):
        for _ in range(10):
            process = subprocess.Popen([LUMO_SIM, "--port", "0", "--no-discovery"],
                                       stdout=subprocess.PIPE, text=True)
            self.assertIn("listens", process.stdout.readline())
            process.send_signal(signal.SIGINT)
            self.assertEqual(process.communicate(timeout=PATIENCE)[0], "lumo-sim: ended\n")
            self.assertEqual(process.returncode, 0)


    def test_a_log_that_nobody_reads_holds_nothing_up(self):
        read, write = os.pipe()
        process = subprocess.Popen([LUMO_SIM, "--number", "9", "--port", "0", "--no-discovery", "-v"],
                                   stdout=write, text=True)
        os.close(write)
        port = int(re.search(rb"port (\d+)", os.read(read, 200))[1])
        # Each command is a line: far more than a pipe holds.
        command = bytes.fromhex("0007 0000 000F 01 17 F000 0001 0000 0002 04 0101 7777")
        with socket.create_connection(("127.0.0.9", port), timeout=PATIENCE) as host:
            for _ in range(300):
                host.sendall(command * 20)
                answers = 20 * 11
                while answers > 0:
                    answers -= len(host.recv(answers))
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(PATIENCE), 0)
        os.close(read)


class Examples(unittest.TestCase):
    def example(self, simulator, number, name, *words):
        done = subprocess.run(
            [str(pathlib.Path(EXAMPLES, name)), "--network", "127.0.0", "--controller", str(number),
             "--port", str(simulator.port), *words],
            capture_output=True, text=True, timeout=2 * PATIENCE, check=False)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done.stdout

    def test_run_against_a_simulator_of_their_own(self):
        with tempfile.TemporaryDirectory() as folder:
            machine = json.loads(pathlib.Path(SOURCES, "examples/pick_and_place.json").read_text())
            machine["controllers"][0]["port"] = 0
            config = pathlib.Path(folder, "machine.json")
            config.write_text(json.dumps(machine))
            with Simulator("--config", str(config), "--time-scale", "10") as simulator:
                self.assertIn("3 parts are in the tray",
                              self.example(simulator, 3, "pick_and_place"))
            with Simulator("--number", "7", "--time-scale", "10") as simulator:
                self.example(simulator, 7, "first_motion")
                self.example(simulator, 7, "path", "--output", folder + "/path.svg")
                self.example(simulator, 7, "flash_image")
                simulator.do("POST", "axes/2/alarm", {"number": 20})
                self.assertIn("20", self.example(simulator, 7, "drive_parameters", "--axis", "2"))


if __name__ == "__main__":
    unittest.main()
