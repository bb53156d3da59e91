"""A run against the simulated controller whose signals are recorded at every millisecond, and what
gnuplot makes of them."""

import json
import re
import subprocess
import threading
import time
import urllib.request

import websocket
import zelq

MOST_POINTS = 400
COLOURS = ("#0b6aa2", "#c2410c", "#2e7d32", "#8a3ea6")
NUMBER = 61


class Scene:
    """A simulated controller, a connection to it, and a recorder."""

    def __init__(self, program, signals, *options):
        self._process = subprocess.Popen(
            [program, "--number", str(NUMBER), "--port", "0", "--control", "0", "--no-discovery",
             *options], stdout=subprocess.PIPE, text=True)
        ports = [int(re.search(r"(?:port |:)(\d+)", self._process.stdout.readline())[1])
                 for _ in range(2)]
        self._control = f"127.0.0.1:{ports[1]}"
        self.desk = zelq.Controller("127.0.0", NUMBER, port=ports[0], connect_ms=1000)
        self.signals = {name: [] for name in signals}
        self._recorder = websocket.create_connection(
            f"ws://{self._control}/recorder?signals={','.join(signals)}")
        self._thread = threading.Thread(target=self._record)
        self._thread.start()
        while not all(self.signals.values()):  # what comes now is seen
            time.sleep(0.01)
        self.settle()

    def _record(self):
        while True:
            try:
                text = self._recorder.recv()
            except (websocket.WebSocketException, OSError):
                return
            if not text:
                return
            for name, values in json.loads(text)["samples"].items():
                self.signals[name] += values

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.desk.close()
        self._recorder.shutdown()
        self._thread.join()
        self._process.terminate()
        self._process.wait()
        self._process.stdout.close()

    def axis(self, number, drive=50.0, acc=200.0, **more):
        return self.desk.axis(number).units(0.001).speed(drive=drive, acc=acc, **more).on()

    def ask(self, method, path, body=None):
        data = json.dumps(body).encode() if body is not None else None
        urllib.request.urlopen(urllib.request.Request(
            f"http://{self._control}{path}", data, method=method)).close()

    def settle(self, seconds=0.15):
        """Lets the recorder see what comes behind an end."""
        time.sleep(seconds)

    def line(self, signal, title, factor=0.001, begin=0, end=None):
        """A recorded signal as a line over the time since `begin`, in milliseconds."""
        values = self.signals[signal][begin:end]
        return Line(title, [(i / 1000, value * factor) for i, value in enumerate(values)])

    def first(self, signal, test, begin=0):
        """The first millisecond in which the signal is so."""
        values = self.signals[signal]
        return next(i for i in range(begin, len(values)) if test(values[i]))

    def start(self, signal, begin=0):
        """Shortly before the signal leaves zero."""
        return self.first(signal, bool, begin) - 20

    def last(self, signal, test):
        values = self.signals[signal]
        return next(i for i in reversed(range(len(values))) if test(values[i]))


class Line:
    def __init__(self, title, points, style="lines"):
        self.title, self.style = title, style
        step = max(1, len(points) // MOST_POINTS)
        kept = points[::step] + points[-1:] if style == "lines" else points
        self.points = kept


class Panel:
    """Lines over one axis; `spans` are named stretches of it."""

    def __init__(self, ylabel, *lines, xlabel="s", spans=(), marks=(), yrange=None, bars=None,
                 key="right"):
        self.lines, self.xlabel, self.ylabel, self.spans = lines, xlabel, ylabel, spans
        self.marks, self.yrange, self.bars, self.key = marks, yrange, bars, key
        self.until = 0.0  # where all panels over time end

    def script(self):
        out = ["unset object", "unset label", "unset arrow", "unset logscale", "set xtics auto",
               "set autoscale", "set style fill solid 0.9",
               f"set key top {self.key}", f'set xlabel "{self.xlabel}"', f'set ylabel "{self.ylabel}"']
        for i, (begin, end, name) in enumerate(self.spans):
            shade = "#eef4f8" if i % 2 == 0 else "#f8f1ea"
            out.append(f"set object {i + 1} rectangle from {begin},graph 0 to {end},graph 1 behind "
                       f'fillcolor rgb "{shade}" fillstyle solid noborder')
            out.append(f'set label {i + 1} "{name}" at {(begin + end) / 2},graph 0.94 center '
                       'textcolor rgb "#44515e"')
        for i, (value, name) in enumerate(self.marks):
            out.append(f"set arrow {i + 1} from graph 0,first {value} to graph 1,first {value} nohead "
                       'dashtype 2 linecolor rgb "#b3261e"')
            out.append(f'set label {90 + i} "{name}" at graph 0.01,first {value} offset 0,0.6 '
                       'textcolor rgb "#b3261e"')
        if self.until:
            out.append(f"set xrange [0:{self.until}]")
        if self.yrange:
            out.append(f"set yrange [{self.yrange[0]}:{self.yrange[1]}]")
        return out + (self._bars() if self.bars else self._lines())

    def _lines(self):
        out, drawn = [], []
        for i, line in enumerate(self.lines):
            rows = "\n".join(f"{x:.4f} {y:.4f}" for x, y in line.points)
            out.append(f"$data{i} << end\n{rows}\nend")
            how = "points pointtype 7 pointsize 0.45" if line.style == "points" else "lines"
            title = f'title "{line.title}"' if line.title else "notitle"
            drawn.append(f'$data{i} using 1:2 with {how} linewidth 2 linecolor rgb "{COLOURS[i]}" {title}')
        return [*out, "plot " + ", ".join(drawn)]

    def _bars(self):
        rows = "\n".join(f'{i} {value:.4f} "{name}"' for i, (name, value) in enumerate(self.bars))
        return [f"$bars << end\n{rows}\nend", "set boxwidth 0.5", "set logscale y", "set xlabel ''",
                "set yrange [0.05:5000]",
                f'plot $bars using 1:2:xtic(3) with boxes linecolor rgb "{COLOURS[0]}" notitle, '
                '$bars using 1:2:(sprintf("%.3g ms", $2)) with labels offset 0,0.7 notitle']


def draw(file, *panels, width=760, height=230):
    over_time = [panel for panel in panels if panel.xlabel == "s" and panel.lines]
    for panel in over_time:
        panel.until = max(line.points[-1][0] for each in over_time for line in each.lines)
    script = [f'set terminal svg noenhanced size {width},{height * len(panels)} font "sans-serif,13" '
              'background "#ffffff"', f'set output "{file}"',
              'set grid linecolor rgb "#dde3e8"', 'set border 3 linecolor rgb "#5a6875"',
              "set tics nomirror", "set lmargin 9", "set rmargin 3",
              f"set multiplot layout {len(panels)},1"]
    for panel in panels:
        script += panel.script()
    subprocess.run(["gnuplot"], input="\n".join(script) + "\n", text=True, check=True)
