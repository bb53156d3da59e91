"""What the bridge's tests stand on: a broker, a subscriber, controllers behind a counting line, and
the bridge itself, each in a process of its own and on ports that were free."""

import contextlib
import json
import os
import pathlib
import re
import signal
import socket
import subprocess
import threading
import time
import urllib.request

HERE = pathlib.Path(__file__).resolve().parent
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache")
NODE = {**os.environ, "NODE_PATH": str(CACHE / "zelq" / "decoder" / "node_modules")}
PATIENCE = 30.0  # seconds, for what has to happen; a sanitizer and other tests slow it down


def free_port(address="127.0.0.1"):
    with socket.socket() as probe:
        probe.bind((address, 0))
        return probe.getsockname()[1]


class Lines:
    """Grows by the lines of a stream; whoever waits for one is woken by it."""

    def __init__(self, stream, parse=lambda line: line):
        self.all = []
        self._news = threading.Condition()
        self._parse = parse
        self._thread = threading.Thread(target=self._read, args=(stream,))
        self._thread.start()

    def _read(self, stream):
        for line in stream:
            with self._news:
                self.all.append(self._parse(line))
                self._news.notify_all()
        stream.close()

    def join(self):
        self._thread.join()

    def wait(self, found, since=0, what=""):
        """The first for which `found` says something true, from the one numbered `since` on."""
        looked = since
        end = time.monotonic() + PATIENCE
        with self._news:
            while True:
                for each in self.all[looked:]:
                    looked += 1
                    if found(each):
                        return each
                left = end - time.monotonic()
                if left <= 0:
                    raise AssertionError(f"waited in vain for {what or found}; there were "
                                         f"{self.all[since:][-8:]}")
                self._news.wait(left)


class Process:
    """A program that is ended with its test, and whose lines can be waited for."""

    def __init__(self, *command, parse=lambda line: line.rstrip("\n"), **options):
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, text=True, **options)
        self.lines = Lines(self.process.stdout, parse)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.kill(signal.SIGCONT)
            self.end()

    def kill(self, which=signal.SIGKILL):
        self.process.send_signal(which)

    def end(self, which=signal.SIGTERM):
        """Its exit code."""
        self.kill(which)
        code = self.process.wait(PATIENCE)
        self.lines.join()
        return code


class Broker(Process):
    """Mosquitto on a free port; with `lines` in its configuration."""

    def __init__(self, folder, port=None, lines=("allow_anonymous true",)):
        self.port = port or free_port()
        self._config = pathlib.Path(folder) / f"mosquitto-{self.port}.conf"
        self._config.write_text("\n".join([f"listener {self.port} 127.0.0.1", "user root",
                                           *lines, ""]), encoding="utf-8")
        super().__init__("/usr/sbin/mosquitto", "-v", "-c", str(self._config))
        self.lines.wait(lambda line: "running" in line, what="mosquitto")


class Subscriber:
    """mosquitto_sub, and behind it somebody else's decoder."""

    def __init__(self, port, *options):
        arguments = ("-h", "127.0.0.1", "-p", str(port), "-F", "%t %x", *options)
        if "-t" not in options:
            arguments += ("-t", "#")
        # Line by line, which it would not write into a pipe; what it says of itself stands among the
        # messages.
        self._client = subprocess.Popen(("stdbuf", "-oL", "mosquitto_sub", "-d", *arguments),
                                        text=True, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL)
        self._decoder = subprocess.Popen(("node", str(HERE / "decoder" / "decode.js")), env=NODE,
                                         stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self._feeder = Lines(self._client.stdout, self._feed)
        self.lines = Lines(self._decoder.stdout, json.loads)
        self._feeder.wait(lambda line: line.startswith("Subscribed"), what="a subscription")

    def _feed(self, line):
        if line.startswith(("spBv1.0/", "zelq/")):
            self._decoder.stdin.write(line)
            self._decoder.stdin.flush()
        return line

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._client.terminate()
        self._client.wait()
        self._feeder.join()
        self._decoder.stdin.close()
        self._decoder.wait()
        self.lines.join()

    def now(self):
        return len(self.lines.all)

    def wait(self, kind, device=None, since=0, metric=None):
        """A message of a kind such as DDATA, with (alias, value) in it if told."""
        def fits(message):
            words = message["topic"].split("/")
            if len(words) < 4 or words[2] != kind or (device and words[4:] != [device]):
                return False
            return metric is None or metric in values_of(message)
        return self.lines.wait(fits, since, f"{kind} of {device} with {metric}")


def values_of(message):
    """(alias, value) of each metric of a Sparkplug message, of those that tell of now."""
    return [(metric.get("alias"), metric.get(metric.get("value")))
            for metric in message["payload"].get("metrics", []) if not metric.get("isHistorical")]


def publish(port, topic, payload, *options):
    subprocess.run(("mosquitto_pub", "-h", "127.0.0.1", "-p", str(port), "-t", topic, "-s", "-q", "1", *options),
                   input=payload, check=True)


def encoded(*metrics):
    return subprocess.run(("node", str(HERE / "decoder" / "encode.js"), json.dumps(metrics)),
                          env=NODE, stdout=subprocess.PIPE, check=True).stdout


class Line:
    """Between the bridge and a controller; counts exchanges, and has an address that outlives the
    controller's process."""

    def __init__(self, address):
        self._server = socket.create_server((address, 0))
        self.port = self._server.getsockname()[1]
        self._address = address
        self.target = None
        self._exchanges = 0
        self._news = threading.Condition()
        self._open = set()
        self._threads = [threading.Thread(target=self._accept)]
        self._threads[0].start()

    def _accept(self):
        with contextlib.suppress(OSError):
            while True:
                near, _ = self._server.accept()
                try:
                    far = socket.create_connection((self._address, self.target or 1))
                except OSError:
                    near.close()
                    continue
                self._open |= {near, far}
                for pair in ((near, far, False), (far, near, True)):
                    thread = threading.Thread(target=self._carry, args=pair)
                    self._threads.append(thread)
                    thread.start()

    def _carry(self, source, sink, is_reply):
        with contextlib.suppress(OSError):
            while data := source.recv(65536):
                sink.sendall(data)
                if is_reply:
                    with self._news:
                        self._exchanges += 1
                        self._news.notify_all()
        for end in (source, sink):
            with contextlib.suppress(OSError):
                end.shutdown(socket.SHUT_RDWR)

    def await_readings(self, count=3):
        """Until what is so now has been read for sure, and told by the reader."""
        with self._news:
            seen = self._exchanges + count
            if not self._news.wait_for(lambda: self._exchanges >= seen, PATIENCE):
                raise AssertionError("nobody reads the controller")

    def close(self):
        self._server.shutdown(socket.SHUT_RDWR)
        self._server.close()
        for end in list(self._open):
            with contextlib.suppress(OSError):
                end.shutdown(socket.SHUT_RDWR)
        for thread in self._threads:
            thread.join()
        for end in self._open:
            end.close()


class Machine:
    """A simulated controller behind such a line."""

    def __init__(self, program, number, *options):
        self.number = number
        self.line = Line(f"127.0.0.{number}")
        self._command = (program, "--number", str(number), "--port", "0", "--no-discovery",
                         "--control", "0", *options)
        self.start()

    def start(self):
        self._process = Process(*self._command)
        port = self._process.lines.wait(lambda line: re.search(r"port \d+", line))
        self.line.target = int(re.search(r"port (\d+)", port)[1])
        control = self._process.lines.wait(lambda line: "control port" in line)
        self._control = re.search(r"http://\S+", control)[0]

    def end(self):
        self.line.target = None
        self._process.end()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.__exit__()
        self.line.close()

    def ask(self, method, path, body=None):
        request = urllib.request.Request(self._control + path, method=method,
                                         data=json.dumps(body or {}).encode())
        with urllib.request.urlopen(request, timeout=PATIENCE) as reply:
            return json.loads(reply.read() or "null")

    def entry(self, **more):
        """Of the bridge's file."""
        return {"name": f"Press {self.number}", "address": f"127.0.0.{self.number}",
                "port": self.line.port, **more}


class Bridge(Process):
    """`zelq bridge` with a file made of `config`."""

    def __init__(self, program, folder, config, *options, environment=None, name="bridge"):
        self.file = pathlib.Path(folder) / f"{name}.json"
        self.write(config)
        super().__init__(program, "bridge", str(self.file), *options,
                         env={**os.environ, **(environment or {})})

    def write(self, config):
        text = config if isinstance(config, str) else json.dumps(config, indent=1)
        self.file.write_text(text, encoding="utf-8")

    def wait(self, words, since=0):
        return self.lines.wait(lambda line: words in line, since, words)
