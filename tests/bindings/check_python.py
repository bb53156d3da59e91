#!/usr/bin/env python3
"""Holds the Python package against the interface's description, and runs it against the simulated
controller.

    check_python.py DESCRIPTION.json LUMO-SIM EXAMPLES
"""

import asyncio
import ctypes
import json
import pathlib
import runpy
import signal
import sys
import unittest
import warnings
from ctypes import c_ushort

from simulated import Simulated

import zelq
from zelq import raw

EXAMPLES, PROGRAM, DESCRIPTION = (sys.argv.pop() for _ in sys.argv[1:4])
INTERFACE = json.loads(pathlib.Path(DESCRIPTION).read_text(encoding="utf-8"))
CTYPES = {"short": ctypes.c_short, "double": ctypes.c_double, "void": None}


class Raw(unittest.TestCase):
    # The compiler holds the description's sizes and offsets against the header.
    def test_records_lie_as_in_c(self):
        for record in INTERFACE["records"]:
            kind = getattr(raw, record["name"])
            self.assertEqual(record["size"], ctypes.sizeof(kind), record["name"])
            self.assertEqual([(field["name"], field["offset"]) for field in record["fields"]],
                             [(name, getattr(kind, name).offset) for name, *_ in kind._fields_])

    def test_functions_are_all_there(self):
        for each in INTERFACE["functions"]:
            function = getattr(raw, each["name"])
            self.assertIs(CTYPES[each["result"]["type"]], function.restype, each["name"])
            self.assertEqual(len(each["parameters"]), len(function.argtypes), each["name"])
            for parameter, kind in zip(each["parameters"], function.argtypes):
                if not parameter["pointer"] and parameter["type"] != "double":
                    self.assertEqual(parameter["type"], kind.__name__, each["name"])

    def test_codes_and_their_texts(self):
        for code in INTERFACE["codes"]:
            value = getattr(raw, code["name"])
            value = value(0) if code.get("argument") else value
            self.assertEqual((code["value"], code["name"]), (value, zelq.explain(value).name))
        for code, function, name in [(-3, "", "ZELQ_NO_SESSION"), (13, "", "SIM_EMERGENCY_STOP"),
                                     (-3, "zelQ_PingCheck", "PING_NO_REPLY"),
                                     (-1717, "", "ZELQ_BAD_ARGUMENT"),
                                     (99, "", "CONTROLLER_RESULT"), (-11, "", "UNKNOWN_RESULT")]:
            self.assertEqual(name, zelq.explain(code, function).name)

    def test_a_number_that_does_not_fit_is_not_cut_down(self):
        for axis in (65536, -1, 0.5, "0"):
            with self.assertRaises(ctypes.ArgumentError):
                raw.zelQ_StopDec(1, axis)


class Scenario(unittest.TestCase):
    """With two axes in millimetres of 1000 pulses, quick ones."""

    @classmethod
    def setUpClass(cls):
        cls.simulated = Simulated(PROGRAM, 31, "--axes", "2", "--slaves", "30:2,31:3",
                                  "--time-scale", "5")
        cls.addClassCleanup(cls.simulated.end)

    def setUp(self):
        # Patient: other tests may run meanwhile.
        self.press = zelq.Controller("127.0.0", 31, port=self.simulated.port, connect_ms=2000,
                                     receive_ms=500)
        self.addCleanup(self.press.close)
        self.axes = [self.press.axis(number).units(0.001).speed(100.0, acc=1000.0).on()
                     for number in (0, 1)]

    def test_connect(self):
        self.assertEqual("[<Axis 0 of <Controller 31 at 127.0.0.31>>, "
                         "<Axis 1 of <Controller 31 at 127.0.0.31>>]", repr(self.press.axes()))
        with self.assertRaises(zelq.Error) as caught:
            zelq.Controller("127.0.0", 32, port=self.simulated.port)
        self.assertEqual((-1, "zelQ_Connect", "ZELQ_CONNECT_FAILED"),
                         (caught.exception.code, caught.exception.function, caught.exception.name))
        self.assertIn(caught.exception.remedy, str(caught.exception))
        for network in ("192.168", "192.168.0.3", "192.168.256", "host"):
            with self.assertRaises(ValueError):
                zelq.Controller(network, 31)

    def test_home(self):
        self.axes[0].home(direction=1, speed=50.0, position=-20.0).wait()
        status = self.axes[0].status()
        self.assertTrue(status.home_done)
        self.assertAlmostEqual(-20.0, status.encoder_position, 2)

    def test_coordinated_move(self):
        self.press.move_to({0: 10.0, 1: -5.0}).wait()
        self.assertEqual([10.0, -5.0], [axis.position for axis in self.axes])
        path = self.press.path(0, 1, speed=100.0, acc=1000.0)
        path.line(20.0, -5.0).arc(center=(20.0, 0.0), angle=90.0).dwell(0.01)
        path.arc_to(center=(25.0, 5.0), to=(30.0, 5.0)).run()
        self.assertEqual([30.0, 5.0], [round(axis.position, 2) for axis in self.axes])
        for _ in range(30):  # more than the pre-registers hold
            path.line(31.0, 5.0, end=20.0).line(30.0, 5.0)
        path.run()
        self.assertEqual(30.0, round(self.axes[0].position, 2))

    def test_status(self):
        self.press.set_output(31, 4, True)
        self.press.set_main_output(2, True)
        self.axes[1].move_to(3.0).wait()
        status = self.press.status()
        self.assertEqual([0, 1], list(status.axes))
        self.assertEqual((True, False, 3.0), (status.axes[1].servo_on, status.axes[1].in_motion,
                                              status.axes[1].command_position))
        self.assertEqual(([30], [31], True, True), (list(status.inputs), list(status.outputs),
                                                    status.outputs[31][4], status.main_outputs[2]))
        rows = self.press.status_array()
        self.assertEqual([0, 1], list(rows["axis"]))
        self.assertEqual(3.0, rows["encoderPosition"][1])

    def test_alarm(self):
        self.press.call(raw.zelQ_ParamSet, 0, 3, 1, 1)  # over-current at 1 percent of torque
        with self.assertRaises(zelq.MotionError) as caught:
            self.axes[0].move_by(50.0).wait()
        self.assertEqual(0, caught.exception.axis)
        self.press.call(raw.zelQ_ParamSet, 0, 3, 1, 1000)
        self.assertEqual((10, 0), (self.axes[0].alarms()[0].number,
                                   self.axes[0].alarms()[0].sub_number))
        self.assertFalse(self.axes[0].reset_alarm().status().alarm)
        self.axes[0].on().move_by(1.0).wait()

    def test_lost_connection(self):
        with Simulated(PROGRAM, 33) as simulated, warnings.catch_warnings(record=True) as warned:
            warnings.simplefilter("always")
            with self.assertRaises(zelq.Error) as caught:
                with zelq.Controller("127.0.0", 33, port=simulated.port, connect_ms=1000) as press:
                    motion = press.axis(0).on().jog(0)
                    simulated.end()
                    motion.wait()
        self.assertLess(caught.exception.code, 0)
        self.assertIn("could not be stopped", str(warned[0].message))

    def test_an_exception_stops_the_axes(self):
        with self.assertRaises(zelq.WaitTimeout):
            self.axes[0].jog(0).wait(timeout=0.0)
        self.assertFalse(self.axes[0].status().in_motion)
        signal.signal(signal.SIGALRM, signal.default_int_handler)
        signal.setitimer(signal.ITIMER_REAL, 0.03)
        with self.assertRaises(KeyboardInterrupt):
            self.axes[0].jog(0).wait()
        self.assertFalse(self.axes[0].status().in_motion)
        for leave in (KeyboardInterrupt, ValueError):
            with self.assertRaises(leave):
                with self.press:
                    self.press.move_to({0: 900.0, 1: -900.0})
                    raise leave
            self.press = zelq.Controller("127.0.0", 31, port=self.simulated.port)
            self.assertFalse(any(axis.in_motion for axis in self.press.status().axes.values()))
        with self.axes[0].jog(1):
            self.assertTrue(self.axes[0].status().in_motion)
        self.assertFalse(self.axes[0].status().in_motion)
        with self.assertRaises(ValueError):
            with self.axes[0].powered():
                raise ValueError
        self.assertFalse(self.axes[0].status().servo_on)

    def test_a_path_that_is_stopped_does_not_go_on(self):
        self.press.move_to({0: 0.0, 1: 0.0}).wait()
        self.press.call(raw.zelQ_StopModeSwLimit, 0, 2, 5.0, 0, 0.0)  # at once, at 5 mm
        path = self.press.path(0, 1, speed=100.0, acc=1000.0)
        with self.assertRaises(zelq.MotionError) as caught:
            path.line(10.0, 10.0).dwell(0.0).line(0.0, 20.0).run()
        self.assertEqual((4, 0), (caught.exception.code, caught.exception.axis))
        status = self.press.status()
        self.assertAlmostEqual(5.0, status.axes[0].command_position, 1)
        self.assertLess(status.axes[1].command_position, 10.0)
        used = c_ushort()
        self.press.call(raw.zelQ_CP_PreRegUseGet, used)
        self.assertEqual(0, used.value)
        self.press.call(raw.zelQ_StopModeSwLimit, 0, 0, 0.0, 0, 0.0)

    def test_asyncio(self):
        async def work():
            async with zelq.aio.Controller("127.0.0", 31, port=self.simulated.port) as press:
                axis = press.axis(0)
                await (await axis.move_to(2.0)).wait()
                await press.path(0, 1, speed=100.0, acc=1000.0).line(3.0, 1.0).run()
                self.assertEqual(3.0, (await axis.status()).encoder_position)
                waiting = asyncio.ensure_future((await axis.jog(0)).wait())
                while not (await axis.status()).in_motion:
                    pass
                waiting.cancel()
                with self.assertRaises(asyncio.CancelledError):
                    await waiting
                self.assertFalse((await axis.status()).in_motion)
        asyncio.run(work())


class Examples(unittest.TestCase):
    def run_source(self, *arguments, source):
        sys.argv = [str(source), *arguments]
        runpy.run_path(str(source), run_name="__main__")

    def test_they_run(self):
        with Simulated(PROGRAM, 34, "--time-scale", "10") as simulated:
            for source in sorted(pathlib.Path(EXAMPLES).glob("*.py")):
                with self.subTest(source.name):
                    self.run_source("127.0.0", "34", str(simulated.port), source=source)


if __name__ == "__main__":
    unittest.main()
