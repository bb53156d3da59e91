"""`zelq bridge` against a real broker, simulated controllers and somebody else's decoder.

    check_bridge.py ZELQ LUMO-SIM [unittest's own words]
"""

import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from rig import Bridge, Broker, Machine, Subscriber, encoded, publish, values_of

ZELQ, LUMO_SIM = sys.argv[1:3]
GROUP, NODE = "Hall 1", "Bridge A"
FAST = {name: {"every": 20, "largest": 0} for name in ("motion", "flags", "io")}
BOOLEAN, INT64, DOUBLE, STRING = 11, 4, 10, 12


def topic(kind, device=None):
    return "/".join(["spBv1.0", GROUP, kind, NODE] + ([device] if device else []))


def config(broker, *controllers, **more):
    return {"broker": {"host": "127.0.0.1", "port": broker.port, "keepAlive": 2},
            "group": GROUP, "node": NODE, "metrics": FAST, "controllers": list(controllers), **more}


def aliases(birth):
    return {metric["name"]: metric.get("alias") for metric in birth["payload"]["metrics"]}


class Case(unittest.TestCase):
    def setUp(self):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        self.folder = pathlib.Path(folder)

    def enterContext(self, manager):  # as unittest has it from Python 3.11 on
        value = manager.__enter__()
        self.addCleanup(manager.__exit__, None, None, None)
        return value

    def broker(self, **options):
        return self.enterContext(Broker(self.folder, **options))

    def machine(self, number, *options):
        return self.enterContext(Machine(LUMO_SIM, number, *options))

    def subscriber(self, port, *options):
        return self.enterContext(Subscriber(port, *options))

    def bridge(self, *arguments, **options):
        return self.enterContext(Bridge(ZELQ, self.folder, *arguments, **options))

    def check_sequence(self, messages):
        """Each message of a session is numbered one above the one before it."""
        expected = None
        for message in messages:
            kind = message["topic"].split("/")[2]
            if kind == "NBIRTH":
                expected = 0
            if kind in ("NBIRTH", "NDATA", "DBIRTH", "DDATA", "DDEATH") and expected is not None:
                self.assertEqual(message["payload"].get("seq", 0), expected, message["topic"])
                expected = (expected + 1) % 256


class Told(Case):
    def test_births_data_and_deaths(self):
        broker = self.broker()
        machine = self.machine(11, "--axes", "2", "--slaves", "30:2,31:3")
        heard = self.subscriber(broker.port)
        rules = {**FAST, "motion": {"every": 20, "largest": 0}, "deadBand": {"position": 0.0105}}
        axes = {"0": {"name": "X", "unit": "mm", "unitPerPulse": 0.001}}
        bridge = self.bridge(config(broker, machine.entry(axes=axes, metrics=rules)))

        node = heard.wait("NBIRTH")
        self.assertEqual(node["payload"].get("seq"), 0)
        self.assertEqual(node["birth"]["bdSeq"], {"type": "Int64", "value": 0})
        self.assertEqual(node["birth"]["Node Control/Rebirth"]["type"], "Boolean")
        self.assertIsNone(aliases(node)["Node Control/Rebirth"])

        birth = heard.wait("DBIRTH", "Press 11")
        position = birth["birth"]["Axes/X/Position"]
        self.assertEqual((position["type"], position["unit"]), ("Double", "mm"))
        self.assertEqual(birth["birth"]["Slaves/30/Inputs/31"], {"type": "Boolean", "value": False})
        self.assertEqual(birth["birth"]["Properties/Model"]["type"], "String")
        known = aliases(birth)
        self.assertEqual(len(set(known.values())), len(known), "an alias stands for one metric")
        self.assertNotIn("Control/Stop", known)

        self.data_by_change(machine, heard, known)
        self.alarm_with_its_explanation(machine, heard, known)
        self.rebirth_on_request(broker, heard)
        self.death_of_a_controller(machine, heard)

        self.assertEqual(bridge.end(), 0)
        death = heard.wait("NDEATH")
        self.assertEqual(values_of(death), [(None, 0)])
        self.check_sequence(heard.lines.all)

    def data_by_change(self, machine, heard, known):
        begin = heard.now()
        machine.ask("POST", "/axes/0/push", {"pulses": 10})  # within the dead band
        machine.line.await_readings()
        machine.ask("PUT", "/inputs", {"pins": {"3": True}})
        heard.wait("DDATA", "Press 11", begin, (known["Main/Inputs/3"], True))
        machine.ask("PUT", "/slaves/30/inputs", {"pins": {"31": True}})
        heard.wait("DDATA", "Press 11", begin, (known["Slaves/30/Inputs/31"], True))
        told = [alias for message in heard.lines.all[begin:] for alias, _ in values_of(message)]
        self.assertNotIn(known["Axes/X/Position"], told)
        self.assertEqual(told.count(known["Main/Inputs/3"]), 1, "told once, for it changed once")
        machine.ask("POST", "/axes/0/push", {"pulses": 2})
        heard.wait("DDATA", "Press 11", begin, (known["Axes/X/Position"], 0.012))

    def alarm_with_its_explanation(self, machine, heard, known):
        begin = heard.now()
        machine.ask("POST", "/axes/1/alarm", {"number": 20, "subNumber": 3})
        heard.wait("DDATA", "Press 11", begin, (known["Axes/1/Flags/Alarm"], True))
        data = heard.wait("DDATA", "Press 11", begin, (known["Axes/1/Alarm/Number"], 20))
        values = dict(values_of(data))
        self.assertEqual(values[known["Axes/1/Alarm/Detail"]], 3)
        self.assertRegex(values[known["Axes/1/Alarm/Text"]], "following error: .*; then reset")
        machine.ask("DELETE", "/axes/1/alarm")
        heard.wait("DDATA", "Press 11", begin, (known["Axes/1/Alarm/Number"], 0))

    def rebirth_on_request(self, broker, heard):
        begin = heard.now()
        publish(broker.port, topic("NCMD"), encoded(
            {"name": "Node Control/Rebirth", "type": "Boolean", "value": True}))
        node = heard.wait("NBIRTH", since=begin)
        self.assertEqual(node["birth"]["bdSeq"]["value"], 0, "the session is the same")
        birth = heard.wait("DBIRTH", "Press 11", begin)
        self.assertTrue(birth["birth"]["Main/Inputs/3"]["value"])

    def death_of_a_controller(self, machine, heard):
        begin = heard.now()
        machine.end()
        heard.wait("DDEATH", "Press 11", begin)
        machine.start()
        birth = heard.wait("DBIRTH", "Press 11", begin)
        self.assertEqual(birth["birth"]["Link/Reconnects"]["value"], 1)
        self.assertGreaterEqual(birth["birth"]["Link/Lost replies"]["value"], 1)

    def test_a_value_is_told_again_after_its_largest_period(self):
        broker = self.broker()
        machine = self.machine(12)
        heard = self.subscriber(broker.port)
        rules = {**FAST, "io": {"every": 20, "largest": 100}}
        self.bridge(config(broker, machine.entry(metrics=rules)))
        birth = heard.wait("DBIRTH", "Press 12")
        unchanged = (aliases(birth)["Main/Inputs/0"], False)
        first = heard.wait("DDATA", "Press 12", metric=unchanged)
        again = heard.wait("DDATA", "Press 12", heard.lines.all.index(first) + 1, unchanged)
        self.assertGreaterEqual(again["payload"]["timestamp"] - first["payload"]["timestamp"], 95)

    def test_plain_json(self):
        broker = self.broker()
        machine = self.machine(13, "--axes", "1")
        heard = self.subscriber(broker.port, "-t", "zelq/#")
        bridge = self.bridge(config(broker, machine.entry()), "--format", "json",
                             "--allow", "outputs")

        def wait(suffix, found):
            place = f"zelq/{GROUP}/{NODE}/{suffix}"
            heard.lines.wait(lambda each: each["topic"] == place and found(json.loads(each["text"])),
                             what=suffix)

        wait("state", lambda state: state["online"])
        wait("Press 13/state", lambda state: state["online"] and
             state["units"]["Axes/0/Torque"] == "%" and "Main/Outputs/2" in state["writable"])
        wait("Press 13/data", lambda data: len(data["values"]) > 30)
        machine.ask("PUT", "/inputs", {"pins": {"5": True}})
        wait("Press 13/data", lambda data: data["values"] == {"Main/Inputs/5": True})
        publish(broker.port, f"zelq/{GROUP}/{NODE}/Press 13/command", b'{"Main/Outputs/2": true}')
        wait("Press 13/data", lambda data: data["values"] == {"Main/Outputs/2": True})
        bridge.kill()
        wait("state", lambda state: not state["online"])  # its last will


class Asked(Case):
    def setUp(self):
        super().setUp()
        self.host = self.broker()
        self.press = self.machine(14, "--axes", "1", "--slaves", "31:3")
        self.heard = self.subscriber(self.host.port)

    def ask(self, *metrics, device="Press 14"):
        publish(self.host.port, topic("DCMD", device), encoded(*metrics))

    def test_nothing_without_being_allowed(self):
        bridge = self.bridge(config(self.host, self.press.entry()))
        self.heard.wait("DBIRTH", "Press 14")
        self.ask({"name": "Main/Outputs/1", "type": "Boolean", "value": True})
        bridge.wait('"Main/Outputs/1" of "Press 14": refused, the bridge was started without '
                    "--allow outputs")
        self.ask({"name": "Control/Stop", "type": "Boolean", "value": True})
        bridge.wait('"Control/Stop" of "Press 14": refused')
        self.press.line.await_readings()
        self.assertEqual(self.press.ask("GET", "/state")["io"]["outputs"], 0)

    def test_what_is_allowed_and_no_more(self):
        bridge = self.bridge(config(self.host, self.press.entry()), "--allow", "stop,outputs")
        known = aliases(self.heard.wait("DBIRTH", "Press 14"))
        self.ask({"alias": known["Main/Outputs/1"], "type": "Boolean", "value": True},
                 {"alias": known["Slaves/31/Outputs/9"], "type": "Boolean", "value": True},
                 {"name": "Axes/0/Control/Reset alarm", "type": "Boolean", "value": True},
                 {"alias": known["Main/Inputs/1"], "type": "Boolean", "value": True},
                 {"name": "Main/Outputs/2", "type": "Double", "value": 0.5})
        self.heard.wait("DDATA", "Press 14", metric=(known["Main/Outputs/1"], True))
        self.heard.wait("DDATA", "Press 14", metric=(known["Slaves/31/Outputs/9"], True))
        bridge.wait('command "Main/Outputs/1" of "Press 14" on: done')
        bridge.wait("without --allow reset-alarm")
        bridge.wait('"Main/Inputs/1" of "Press 14": refused, it is read only')
        bridge.wait('"Main/Outputs/2" of "Press 14": refused, it is true or false')
        self.ask({"name": "Main/Outputs/1", "type": "Boolean", "value": False}, device="Press 99")
        bridge.wait('to "Press 99": refused, it is not there')
        self.too_many(bridge)
        self.a_stop_comes_through(known)

    def too_many(self, bridge):
        on_and_off = [{"name": "Main/Outputs/7", "type": "Boolean", "value": step % 2 == 0}
                      for step in range(60)]
        self.ask(*on_and_off)
        bridge.wait("too many, refused")
        done = sum("Main/Outputs/7" in line and "done" in line for line in bridge.lines.all)
        self.assertLess(done, 30)

    def a_stop_comes_through(self, known):
        controller = (ZELQ, "--network", "127.0.0", "--controller", "14", "--port",
                      str(self.press.line.port))
        subprocess.run((*controller, "servo", "on", "0", "--yes"), check=True, capture_output=True)
        jog = subprocess.Popen((*controller, "jog", "0", "--for", "30000", "--yes"), stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
        self.heard.wait("DDATA", "Press 14", metric=(known["Axes/0/Flags/In motion"], True))
        self.ask({"name": "Control/Stop", "type": "Boolean", "value": True})
        self.heard.wait("DDATA", "Press 14", metric=(known["Axes/0/Flags/In motion"], False))
        jog.send_signal(signal.SIGINT)
        jog.wait(30)


class Kept(Case):
    """The broker hangs, dies and comes back; the bridge is killed meanwhile."""

    def test_nothing_is_lost_and_all_in_order(self):
        broker = self.broker()
        machine = self.machine(15, "--axes", "0")
        self.say_host(broker, True)
        heard = self.subscriber(broker.port)
        settings = config(broker, machine.entry(), primaryHost="scada")
        bridge = self.bridge(settings)
        self.known = aliases(heard.wait("DBIRTH", "Press 15"))
        self.value, self.step = 0, 0
        told = []

        self.count(machine, 10)
        heard.wait("DDATA", "Press 15", metric=self.last_bit())
        broker.kill(signal.SIGSTOP)  # it takes what comes into its socket, and does nothing with it
        self.count(machine, 20)
        broker.end(signal.SIGKILL)
        bridge.wait("port", since=len(bridge.lines.all) - 1)
        self.count(machine, 10)
        bridge.end(signal.SIGKILL)
        told += self.words(heard)

        bridge = self.bridge(settings)
        bridge.wait("wait in the store")
        machine.line.await_readings()
        self.count(machine, 10)
        broker = self.broker(port=broker.port)
        heard = self.subscriber(broker.port)
        bridge.wait("waits for the primary host")
        self.count(machine, 5)
        self.assertEqual(heard.lines.all, [], "nothing is told before the host is there")
        self.say_host(broker, True)
        node = heard.wait("NBIRTH")
        self.assertGreater(node["birth"]["bdSeq"]["value"], 0)
        begin = heard.now()
        self.step_once(machine)
        heard.wait("DDATA", "Press 15", begin, self.last_bit())
        heard.wait("NDATA", since=0, metric=(aliases(node)["Store/Waiting"], 0))
        self.assertEqual(bridge.end(), 0)
        heard.wait("NDEATH")
        self.check_sequence(heard.lines.all)
        told += self.words(heard)
        self.check_all(told)

    def say_host(self, broker, online):
        publish(broker.port, "spBv1.0/STATE/scada", json.dumps(
            {"online": online, "timestamp": int(time.time() * 1000)}).encode(), "-r")

    def step_once(self, machine):
        """One input of eight changes, as in a Gray code: each change is one metric's."""
        self.step += 1
        bit = (self.step & -self.step).bit_length() - 1
        self.value ^= 1 << bit
        machine.ask("PUT", "/inputs", {"value": self.value})
        machine.line.await_readings()

    def count(self, machine, steps):
        for _ in range(steps):
            self.step_once(machine)

    def last_bit(self):
        bit = (self.step & -self.step).bit_length() - 1
        return (self.known[f"Main/Inputs/{bit}"], bool(self.value >> bit & 1))

    def words(self, heard):
        """(time, historical, alias, value) of all data."""
        return [(metric["timestamp"], metric.get("isHistorical", False), metric["alias"],
                 metric.get("booleanValue"))
                for message in heard.lines.all if "/DDATA/" in message["topic"]
                for metric in message["payload"]["metrics"] if "booleanValue" in metric]

    def check_all(self, told):
        inputs = {self.known[f"Main/Inputs/{pin}"]: pin for pin in range(8)}
        late = [word[0] for word in told if word[1]]
        self.assertGreaterEqual(len(late), 35)
        self.assertEqual(late, sorted(late), "what comes late comes in its order")
        # By their times, as a historian files them. What came twice is filed once.
        value, steps = 0, []
        for _, alias, bit in sorted({(word[0], word[2], word[3]) for word in told}):
            pin = inputs.get(alias)
            if pin is None or bool(value >> pin & 1) == bit:
                continue
            value ^= 1 << pin
            steps.append(pin)
        expected = [(step & -step).bit_length() - 1 for step in range(1, self.step + 1)]
        self.assertEqual(steps, expected)

    def test_oldest_go_first_when_there_is_no_room(self):
        broker = self.broker()
        machine = self.machine(16, "--axes", "32")
        # Nobody is the primary host, so all is kept.
        bridge = self.bridge(config(broker, machine.entry(metrics={
            **FAST, "motion": {"every": 10, "largest": 10}, "flags": {"every": 10, "largest": 10}}),
            primaryHost="scada", store={"megabytes": 1}))
        bridge.wait("waits for the primary host")
        store = self.folder / "bridge.store"
        end = time.monotonic() + 60
        while sum(file.stat().st_size for file in self.folder.glob("bridge.store*")) < 1_500_000:
            machine.line.await_readings(5)
            self.assertLess(time.monotonic(), end)
        self.assertEqual(bridge.end(), 0)
        self.assertLess(store.stat().st_size, 2_500_000)


class Trusted(Case):
    def certificate(self, name, subject, issuer=None):
        key, request, made = (self.folder / f"{name}.{kind}" for kind in ("key", "csr", "pem"))

        def openssl(*words):
            subprocess.run(("openssl", *map(str, words)), check=True, capture_output=True)

        if issuer is None:
            openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                    "-keyout", key, "-out", made, "-subj", subject, "-days", 2)
        else:
            openssl("req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                    "-keyout", key, "-out", request, "-subj", subject,
                    "-addext", "subjectAltName=IP:127.0.0.1")
            openssl("x509", "-req", "-in", request, "-CA", self.folder / f"{issuer}.pem", "-CAkey",
                    self.folder / f"{issuer}.key", "-out", made, "-days", 2, "-copy_extensions", "copy")
        return str(made), str(key)

    def test_tls_with_certificates_user_and_password(self):
        ca, _ = self.certificate("ca", "/CN=hall")
        strange, _ = self.certificate("strange", "/CN=elsewhere")
        server, server_key = self.certificate("server", "/CN=broker", "ca")
        client, client_key = self.certificate("client", "/CN=bridge", "ca")
        passwords = self.folder / "passwords"
        subprocess.run(("mosquitto_passwd", "-b", "-c", passwords, "hall", "secret-word"), check=True)
        password = self.folder / "password"
        password.write_text("secret-word\n", encoding="utf-8")
        broker = self.broker(lines=(
            "allow_anonymous false", f"password_file {passwords}", f"cafile {ca}",
            f"certfile {server}", f"keyfile {server_key}", "require_certificate true"))
        machine = self.machine(17)
        settings = config(broker, machine.entry())
        settings["broker"].update(passwordFile=str(password),
                                  tls={"ca": ca, "certificate": client, "key": client_key})
        user = {"ZELQ_MQTT_USER": "hall"}
        heard = self.subscriber(broker.port, "--cafile", ca, "--cert", client, "--key", client_key,
                                "-u", "hall", "-P", "secret-word")
        bridge = self.bridge(settings, environment=user)
        heard.wait("DBIRTH", "Press 17")
        self.assertEqual(bridge.end(), 0)
        self.assertNotIn("secret-word", "\n".join(bridge.lines.all))

        password.write_text("wrong\n", encoding="utf-8")
        with Bridge(ZELQ, self.folder, settings, environment=user) as refused:
            refused.wait("the broker refuses")
        settings["broker"]["tls"]["ca"] = strange
        begin = heard.now()
        with Bridge(ZELQ, self.folder, settings, environment=user) as careful:
            careful.wait(f"port {broker.port}: ")
        self.assertEqual(heard.now(), begin, "a broker that nobody vouches for is told nothing")


class Named(Case):
    def test_a_stolen_name_is_noticed_and_given_back(self):
        broker = self.broker()
        machine = self.machine(18)
        heard = self.subscriber(broker.port)
        first = self.bridge(config(broker, machine.entry()))
        heard.wait("DBIRTH", "Press 18")
        other = self.machine(19)
        with Bridge(ZELQ, self.folder, config(broker, other.entry()), name="second") as second:
            heard.wait("DBIRTH", "Press 19")
            first.wait("another bridge calls itself")
            first.wait("watches the other bridge")
            begin = heard.now()
            machine.ask("PUT", "/inputs", {"value": 1})
            machine.line.await_readings()
            other.ask("PUT", "/inputs", {"value": 1})
            heard.wait("DDATA", "Press 19", begin)
            self.assertEqual(second.end(), 0)
        begin = heard.lines.all.index(heard.wait("NDEATH", since=begin))
        late = heard.wait("DDATA", "Press 18", begin)
        births = [message["topic"] for message in heard.lines.all[begin:]
                  if "BIRTH" in message["topic"]]
        self.assertEqual(births, [topic("NBIRTH"), topic("DBIRTH", "Press 18")])
        self.assertTrue(late["payload"]["metrics"][0]["isHistorical"])


class Configured(Case):
    def test_what_is_wrong_with_the_file(self):
        good = """{ "broker": { "host": "127.0.0.1" },
 "group": "G", "node": "N",
 "controllers": [
  { "name": "A",
    "address": "10.0.0.3" }
 ]
}"""
        rows = [
            (good, good, "1 controllers, nothing wrong"),
            ('"node": "N",', '"node": "N"', ":3: is no JSON: "),
            ('"10.0.0.3"', '"10.0.0.300"', ":5: /controllers/0/address: is no address"),
            ('"name": "A"', '"name": "A", "nmae": "B"', ":4: /controllers/0/nmae: nothing is known"),
            ('{ "name": "A"', '{ "name": "B", "address": "10.0.1.3" },\n  { "name": "A"',
             ':5: /controllers/1: "B" is controller 3 too'),
            ('"name": "A"', '"name": "A/B"', ":4: /controllers/0/name: has one of / + #"),
            ('"host": "127.0.0.1"', '"host": "h", "password": "x"',
             ":1: /broker/password: secrets do not stand in this file"),
            ('"group": "G",', "", ":1: group is missing"),
            ('"group": "G",', '"group": "G", "metrics": {"io": {"every": 0}},',
             ":2: /metrics/io/every: is no number from 10"),
        ]
        for before, after, expected in rows:
            with self.subTest(expected):
                file = self.folder / "bridge.json"
                file.write_text(good.replace(before, after), encoding="utf-8")
                done = subprocess.run((ZELQ, "bridge", file, "--check"), text=True, check=False,
                                      stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
                self.assertIn(expected, done.stdout)
                self.assertEqual(done.returncode, 0 if before == good else 2)

    def test_the_file_is_read_again(self):
        broker = self.broker()
        first, second, third = (self.machine(number) for number in (20, 21, 22))
        heard = self.subscriber(broker.port)
        bridge = self.bridge(config(broker, first.entry(), second.entry()))
        for device in ("Press 20", "Press 21"):
            heard.wait("DBIRTH", device)
        begin = heard.now()
        bridge.write("{ } }")
        bridge.kill(signal.SIGHUP)
        bridge.wait("goes on as it was: ")
        bridge.write(config(broker, first.entry(), third.entry()))
        bridge.kill(signal.SIGHUP)
        heard.wait("DDEATH", "Press 21", begin)
        heard.wait("DBIRTH", "Press 22", begin)
        first.ask("PUT", "/inputs", {"value": 1})
        heard.wait("DDATA", "Press 20", begin)
        births = [message["topic"] for message in heard.lines.all[begin:]
                  if "BIRTH" in message["topic"]]
        self.assertEqual(births, [topic("DBIRTH", "Press 22")], "the others go on undisturbed")
        self.assertEqual(bridge.end(), 0)
        self.check_sequence(heard.lines.all)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
