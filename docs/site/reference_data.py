"""What the manual says of the functions: the interface's description (interface/describe.py), and
beside it docs/reference/*.toml, one file a page, with what a header's comment has no room for."""

import json
import pathlib
import re
import tomllib

READS = "Only reads: a second execution changes nothing."
SENDS_NOTHING = "Sends nothing, so nothing can be executed twice."
SAME = "Does no harm: the second execution does the same as the first."
LIBRARY_WORDS = ("sends nothing", "Needs no session")


class ReferenceError(Exception):
    """The data of the manual do not fit the interface."""


class Entry:
    """A function as the manual has it."""

    def __init__(self, function, told, page):
        self.function = function
        self.name = function["name"]
        self.page = page
        self.example = told.get("example", "").strip("\n")
        self.before = told.get("before", "")
        self.gives = told.get("gives", 0)
        self.see = list(told.get("see", []))
        self._told = told
        self.base = None  # the function for one axis that this one is the form for several of

    def __getitem__(self, key):
        return self.function[key]

    def said(self, key):
        """A fact of its own, else that of the form for one axis, else that of its page."""
        if key in self._told:
            return self._told[key]
        if self.base:
            return self.base.said(key)
        return self.page.told.get(key, "")

    @property
    def notes(self):
        return " ".join(self["notes"])

    @property
    def threads(self):
        """Each function has one sentence on threads, which ends its note or a part of it."""
        told = re.search(r"Threads: (.*?)\.(?= [A-Z]|$)", self.notes)
        if not told:
            raise ReferenceError(f"{self.name}: nothing on threads")
        return told[1][0].upper() + told[1][1:] + "."

    @property
    def other_notes(self):
        return re.sub(r"Threads: .*?\.(?= [A-Z]|$)", "", self.notes).strip()

    @property
    def sends(self):
        return "sends nothing" not in self.notes

    @property
    def needs(self):
        if not self["session"]:
            return "No session: it can be called at any time."
        if not self.sends:
            return "A session: `zelQ_Connect()` was called once." + self._more("; besides, ")
        return "A connection." + self._more(" Besides: ")

    def _more(self, joined):
        more = self.said("needs")
        return f"{joined}{more}." if more else ""

    @property
    def effect(self):
        return self.said("effect")

    @property
    def reads(self):
        return bool(re.match(r"Reads |Gives the |Asks who", self["brief"])) or "Ping" in self.name

    @property
    def again(self):
        if self["warnings"]:
            return " ".join(self["warnings"])
        if not self.sends:
            return SENDS_NOTHING
        return READS if self.reads else self.said("again") or SAME


class Page:
    """A page of the reference: one or more groups of the header."""

    def __init__(self, path):
        self.told = tomllib.loads(path.read_text(encoding="utf-8"))
        self.file = path.name
        self.name = "ref-" + re.sub(r"^\d+-", "", path.stem)
        self.title = self.told["title"]
        self.groups = self.told["groups"]
        self.text = self.told["text"]
        self.entries = []
        self.records = []


class Reference:
    """All pages, entries and records; whatever does not fit together is an error."""

    def __init__(self, description, folder):
        self.interface = json.loads(pathlib.Path(description).read_text(encoding="utf-8"))
        self.pages = [Page(path) for path in sorted(pathlib.Path(folder).glob("*.toml"))]
        self.entries = {}
        for page in self.pages:
            self._fill(page)
        missing = {each["name"] for each in self.interface["functions"]} - set(self.entries)
        self._require(not missing, f"on no page: {sorted(missing)}")
        self._link_forms()
        for entry in self.entries.values():
            self._check(entry)

    @staticmethod
    def _require(condition, problem):
        if not condition:
            raise ReferenceError(problem)

    def _fill(self, page):
        titles = [group["title"] for group in self.interface["groups"]]
        for group in page.groups:
            self._require(group in titles, f"{page.title}: no group {group}")
        told = {name for name in page.told if name.startswith("zelQ_")}
        for function in self.interface["functions"]:
            if function["group"] in page.groups:
                self._require(function["name"] in told, f"nothing told of {function['name']}")
                entry = Entry(function, page.told[function["name"]], page)
                page.entries.append(entry)
                self.entries[entry.name] = entry
        strangers = told - {entry.name for entry in page.entries}
        self._require(not strangers, f"{page.title}: {sorted(strangers)} stand elsewhere")
        page.records = [record for record in self.interface["records"]
                        if record["group"] in page.groups]

    def _link_forms(self):
        """zelQ_mX and zelQ_aX are zelQ_X for several axes, and each refers to the other."""
        for entry in self.entries.values():
            base = self.entries.get(re.sub(r"^zelQ_[ma](?=[A-Z])", "zelQ_", entry.name))
            if base and base is not entry:
                entry.base = base
                entry.see.insert(0, base.name)
                base.see.append(entry.name)

    def _check(self, entry):
        self._require(entry.example, f"{entry.name}: no example")
        self._require(entry.effect, f"{entry.name}: no effect")
        self._require(entry.threads, f"{entry.name}: nothing on threads")
        entry.see = list(dict.fromkeys(name for name in entry.see if name != entry.name))
        for name in entry.see:
            self._require(name in self.entries, f"{entry.name}: see also {name}?")
        self._require(entry.see, f"{entry.name}: see also nothing")

    def error(self, code, function=None):
        """What a result means, as of this function."""
        rows = [row for row in self.interface["errors"]
                if min(row["first"], row["last"]) <= code <= max(row["first"], row["last"])
                and row["function"] in (None, function)]
        return min(rows, key=lambda row: row["function"] is None)
