"""The blocks of code of a page, and a desk on which they are done in their order, as a reader does
them: files are written, sessions are typed, outputs compared."""

import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess

FENCE = re.compile(r"(?ms)^```(?P<language>\w+)(?: +(?P<name>\S+))?\n(?P<code>.*?)^```$")
PATIENCE = 60
# Motions take a tenth of their time here; nothing that is shown depends on it.
FASTER = ["--time-scale", "10"]
# What a page may name, and what stands for it on this desk. A controller at the usual address is
# the simulated one.
REAL_CONTROLLER = [
    ('"192.168.0", "controller": 3, "port": 502', '"127.0.0", "controller": 3, "port": 5020'),
    ("--network 192.168.0 --controller 3", "--network 127.0.0 --controller 3 --port 5020"),
    ('Controller("192.168.0", 3)', 'Controller("127.0.0", 3, port=5020)'),
]


def free_port():
    with socket.socket() as taken:
        taken.bind(("127.0.0.3", 0))
        return taken.getsockname()[1]


def settled(line):
    """A row of axes without what the motor still does for a moment behind its command's end."""
    row = re.fullmatch(r"(.*?) +(-?[\d.]+) +(-?[\d.]+) +(mm|pulses)(?: +-?[\d.]+){3}(.*)", line)
    if not row or abs(float(row[2]) - float(row[3])) > 0.1:
        return line
    return f"{row[1]} {row[2]} {row[4]}{row[5]}".replace(" in-position", "")


def matches(shown, line):
    """Whether a line is the one that is shown, in which "..." stands for anything."""
    pattern = ".*".join(re.escape(part) for part in settled(shown).split("..."))
    return any(re.fullmatch(pattern, each) is not None for each in (line, settled(line)))


def same(shown, lines):
    """Whether lines are those that are shown; a line of "..." alone stands for any number."""
    if not shown:
        return not lines
    if shown[0].strip() == "...":
        return any(same(shown[1:], lines[skipped:]) for skipped in range(len(lines) + 1))
    return bool(lines) and matches(shown[0], lines[0]) and same(shown[1:], lines[1:])


class Block:
    def __init__(self, match):
        self.language, self.name, self.code = match["language"], match["name"], match["code"]

    def commands(self):
        """Of a session: each command, and the lines that are shown behind it."""
        for part in re.split(r"(?m)^\$ ", self.code)[1:]:
            lines = part.rstrip("\n").split("\n")
            command = lines.pop(0)
            while command.endswith("\\"):
                command += "\n" + lines.pop(0).removeprefix("> ")
            yield command, lines


class Desk:
    """A folder, a home and a simulated controller of its own."""

    def __init__(self, folder, tools):
        self.folder = pathlib.Path(folder)
        self.tools = tools
        self.ports = {"5020": str(free_port()), "8080": str(free_port())}
        self.variables = {**os.environ, **tools.variables, "HOME": str(folder),
                          "XDG_CONFIG_HOME": str(self.folder / ".config")}
        self._simulators = []

    def here(self, text):
        for there, stand_in in REAL_CONTROLLER:
            text = text.replace(there, stand_in)
        for shown, port in self.ports.items():
            text = re.sub(rf"\b{shown}\b", port, text)
        return text

    def shown(self, text):
        """The other way round: as the page has it."""
        for shown, port in self.ports.items():
            text = re.sub(rf"\b{port}\b", shown, text)
        return text.replace(str(self.folder), "~").expandtabs().rstrip()

    def write(self, block):
        path = pathlib.Path(block.name.replace("~", str(self.folder)))
        path = path if path.is_absolute() else self.folder / path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(self.here(block.code), encoding="utf-8")

    def type(self, command):
        """Types a command; the lines that it writes. One that fails fails the page."""
        words = self.here(command)
        if command.startswith("lumo-sim "):
            return self._simulate(words)
        if command == "zelq watch":
            return self._watch(words)
        done = subprocess.run(["bash", "-c", self.tools.command(words)], cwd=self.folder,
                              input="y\nq", env=self.variables, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, timeout=PATIENCE, check=False)
        lines = self.shown(done.stdout).split("\n") if done.stdout.strip() else []
        if done.returncode:
            raise AssertionError(f"$ {command}\n{done.stdout}exit {done.returncode}")
        return [line.rstrip() for line in lines]

    def _simulate(self, words):
        """Starts a simulated controller; one that was there before has to go."""
        self.end()
        process = subprocess.Popen([*words.split(), *FASTER], cwd=self.folder, env=self.variables,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self._simulators.append(process)
        lines = [process.stdout.readline() for _ in range(3 if "--control" in words else 2)]
        if "port" not in lines[0]:
            raise AssertionError(f"$ {words}\n{lines[0]}{process.stdout.read()}")
        return [self.shown(line) for line in lines]

    def _watch(self, words):
        """What goes on until it is interrupted."""
        with subprocess.Popen(words.split(), cwd=self.folder, env=self.variables, text=True,
                              stdout=subprocess.PIPE) as process:
            line = process.stdout.readline()
            process.send_signal(signal.SIGINT)
            rest = process.stdout.read()
            if process.wait(PATIENCE):
                raise AssertionError(f"$ {words}\n{line}{rest}exit {process.returncode}")
        return self.shown(line + rest).split("\n")

    def end(self):
        for process in self._simulators:
            process.terminate()
            process.wait(PATIENCE)
            process.stdout.close()
        self._simulators.clear()


class Tools:
    """What stands on the desk's path: programs of this build, and compilers that find the library."""

    def __init__(self, root, build, folder, sanitize=""):
        self._sanitize = f"-fsanitize={sanitize}" if sanitize else ""
        self.root, self.bin = root, build / "bin"
        folder = pathlib.Path(folder)
        (folder / "zelq.pc").write_text(
            f"Name: zelq\nDescription: library\nVersion: 1\nLibs: -L{self.bin} -lzelq "
            f"-Wl,-rpath,{self.bin}\nCflags: -I{root}/src/api -I{root}/bindings/cpp\n", encoding="utf-8")
        self.variables = {"PATH": f"{self.bin}:{os.environ['PATH']}",
                          "PKG_CONFIG_PATH": str(folder), "PYTHONPATH": str(folder / "python"),
                          "ZELQ_LIBRARY": str(self.bin / "libzelq.so"), "LC_ALL": "C.UTF-8",
                          "PYTHONDONTWRITEBYTECODE": "1"}
        self._put_python_together(folder / "python", build)
        # An interpreter that has no sanitizer in it has to be given that of the library.
        self._preload = ""
        if sanitize:
            runtimes = [subprocess.run(["gcc", f"-print-file-name={name}"], text=True, check=True,
                                       capture_output=True).stdout.strip()
                        for name in ("libasan.so", "libubsan.so")]
            self._preload = f"LD_PRELOAD={':'.join(runtimes)} ASAN_OPTIONS=detect_leaks=0 "

    def _put_python_together(self, folder, build):
        shutil.copytree(self.root / "bindings/python/zelq", folder / "zelq")
        subprocess.run(["/usr/bin/python3", self.root / "bindings/python/make_raw.py",
                        build / "interface/zelq.json", folder / "zelq"], check=True)

    def command(self, words):
        """A command as it is typed, and what this build needs besides."""
        words = re.sub(r"(?m)^(gcc|g\+\+) ", rf"\1 -Wall -Wextra -Werror {self._sanitize} ", words)
        return re.sub(r"(?m)(^|\s)python3 ", rf"\1{self._preload}/usr/bin/python3 ", words)
