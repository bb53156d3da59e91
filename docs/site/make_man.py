#!/usr/bin/env python3
"""Makes the manual pages of all functions, in section 3. Programs write their own.

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
    return (f'.TH "{entry.name}" 3 "" "zelQ {version}" "zelQ manual"\n'
            f".SH NAME\n{entry.name} \\- {plain(short(entry['brief']))}\n"
            + ".SH SYNOPSIS\n.B #include <zelq.h>\n.PP\n" + verbatim(declaration(entry))
            + f".SH DESCRIPTION\n{plain(entry['brief'])}\n{more}" + parameters(entry)
            + results(reference, entry) + ".SH USE\n" + facts
            + ".SH EXAMPLE\n" + verbatim(entry.example) + f".SH SEE ALSO\n{see}\n")


def main():
    description, version, folder = sys.argv[1:4]
    reference = Reference(description, ROOT / "docs/reference")
    target = pathlib.Path(folder)
    target.mkdir(parents=True, exist_ok=True)
    for entry in reference.entries.values():
        (target / f"{entry.name}.3").write_text(function_page(reference, entry, version),
                                                encoding="utf-8")


if __name__ == "__main__":
    main()
