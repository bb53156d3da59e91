#!/usr/bin/env python3
"""Makes the manual pages: of every function in section 3, of lumo-sim in section 1 (zelq writes its
own: "zelq manual").

    make_man.py DESCRIPTION.json VERSION FOLDER
"""

import pathlib
import re
import sys

from reference_data import Reference
from reference_pages import declaration, direction, sentence

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


def plain(text):
    """A text as roff takes it."""
    text = text.replace("#ZELQ", "ZELQ").replace("\\", "\\e").replace("-", "\\-")
    text = re.sub(r"`([^`]*)`", r"\\fB\1\\fP", text)
    return re.sub(r"(?m)^([.'])", r"\\&\1", text)


def verbatim(code):
    return f".EX\n{plain(code)}\n.EE\n"


def head(name, section, version, brief):
    return (f'.TH "{name}" {section} "" "zelQ {version}" "zelQ manual"\n'
            f'.SH NAME\n{plain(name)} \\- {plain(brief)}\n')


def parameters(entry):
    if not entry["parameters"]:
        return ""
    rows = []
    for each in entry["parameters"]:
        told = direction(each)
        rows.append(f".TP\n.I {plain(each['name'])}\n"
                    + plain((f"[{told}] " if told else "") + each["text"]) + "\n")
    return ".SH PARAMETERS\n" + "".join(rows)


def results(reference, entry):
    text = f".SH RETURN VALUE\n{plain(entry['returns'] or 'None.')}\n"
    rows = {}
    for code in sorted(entry["codes"], reverse=True):
        row = reference.error(code, entry.name)
        rows.setdefault(row["name"], (row, []))[1].append(str(code))
    if rows:
        text += ".SH ERRORS\n" + "".join(
            f".TP\n.B {plain(', '.join(numbers))} {name}\n"
            f"{plain(row['text'] + ' ' + row['remedy'])}\n"
            for name, (row, numbers) in rows.items())
    return text


def short(brief):
    """As lists of pages have it."""
    text = sentence(brief).rstrip(".")
    return text[0].lower() + text[1:]


def function_page(reference, entry, version):
    more = f".PP\n{plain(entry['text'])}\n" if entry["text"] else ""
    facts = "".join(f".TP\n.B {title}\n{plain(text)}\n" for title, text in (
        ("Needs", entry.needs), ("Effect", entry.effect), ("Executed twice", entry.again),
        ("Threads", entry.threads), ("Note", entry.other_notes)) if text)
    see = ",\n".join(f".BR {name} (3)" for name in entry.see).replace(",\n.BR", " ,\n.BR")
    return (head(entry.name, 3, version, short(entry["brief"]))
            + ".SH SYNOPSIS\n.B #include <zelq.h>\n.PP\n" + verbatim(declaration(entry))
            + f".SH DESCRIPTION\n{plain(entry['brief'])}\n{more}" + parameters(entry)
            + results(reference, entry) + ".SH USE\n" + facts
            + ".SH EXAMPLE\n" + verbatim(entry.example) + f".SH SEE ALSO\n{see}\n")


def simulator_page(version):
    """lumo-sim(1), from the beginning of its document."""
    text = (ROOT / "docs/simulator.md").read_text(encoding="utf-8")
    start = text.split("## Starting it\n")[1].split("\n## ")[0]
    calls, _, rest = start.strip().removeprefix("```\n").partition("```\n")
    table, _, told = rest.strip().partition("\n\n")
    rows = [re.split(r" ?(?<!\\)\| ?", row)[1:4] for row in table.split("\n")[2:]]
    options = "".join(f".TP\n.B {plain(name.replace('`', ''))}\n"
                      + plain(meaning + (f" (normally {default})" if default else "")) + "\n"
                      for name, default, meaning in rows)
    intro = text.split("\n\n")[1]
    unlinked = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", told.replace("\n", " "))
    return (head("lumo-sim", 1, version, "simulated Lumo motion controller")
            + ".SH SYNOPSIS\n.B lumo\\-sim\n.RI [ option ...]\n"
            + f".SH DESCRIPTION\n{plain(intro)}\n.PP\n"
            + plain(unlinked) + "\n.SH OPTIONS\n"
            + re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", options)
            + ".SH EXAMPLES\n" + verbatim(calls.rstrip()) + ".SH SEE ALSO\n.BR zelq (1)\n")


def main():
    description, version, folder = sys.argv[1:4]
    reference = Reference(description, ROOT / "docs/reference")
    target = pathlib.Path(folder)
    for section in ("man1", "man3"):
        (target / section).mkdir(parents=True, exist_ok=True)
    for entry in reference.entries.values():
        (target / "man3" / f"{entry.name}.3").write_text(
            function_page(reference, entry, version), encoding="utf-8")
    (target / "man1/lumo-sim.1").write_text(simulator_page(version), encoding="utf-8")


if __name__ == "__main__":
    main()
