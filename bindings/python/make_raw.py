#!/usr/bin/env python3
"""Makes the Python package's raw storey from the interface's description: all records, functions,
codes and texts of results, one to one.

    make_raw.py DESCRIPTION.json FOLDER

writes FOLDER/raw.py, and beside it raw.pyi, which tells type checkers and editors the parameters.
"""

import json
import keyword
import pathlib
import sys
import textwrap

CTYPES = {"char": "c_char", "unsigned char": "c_ubyte", "short": "c_short",
          "unsigned short": "c_ushort", "int": "c_int", "unsigned int": "c_uint",
          "double": "c_double"}
CHECKED = {"unsigned char": "UBYTE", "short": "SHORT", "unsigned short": "USHORT", "int": "INT",
           "unsigned int": "UINT", "double": "c_double"}

HEAD = '''"""The functions, records and codes of zelq.h one to one.

Made from the description of the interface by make_raw.py. A function takes and returns what its
declaration in C does: numbers, and for pointers an instance of the type, an array of it, or None
where that is allowed. A number that does not fit its type raises ctypes.ArgumentError, and nothing
is sent. Results are returned as they are: zelq.check() makes exceptions of them.
"""

'''


def plain(text):
    """Without the marks by which the manual links names."""
    return text.replace("#ZELQ", "ZELQ")


def ctype(name):
    return CTYPES.get(name, name)


def argtype(parameter):
    if not parameter["pointer"]:
        return CHECKED[parameter["type"]]
    if parameter["type"] == "void":
        # What is written to must not be a bytes object.
        return "c_void_p" if parameter["direction"] == "in" else "POINTER(c_ubyte)"
    return f"POINTER({ctype(parameter['type'])})"


def hint(parameter):
    """What a type checker is told."""
    kind = parameter["type"]
    if not parameter["pointer"]:
        return "float" if kind == "double" else "int"
    if kind == "void":
        told = "_Bytes" if parameter["direction"] == "in" else "_Pointer[c_ubyte]"
    else:
        told = f"_Pointer[{ctype(kind)}]"
    return f"Optional[{told}]" if parameter["nullable"] else told


def signature(function):
    # "pass" is no name of a parameter in Python.
    return ", ".join(f"{each['name']}{'_' * keyword.iskeyword(each['name'])}: {hint(each)}"
                     for each in function["parameters"])


def documentation(function):
    """What help() shows: parameters with their units, results, warnings."""
    names = ", ".join(each["name"] for each in function["parameters"])
    lines = [f"{function['name']}({names})", "", function["brief"], ""]
    lines += [function["text"], ""] if function["text"] else []
    for text in function["warnings"]:
        lines += [f"Warning: {text}", ""]
    for each in function["parameters"]:
        kind = each["type"] + (" pointer" if each["pointer"] else "")
        size = f"[{each['elements']}]" if each["elements"] else ""
        flow = f", {each['direction']}" if each["pointer"] else ""
        lines.append(f"  {each['name']} ({kind}{size}{flow}): {each['text']}")
    lines += ["", f"Returns {function['returns']}"] if function["returns"] else []
    for text in function["notes"]:
        lines += ["", f"Note: {text}"]
    return plain("\n".join(textwrap.fill(line, 96, subsequent_indent="      " * line.startswith(" "))
                           for line in lines))


def record_source(record):
    fields = []
    for field in record["fields"]:
        kind = ctype(field["type"])
        kind = f"{kind} * {field['elements']}" if field["elements"] else kind
        fields.append(f'        ("{field["name"]}", {kind}),  # {field["text"]}\n')
    # Before _fields_, which is laid out by it.
    return (f"\n\nclass {record['name']}(Record):\n    {json.dumps(record['text'])}\n"
            f"    _pack_ = {record['pack']}\n    _fields_ = [\n{''.join(fields)}    ]\n")


def record_stub(record):
    lines = [f"class {record['name']}(Structure):\n"]
    for field in record["fields"]:
        kind = ctype(field["type"])
        if field["elements"]:
            hinted = f"Array[{kind}]"
        else:
            hinted = {"c_double": "float"}.get(kind, kind if kind == field["type"] else "int")
        lines.append(f"    {field['name']}: {hinted}\n")
    return "".join(lines) + "\n"


def source(interface):
    yield HEAD
    yield ("from ctypes import (POINTER, c_char, c_double, c_int, c_short, c_ubyte, "
           "c_uint,\n                    c_ushort, c_void_p)\n\n"
           "from ._library import INT, SHORT, UBYTE, UINT, USHORT, Record, Result, function\n\n")
    for code in interface["codes"]:
        if code.get("argument"):
            yield (f"\ndef {code['name']}(k):\n    {json.dumps(code['text'])}\n"
                   f"    return {code['value']} - k\n\n\n")
        else:
            yield f"{code['name']} = {code['value']}  # {code['text']}\n"
    yield from map(record_source, interface["records"])
    yield "\n\n"
    for each in interface["functions"]:
        result = {"void": "None"}.get(each["result"]["type"], ctype(each["result"]["type"]))
        arguments = "".join(f", {argtype(parameter)}" for parameter in each["parameters"])
        yield (f"{each['name']} = function({json.dumps(documentation(each))},\n"
               f"    \"{each['name']}\", {result}{arguments})\n")
    yield "\n# What results mean, as zelq_errors.h has it.\nRESULTS = (\n"
    for row in interface["errors"]:
        yield (f"    Result({row['function']!r}, {row['first']}, {row['last']}, {row['name']!r},\n"
               f"           {row['text']!r},\n           {row['causes']!r},\n"
               f"           {row['remedy']!r}),\n")
    yield ")\n"


def stub(interface):
    yield HEAD
    yield ("from ctypes import (Array, Structure, c_char, c_double, c_int, c_short, c_ubyte, c_uint,\n"
           "                    c_ushort)\nfrom ctypes import _Pointer as _CPointer\n"
           "from typing import Optional, Tuple, TypeVar, Union\n\n"
           "from ._library import Result\n\n"
           "_T = TypeVar(\"_T\")\n_Pointer = Union[_T, Array[_T], _CPointer[_T]]\n"
           "_Bytes = Union[bytes, Array[c_char], Array[c_ubyte]]\n\n")
    for code in interface["codes"]:
        name = code["name"]
        yield f"def {name}(k: int) -> int: ...\n" if code.get("argument") else f"{name}: int\n"
    yield "RESULTS: Tuple[Result, ...]\n\n"
    yield from map(record_stub, interface["records"])
    for each in interface["functions"]:
        result = {"void": "None", "double": "float"}.get(each["result"]["type"], "int")
        yield f"def {each['name']}({signature(each)}) -> {result}: ...\n"


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        interface = json.load(file)
    folder = pathlib.Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "raw.py").write_text("".join(source(interface)), encoding="utf-8")
    (folder / "raw.pyi").write_text("".join(stub(interface)), encoding="utf-8")


if __name__ == "__main__":
    main()
