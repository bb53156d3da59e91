"""Panels, and a page that is none: what a page sends and hears, without a browser."""

import json
import os
import signal
import subprocess
import time
import urllib.parse

import websocket

ZELQ = os.environ["ZELQ_PROGRAM"]
PATIENCE = 30
HURRY = 0.05  # between two looks at something that comes by itself


def await_that(happens, what="it", patience=PATIENCE):
    """What `happens` returns, once that is true."""
    end = time.monotonic() + patience
    while not (seen := happens()):
        if time.monotonic() > end:
            raise AssertionError(f"{what} does not come")
        time.sleep(HURRY)
    return seen


class Panel:
    """zelq panel with a simulated controller of its own, unless told otherwise."""

    def __init__(self, *words, before=()):
        self.process = subprocess.Popen(
            [ZELQ, "--json", *before, "panel", *(words or ("--simulate",))],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        line = self.process.stdout.readline()
        self.told = json.loads(line or "{}")
        if "address" not in self.told:
            errors = self.process.communicate(timeout=PATIENCE)[1]
            raise RuntimeError(line + errors)
        self.url = self.told["address"]
        self.place, self.token = self.url.split("/#")
        self.host = urllib.parse.urlsplit(self.place).netloc

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.end()
        self.process.stdout.close()
        self.process.stderr.close()

    def end(self, by=signal.SIGTERM):
        self.process.send_signal(by)
        code = self.process.wait(PATIENCE)
        assert code == 0, self.process.stderr.read()

    def page(self, token=None, hello=True, **header):
        return Page(self, self.token if token is None else token, hello, **header)

    def zelq(self, *words):
        """Another program of the library, at the same controller."""
        done = subprocess.run(
            [ZELQ, "--json", "--network", self.told["network"], "--controller",
             str(self.told["controller"]), "--port", str(self.told["port"]), *words],
            capture_output=True, text=True, timeout=PATIENCE, check=True)
        return [json.loads(line) for line in done.stdout.splitlines()]

    def axis(self, number=0):
        return self.zelq("watch", str(number), "--count", "1")[0]["axes"][0]


class Page:
    """A page without a browser: what is sent and heard on its WebSocket."""

    def __init__(self, panel, token, hello, **options):
        options.setdefault("origin", panel.place)
        self.socket = websocket.create_connection(f"ws://{panel.host}/live", timeout=PATIENCE,
                                                  **options)
        self.asked = 0
        self.heard = []
        if hello:
            self.send("hello", token=token)
            self.welcome = self.next("welcome")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def send(self, do, **fields):
        self.socket.send(json.dumps({"do": do, **fields}))

    def next(self, kind, fits=lambda message: True):
        """The next message of a kind; others are kept for later, states are not."""
        for message in self.heard:
            if message["type"] == kind and fits(message):
                self.heard.remove(message)
                return message
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            message = json.loads(self.socket.recv())
            if message["type"] == kind and fits(message):
                return message
            if message["type"] != "state":
                self.heard.append(message)
        raise AssertionError(f"no such {kind} comes")

    def ask(self, do, **fields):
        self.asked += 1
        self.send(do, id=self.asked, **fields)
        return self.answer(self.asked)

    def answer(self, number):
        while True:
            for message in self.heard:
                if message.get("id") == number:
                    self.heard.remove(message)
                    return message
            message = json.loads(self.socket.recv())
            if message["type"] != "state":
                self.heard.append(message)

    def watch(self, *tabs):
        self.send("watch", tabs=tabs)

    def state(self, fits=lambda state: True):
        return self.next("state", fits)

    def axis(self, number=0, fits=lambda axis: True):
        state = self.state(lambda message: fits(message["axes"][number]))
        return state["axes"][number]

    def ready(self, *axes):
        """Switches servos on."""
        for axis in axes or (0,):
            answer = self.ask("servo", axis=axis, on=True)
            assert answer["result"] == 0, answer

    def simulator(self, method, path, body=None):
        return self.ask("simulator", method=method, path=path, body=body)

    def stands_after(self, begin, axis):
        """Seconds of simulated time from `begin` until the motor stands, which is being recorded:
        for a while it comes no further than two pulses."""
        samples, end = [], time.monotonic() + PATIENCE
        while time.monotonic() < end:
            batch = self.next("samples")
            samples += ((batch["from"] + number * batch["step"], place)
                        for number, place in enumerate(batch["samples"][f"{axis}.encoder"]))
            last, stand = samples[-1]
            moved = max((when for when, place in samples if abs(place - stand) > 2), default=begin)
            if last - max(moved, begin) > 0.3:
                return moved - begin
        raise AssertionError("the motor does not come to rest")
