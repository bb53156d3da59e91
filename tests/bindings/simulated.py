"""A simulated controller for a test, in a process of its own."""

import re
import subprocess


class Simulated:
    """lumo-sim as controller `number` on a free port."""

    def __init__(self, program, number, *options):
        self.number = number
        self._process = subprocess.Popen(
            [program, "--number", str(number), "--port", "0", "--no-discovery", "--ideal",
             *options],
            stdout=subprocess.PIPE, text=True)
        self.port = int(re.search(r"port (\d+)", self._process.stdout.readline())[1])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()

    def end(self):
        """The connections break, and no new one is to be had."""
        self._process.terminate()
        self._process.wait()
        self._process.stdout.close()
