#!/usr/bin/env python3
"""Holds the interface's description against the header, and the table of results against all that
any function can return and against its page.

    check_interface.py SOURCE-FOLDER [EMULATOR...] ERRORS-PAGE-PROGRAM
"""

import pathlib
import re
import subprocess
import sys
import unittest

ROOT = pathlib.Path(sys.argv.pop(1))
PROGRAM = [sys.argv.pop() for _ in sys.argv[1:]][::-1]
sys.path.insert(0, str(ROOT / "interface"))
import describe  # noqa: E402  pylint: disable=wrong-import-position

HEADER = (ROOT / "src/api/zelq.h").read_text(encoding="utf-8")
ERRORS = (ROOT / "src/api/zelq_errors.h").read_text(encoding="utf-8")
INTERFACE = describe.describe(HEADER, ERRORS)
FUNCTIONS = {function["name"]: function for function in INTERFACE["functions"]}
RECORDS = {record["name"]: record for record in INTERFACE["records"]}


def run(*arguments, text=None):
    done = subprocess.run([*PROGRAM, *arguments], check=True, capture_output=True, input=text,
                          text=True, encoding="utf-8")
    return done.stdout


def parameter(function, name):
    return next(each for each in FUNCTIONS[function]["parameters"] if each["name"] == name)


class Description(unittest.TestCase):
    def test_is_complete(self):
        self.assertEqual(186, len(FUNCTIONS))
        self.assertEqual(11, len(RECORDS))
        self.assertEqual(22, len(INTERFACE["codes"]))
        for function in FUNCTIONS.values():
            self.assertTrue(function["brief"], function["name"])
            self.assertTrue(function["group"], function["name"])
        self.assertEqual(6, len(INTERFACE["sections"]))
        preambles = {group["title"]: group["text"] for group in INTERFACE["groups"]}
        self.assertTrue(preambles["Motion: homing"].startswith("A homing run goes through four"))
        self.assertEqual("", preambles["Motion: moves"])
        self.assertEqual("Motion: search", RECORDS["SearchStatus"]["group"])

    def test_every_real_number_has_a_unit(self):
        owners = [*FUNCTIONS.values(), *RECORDS.values()]
        without = [(owner["name"], value["name"]) for owner in owners
                   for value in owner.get("parameters", owner.get("fields"))
                   if value["type"] == "double" and not value["unit"]]
        self.assertEqual([], without)

    def test_parameters(self):
        expected = {
            # function, parameter: type, direction, elements, nullable, unit
            ("zelQ_MoveAbs", "pos"): ("double", "in", None, False, "user units"),
            ("zelQ_mMoveAbs", "axes"): ("short", "in", "count", False, None),
            ("zelQ_GetEnumList", "entries"): ("unsigned short", "out", 968, False, None),
            ("zelQ_TMOGet", "sendMs"): ("unsigned short", "out", None, True, "milliseconds"),
            ("zelQ_ILinear", "speed"): ("InterpSpeedProfile", "inout", None, False, None),
            ("zelQ_ILinear", "position"): ("double", "in", "axisCount", False, "user units"),
            ("zelQ_mSearchGetStatus", "out"): ("SearchStatus", "out", "count", False, None),
            ("zelQ_UARTRead", "buf"): ("void", "out", "maxLen", False, None),
            ("zelQ_mSwLimitGet", "slPos2"): ("double", "out", "count", False, "user units"),
            ("zelQ_CfgNetwork", "address"): ("short", "in", 3, False, None),
            ("zelQ_UnitPerPulseSet", "unitPerPulse"):
                ("double", "in", None, False, "user units per pulse"),
        }
        for (function, name), want in expected.items():
            with self.subTest(function=function, name=name):
                told = parameter(function, name)
                self.assertEqual(want, tuple(told[key] for key in
                                             ("type", "direction", "elements", "nullable", "unit")))

    def test_codes(self):
        exchange = {-1, -4, -5, -6, -7, -8, -9, -10, -12}
        for name, want in {
                "zelQ_MoveAbs": exchange | {-2, -3, -2002},
                "zelQ_SpeedEqualStartAndStopSet": {-1700},
                "zelQ_mTorqueLimitSet": exchange | {-2, -3, -2004} | {-1700 - k for k in range(2, 9)},
                "zelQ_LmGetAllStatus": exchange | {-2, -3, -1701, -2001, -1004},
                "zelQ_Disconnect": set()}.items():
            self.assertEqual(want, set(FUNCTIONS[name]["codes"]), name)
        self.assertEqual(["zelQ_GetEnumList"],
                         [name for name, each in FUNCTIONS.items()
                          if each["result"]["kind"] == "count"])
        needless = [name for name, each in FUNCTIONS.items() if not each["session"]]
        self.assertEqual(9, len(needless), needless)

    def test_records(self):
        status = RECORDS["ControllerStatus"]
        self.assertEqual((8168, 4), (status["size"], status["pack"]))
        servo = next(field for field in status["fields"] if field["name"] == "servo")
        self.assertEqual(("ServoStatus", 200, 32),
                         (servo["type"], servo["offset"], servo["elements"]))

    def test_refuses_what_it_cannot_make_out(self):
        for old, new in [
                ("@param pos   [count] targets", "@param pos   targets"),  # an array of what length?
                ("@param axes  [count] axis", "@param axes  [number] axis"),
                ("@param status [out] written", "@param status written"),
                (" * @param pos   target, user units\n", ""),
                ("offset 104: not written", "offset 100: not written"),
                ("one servo axis, 116 bytes", "one servo axis, 112 bytes"),
                ("zelQ_MoveAbs(short zelNo", "zelQ_MoveAbs(long zelNo"),
                ("#ZELQ_BAD_AXIS_COUNT;", "#ZELQ_BAD_COUNT;")]:
            with self.subTest(new=new):
                self.assertIn(old, HEADER)
                with self.assertRaises(describe.HeaderError):
                    describe.describe(HEADER.replace(old, new, 1))


class Results(unittest.TestCase):
    def test_whatever_can_come_is_explained(self):
        asked = [(name, code) for name, each in FUNCTIONS.items() for code in each["codes"]]
        text = (ROOT / "src/common/result_codes.h").read_text(encoding="utf-8")
        own = re.findall(r"constexpr int k\w+ = (-?\d+);", text)
        text = (ROOT / "docs/simulator_commands.md").read_text(encoding="utf-8")
        table = text.split("\n## Results\n")[1].split("\n## ")[0]
        controllers = re.findall(r"(?m)^\| (\d+) \|", table)
        self.assertGreater(len(own), 20)
        self.assertGreater(len(controllers), 40)
        asked += [("-", int(code)) for code in own + controllers]
        names = run("--look-up", text="".join(f"{name} {code}\n" for name, code in asked)).split()
        self.assertEqual(len(asked), len(names))
        self.assertEqual([], [each for each, name in zip(asked, names) if name == "-"])
        by_number = {code["value"]: code["name"] for code in INTERFACE["codes"]}
        known = dict(zip(asked, names))
        for code in own:
            self.assertEqual(by_number[int(code)], known[("-", int(code))])

    def test_look_up(self):
        for line, name in {"- -3": "ZELQ_NO_SESSION", "zelQ_PingCheck -3": "PING_NO_REPLY",
                           "zelQ_MoveAbs -3": "ZELQ_NO_SESSION", "- -1717": "ZELQ_BAD_ARGUMENT",
                           "- 13": "SIM_EMERGENCY_STOP", "- -11": "-", "- 14": "-",
                           "- -1800": "-"}.items():
            self.assertEqual(name, run("--look-up", text=line).strip(), line)

    def test_description_has_the_table(self):
        page = run()
        rows = INTERFACE["errors"]
        self.assertEqual(["CONTROLLER_RESULT", "UNKNOWN_RESULT"], [row["name"] for row in rows[-2:]])
        self.assertIn(f"{len(rows) - 2} results.", page)
        for row in rows[:-2]:
            span = f"{row['first']} to {row['last']}"
            number = row["first"] if row["first"] == row["last"] else span
            of = f"Of `{row['function']}` only. " if row["function"] else ""
            self.assertIn(f"## {number} `{row['name']}`\n\n{of}{row['text']}\n\n"
                          f"- Likely causes: {row['causes']}\n- What to do: {row['remedy']}\n", page)

    def test_page_is_that_of_the_table(self):
        page = (ROOT / "docs/errors.md").read_text(encoding="utf-8")
        self.assertEqual(page, run(), "script/docs makes it anew")
        self.assertNotRegex(page, r"(?m): *$|\(null\)")


if __name__ == "__main__":
    unittest.main()
