"""Where things are tried, and what the tries share."""

import os
import pathlib
import re
import subprocess

SOURCE = pathlib.Path(__file__).resolve().parents[2]


class Failed(Exception):
    """Something that was tried does not do what it should."""


def ok(text):
    print(f"ok  {text}", flush=True)


def hold(truth, text):
    if not truth:
        raise Failed(text)


def run(*command, **options):
    """What a command says; it has to succeed."""
    words = [str(word) for word in command]
    done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          check=False, timeout=600, **options)
    hold(done.returncode == 0, f"{' '.join(words)} gives {done.returncode}:\n{done.stdout}")
    return done.stdout


def only(folder, pattern):
    """The one file of such a name."""
    found = list(folder.glob(pattern))
    hold(len(found) == 1, f"{pattern}: {found}")
    return found[0]


class Root:
    """Commands in a bare root, with shared memory of its own."""

    SETUP = """mount -t proc proc "$0/proc"; mount -t tmpfs -o mode=1777 shm "$0/dev/shm"
               exec chroot "$0" env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin \
                    LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@" """

    def __init__(self, folder):
        self.folder = folder

    def command(self, *words):
        return ["unshare", "--mount", "sh", "-c", self.SETUP,
                str(self.folder), *map(str, words)]

    def run(self, *words):
        return run(*self.command(*words))


class Simulated:
    """A simulated controller, number 3, on a free port that it tells."""

    def __init__(self, *program, **options):
        self.process = subprocess.Popen(
            [*map(str, program), "--number", "3", "--port", "0", "--no-discovery",
             "--time-scale", "100"], stdout=subprocess.PIPE, stdin=subprocess.DEVNULL, text=True,
            **options)
        self.port = re.search(r"port (\d+)", self.process.stdout.readline())[1]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()


def clean_environment(**variables):
    """Nothing that points into a build."""
    kept = {name: os.environ[name] for name in ("PATH", "HOME", "LC_ALL") if name in os.environ}
    return {**kept, **{name: str(value) for name, value in variables.items()}}
