#!/usr/bin/env python3
"""Makes the pictures of the guides, each from a run against the simulated controller.

    make.py LUMO-SIM FOLDER [NAME...]
"""

import ctypes
import pathlib
import sys
import time
from contextlib import suppress

import zelq
from scene import Line, Panel, Scene, draw
from zelq import raw

POSITION, SPEED = "position, mm", "speed, mm/s"


def first_hour(program):
    with Scene(program, ["0.command", "0.speed"]) as scene:
        x = scene.axis(0, drive=20.0)
        with x.jog(0):
            scene.settle(0.5)
        ends = [scene.settle() or len(scene.signals["0.command"])]
        x.home(speed=20.0).wait()
        ends.append(scene.settle() or len(scene.signals["0.command"]))
        x.move_to(25.0).wait()
        scene.settle(0.2)
    begin = scene.start("0.speed")
    ends = [0, *((end - begin) / 1000 for end in ends),
            (len(scene.signals["0.command"]) - begin) / 1000]
    spans = [(ends[i], ends[i + 1], name) for i, name in enumerate(("jog", "home", "move 25"))]
    return (Panel(POSITION, scene.line("0.command", "", begin=begin), spans=spans, yrange=(-25, 35)),
            Panel(SPEED, scene.line("0.speed", "", begin=begin)))


def units(program):
    with Scene(program, ["0.command", "0.speed"]) as scene:
        begins = []
        for shape in (0, 1):
            x = scene.axis(0, profile=shape)
            begins.append(len(scene.signals["0.command"]))
            x.move_to(40.0 * (1 - shape)).wait()
            scene.settle(0.3)
    runs = []
    for shape, begin in enumerate(begins):
        at = scene.start("0.speed", begin)
        runs.append((at, at + 1400, ("trapezoid, profile 0", "smoothed, profile 1")[shape]))
    speeds = [scene.line("0.speed", name, begin=begin, end=end) for begin, end, name in runs]
    places = [scene.line("0.command", name, begin=begin, end=end) for begin, end, name in runs]
    for lines in (speeds, places):  # the second one came back
        lines[1].points = [(x, -y if lines is speeds else 40.0 - y) for x, y in lines[1].points]
    return Panel(SPEED, *speeds, yrange=(0, 75)), Panel(POSITION, *places, yrange=(0, 60))


def homing(program):
    with Scene(program, ["0.command", "0.speed", "0.homeSensor"]) as scene:
        x = scene.axis(0, drive=20.0)
        scene.desk.call(raw.zelQ_HomeSetDriveSpeed, 0, 0, 20.0, 5.0, 2.0, 20.0)
        scene.desk.call(raw.zelQ_HomeMoveHome, 0, 1, 0, 2, 1, 0, 5.0)
        while not x.status().home_done:
            pass
        scene.settle()
    edges = [scene.first("0.speed", lambda v: v < 0)]
    edges.append(scene.first("0.speed", lambda v: v > 0, edges[0]))
    edges.append(scene.first("0.speed", lambda v: v < 0, edges[1]))
    edges.append(scene.first("0.speed", lambda v: v > 0, edges[2]))
    edges.append(scene.last("0.speed", bool))
    begin = edges[0] + int((edges[1] - edges[0]) * 0.55)
    edges[0] = begin
    seconds = [(edge - begin) / 1000 for edge in edges]
    spans = [(seconds[i], seconds[i + 1], name)
             for i, name in enumerate(("0 search", "1 back off", "2 approach", "3 behind"))]
    # The counters change at home: the way before it is shown in those that count then.
    place = scene.line("0.command", "", begin=begin, end=edges[3] - 2)
    return (Panel(SPEED, scene.line("0.speed", "", begin=begin), spans=spans, yrange=(-25, 32)),
            Panel("position, mm", place, spans=spans, yrange=(-28, -14)),
            Panel("home sensor", scene.line("0.homeSensor", "", factor=1, begin=begin),
                  yrange=(-0.1, 1.3)))


def corner(program, end, acc=200.0):
    """Round a corner, passed with that speed: the way, and the speed along it."""
    with Scene(program, ["0.encoder", "1.encoder", "0.speed", "1.speed"]) as scene:
        x, y = scene.axis(0), scene.axis(1)
        path = scene.desk.path(0, 1, speed=50.0, acc=acc)
        if end is None:
            path.line(20.0, 0.0, end=50.0).arc((20.0, 10.0), 90.0, start=50.0, end=50.0)
            path.line(30.0, 30.0, start=50.0)
        else:
            path.line(30.0, 0.0, end=end).line(30.0, 30.0, start=end)
        path.run()
        scene.settle()
        x.off(), y.off()
    begin = scene.start("0.speed")
    name = {None: "with an arc", 0.0: "stop in the corner", 10.0: "corner with 10 mm/s"}[end]
    way = Line(name, [(a / 1000, b / 1000) for a, b in zip(scene.signals["0.encoder"],
                                                           scene.signals["1.encoder"])][begin:])
    speed = Line(name, [(i / 1000, (a * a + b * b) ** 0.5 / 1000) for i, (a, b) in enumerate(
        zip(scene.signals["0.speed"][begin:], scene.signals["1.speed"][begin:]))])
    return way, speed


def paths(program):
    runs = [corner(program, end) for end in (0.0, 10.0, None)]
    return (Panel("Y, mm", *(way for way, _ in runs), xlabel="X, mm", yrange=(-2, 32),
                  key="left"),
            Panel(SPEED, *(speed for _, speed in runs), yrange=(0, 95)))


def programs(program):
    with Scene(program, ["0.command", "0.speed", "inputs"]) as scene:
        scene.axis(0)
        for function, arguments in ((raw.zelQ_SeqFuncBufClear, (0,)), (raw.zelQ_SeqSetFocus, (0,)),
                                    (raw.zelQ_SeqFuncWaitMDIpin, (0, 1)),
                                    (raw.zelQ_MoveAbs, (0, 20.0)),
                                    (raw.zelQ_SeqFuncWaitMovDone, (0, 1, (ctypes.c_ushort * 1)(0))),
                                    (raw.zelQ_SeqFuncDelay, (250,)), (raw.zelQ_MoveAbs, (0, 0.0)),
                                    (raw.zelQ_SeqKillFocus, ()), (raw.zelQ_SeqFuncAddEnd, (0,)),
                                    (raw.zelQ_SeqStart, (0,))):
            scene.desk.call(function, *arguments)
        scene.settle(0.3)
        scene.ask("PUT", "/inputs", {"pins": {"0": True}})
        scene.settle(2.2)
        one = len(scene.signals["0.command"])
        nodes = [(ctypes.c_double * 3)(*values) for values in (
            (10, 15, 40), (20, 5, 5), (400, 400, 400), (20, 5, 50), (400, 400, 400))]
        codes = [(ctypes.c_short * 3)(0, 0, 0) for _ in range(2)]
        words = (ctypes.c_ushort(), ctypes.c_ushort())
        scene.desk.call(raw.zelQ_LmSetCfg, 0, 0, 0, 100)
        scene.desk.call(raw.zelQ_LmAddNode, 0, 3, *nodes, *codes, *words)
        scene.desk.call(raw.zelQ_LmAddNodeEnd, 0, 1.0)
        scene.desk.call(raw.zelQ_LmRunStop, 0, 1)
        scene.settle(2.8)
    rise = scene.first("inputs", bool) - 250
    run = scene.first("0.speed", bool, one)
    return (Panel("program", scene.line("0.command", "position, mm", begin=rise, end=one),
                  scene.line("inputs", "input 0 (10: on)", factor=10, begin=rise, end=one),
                  yrange=(-2, 32)),
            Panel("list: speed, mm/s",
                  Line("", list(zip((v / 1000 for v in scene.signals["0.command"][run:]),
                                    (v / 1000 for v in scene.signals["0.speed"][run:])))),
                  xlabel="position, mm: nodes at 10, 15 and 40", yrange=(0, 60)))


def alarms(program):
    with Scene(program, ["0.followingError", "0.speed", "0.alarm"]) as scene:
        x = scene.axis(0, acc=500.0)
        scene.desk.call(raw.zelQ_ParamSet, 0, 3, 0, 5000)
        motion = x.move_to(150.0)
        scene.settle(0.5)
        scene.ask("PUT", "/faults/jam", {"axis": 0, "torque": 900})
        with suppress(zelq.Error):
            motion.wait()
        scene.settle(0.2)
    begin = scene.start("0.speed")
    return (Panel(SPEED, scene.line("0.speed", "motor", begin=begin), yrange=(-5, 65)),
            Panel("following error, mm", scene.line("0.followingError", "", begin=begin),
                  marks=((5.0, "parameter 3.0: alarm"),), yrange=(-1, 6.5)))


def io(program):
    with Scene(program, ["inputs", "outputs"]) as scene:
        scene.desk.call(raw.zelQ_MDOSetLimitTime, 2, 1, 250)
        scene.settle(0.2)
        for _ in range(2):
            scene.desk.set_main_output(2, True)
            scene.settle(0.4)
        scene.ask("PUT", "/inputs", {"pins": {"0": True}})
        scene.settle(0.3)
        scene.ask("PUT", "/inputs", {"pins": {"0": False}})
        scene.settle(0.2)
    return (Panel("output 2", Line("limit time 250 ms", [
                (i / 1000, int(value) >> 2 & 1) for i, value in enumerate(scene.signals["outputs"])]),
                yrange=(-0.1, 1.5)),
            Panel("input 0", Line("", [(i / 1000, int(value) & 1)
                                       for i, value in enumerate(scene.signals["inputs"])]),
                  yrange=(-0.1, 1.5)))


def parameters(program):
    points, marks = [], []
    with Scene(program, ["0.command"]) as scene:
        begin = time.monotonic()

        def look(seconds):
            value = ctypes.c_int()
            end = time.monotonic() + seconds
            while time.monotonic() < end:
                scene.desk.call(raw.zelQ_ParamGet, 0, 3, 0, value)
                points.append((time.monotonic() - begin, value.value))
                time.sleep(0.005)

        for save in (False, True):
            look(0.3)
            scene.desk.call(raw.zelQ_ParamSet, 0, 3, 0, 5000)
            if save:
                scene.desk.call(raw.zelQ_ParamWriteEeprom, 0)
            marks.append((time.monotonic() - begin, "saved" if save else "written"))
            look(0.3)
            scene.ask("POST", "/power")
            marks.append((time.monotonic() - begin, "power cycle"))
        look(0.4)
    times = [at for at, _ in marks] + [points[-1][0]]
    spans = [(times[i], times[i + 1], name) for i, (_, name) in enumerate(marks)]
    return (Panel("parameter 3.0", Line("", points), spans=spans, yrange=(0, 130000)),)


def lost_replies(program):
    lines = []
    for name, function in (("zelQ_MoveRel by 2", raw.zelQ_MoveRel),
                           ("zelQ_MoveAbs to 2", raw.zelQ_MoveAbs)):
        with Scene(program, ["0.command", "0.speed"]) as scene:
            scene.axis(0, acc=2000.0)
            scene.ask("PUT", "/faults/lost-reply", {"count": 1})
            scene.desk.call(function, 0, 2.0)
            scene.settle(0.4)
        begin = scene.start("0.speed")
        lines.append(scene.line("0.command", name, begin=begin, end=begin + 400))
    return (Panel(POSITION, *lines, yrange=(0, 6)),)


def threads(program):
    bars = []
    with Scene(program, ["0.command"]) as scene:
        value = ctypes.c_uint()

        def took(name, repeat=1):
            best = 1e9
            for _ in range(repeat):
                begin = time.perf_counter()
                with suppress(zelq.Error):
                    scene.desk.call(raw.zelQ_MonitorRead, 0, 6, value)
                best = min(best, 1000 * (time.perf_counter() - begin))
            bars.append((name, best))

        took("quiet", 50)
        scene.ask("PUT", "/faults/delay", {"ms": 20})
        took("reply 20 ms late", 3)
        scene.ask("DELETE", "/faults")
        scene.ask("PUT", "/faults/lost-reply", {"count": 1})
        took("one reply lost")
        scene.ask("PUT", "/faults/hang", {})
        took("nobody answers")
    return (Panel("zelQ_MonitorRead, ms", bars=bars),)


def windows(program):
    points = []
    with Scene(program, ["0.encoder", "0.speed"]) as scene:
        x = scene.axis(0, acc=400.0)
        begin = time.monotonic()
        motion = x.move_to(20.0)
        while not motion.done():
            points.append((time.monotonic() - begin, x.position))
            time.sleep(0.05)
        points.append((time.monotonic() - begin, x.position))
        scene.settle()
    start = scene.first("0.speed", bool) - 5
    return (Panel(POSITION, scene.line("0.encoder", "the motor", begin=start),
                  Line("seen every 50 ms", points, "points"), yrange=(0, 30)),)


def testing(program):
    with Scene(program, ["0.command", "0.speed", "inputs", "0.limitPositive"],
               "--config", str(MACHINE)) as scene:
        x = scene.axis(0, acc=500.0)
        motion = x.move_to(100.0)
        while x.position < 40.0:
            pass
        scene.ask("PUT", "/faults/limit-pressed", {"axis": 0, "direction": 0})
        with suppress(zelq.Error):
            motion.wait()
        scene.settle(0.2)
    begin = scene.start("0.speed")
    return (Panel(POSITION, scene.line("0.command", "", begin=begin), yrange=(0, 60)),
            Panel("inputs", scene.line("inputs", "sensor at pin 0", factor=1, begin=begin),
                  scene.line("0.limitPositive", "limit switch, pressed by a fault", factor=1,
                             begin=begin), yrange=(-0.1, 2)))


def checklist(program):
    with Scene(program, ["0.command", "0.speed", "0.limitPositive"], "--travel", "30000") as scene:
        x = scene.axis(0, drive=40.0)
        with suppress(zelq.Error):
            x.move_to(60.0).wait()
        scene.settle(0.2)
    begin = scene.start("0.speed")
    return (Panel(POSITION, scene.line("0.command", "", begin=begin),
                  marks=((30.0, "limit switch"),), yrange=(0, 40)),
            Panel(SPEED, scene.line("0.speed", "", begin=begin), yrange=(0, 45)))


SCENES = (first_hour, units, homing, paths, programs, alarms, io, parameters, lost_replies, threads,
          windows, testing, checklist)
MACHINE = pathlib.Path(__file__).with_name("machine.json")


def main():
    program, folder = sys.argv[1:3]
    for scene in SCENES:
        name = scene.__name__.replace("_", "-")
        if len(sys.argv) == 3 or name in sys.argv[3:]:
            draw(pathlib.Path(folder) / f"guide-{name}.svg", *scene(program))


if __name__ == "__main__":
    main()
