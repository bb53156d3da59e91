#!/usr/bin/env python3
"""Makes the C# binding's raw storey from the interface's description: all records, functions, codes
and texts of results, one to one.

    make_raw.py DESCRIPTION.json RAW.cs VERSION
"""

import json
import sys
from xml.sax.saxutils import escape

TYPES = {"char": "byte", "unsigned char": "byte", "short": "short", "unsigned short": "ushort",
         "int": "int", "unsigned int": "uint", "double": "double", "void": "byte"}
KEYWORDS = {"out", "in", "ref", "params", "fixed", "event", "object", "string", "base", "lock"}

HEAD = """// Made from the description of the interface by make_raw.py.

using System.Reflection;
using System.Runtime.InteropServices;

[assembly: AssemblyTitle("Zelq")]
[assembly: AssemblyVersion("%s.0")]

namespace Zelq
{
"""


def name_of(entry):
    return ("@" if entry["name"] in KEYWORDS else "") + entry["name"]


def kind_of(entry):
    return TYPES.get(entry["type"], entry["type"])


def text(told):
    return escape(told.replace("#ZELQ", "ZELQ"))


def parameter(entry):
    kind, name = kind_of(entry), name_of(entry)
    if not entry["pointer"]:
        return f"{kind} {name}"
    array = entry["elements"] is not None or entry["type"] == "void"
    if array:
        return f"[{'In' if entry['direction'] == 'in' else 'In, Out'}] {kind}[] {name}"
    # What a record has before the call stays in what the call does not write.
    return f"{'out' if entry['type'] in TYPES else 'ref'} {kind} {name}"


def function(entry):
    told = " ".join([entry["brief"], entry["text"], *entry["warnings"], *entry["notes"]])
    yield f"        /// <summary>{text(told.replace('  ', ' '))}</summary>\n"
    for each in entry["parameters"]:
        yield f"        /// <param name=\"{each['name']}\">{text(each['text'])}</param>\n"
    if entry["returns"]:
        yield f"        /// <returns>{text(entry['returns'])}</returns>\n"
    yield ("        [DllImport(Library, CallingConvention = CallingConvention.Cdecl, "
           "ExactSpelling = true)]\n")
    result = "void" if entry["result"]["type"] == "void" else TYPES[entry["result"]["type"]]
    yield (f"        public static extern {result} {entry['name']}("
           f"{', '.join(map(parameter, entry['parameters']))});\n\n")


def record(entry):
    yield f"    /// <summary>{text(entry['text'])}</summary>\n"
    yield f"    [StructLayout(LayoutKind.Sequential, Pack = {entry['pack']})]\n"
    yield f"    public struct {entry['name']}\n    {{\n"
    for field in entry["fields"]:
        yield f"        /// <summary>{text(field['text'])}</summary>\n"
        array = ""
        if field["elements"]:
            array = "[]"
            yield (f"        [MarshalAs(UnmanagedType.ByValArray, "
                   f"SizeConst = {field['elements']})]\n")
        yield f"        public {kind_of(field)}{array} {name_of(field)};\n"
    yield "    }\n\n"


def code(entry):
    yield f"        /// <summary>{text(entry['text'])}</summary>\n"
    if entry.get("argument"):
        yield (f"        public static int {entry['name']}(int k) {{ return {entry['value']} - k; }}"
               "\n\n")
    else:
        yield f"        public const int {entry['name']} = {entry['value']};\n\n"


def source(interface, version):
    yield HEAD % version
    for entry in interface["records"]:
        yield from record(entry)
    yield ("    /// <summary>The functions and codes of zelq.h one to one.</summary>\n"
           "    public static class Raw\n    {\n"
           "        // zelq.dll, libzelq.so: the runtime puts on what the system has in front and behind.\n"
           "        private const string Library = \"zelq\";\n\n")
    for entry in interface["codes"]:
        yield from code(entry)
    for entry in interface["functions"]:
        yield from function(entry)
    yield "        internal static readonly Result[] Results =\n        {\n"
    for row in interface["errors"]:
        of = "null" if row["function"] is None else json.dumps(row["function"])
        texts = ", ".join(json.dumps(row[key]) for key in ("name", "text", "causes", "remedy"))
        yield f"            new Result({of}, {row['first']}, {row['last']}, {texts}),\n"
    yield "        };\n    }\n}\n"


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        interface = json.load(file)
    with open(sys.argv[2], "w", encoding="utf-8") as file:
        file.write("".join(source(interface, sys.argv[3])))


if __name__ == "__main__":
    main()
