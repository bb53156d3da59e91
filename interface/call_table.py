#!/usr/bin/env python3
"""Makes the command line's table of all functions from the interface's description.

    call_table.py DESCRIPTION.json TABLE.cpp

For each function the table has its texts, its parameters, and a call that takes its arguments from
a CallFrame and gives its result and outputs back to it; for each record a conversion to JSON and,
where it is an input, from it.
"""

import json
import sys

HEAD = """// Made by interface/call_table.py from the description of the interface.

#include "call/call_frame.h"

#include <cstddef>

namespace zelq::tool {

"""


def literal(text):
    """A text of C, without the marks by which the manual links names."""
    return "nullptr" if text is None else json.dumps(text.replace("#ZELQ", "ZELQ"))


def is_reserved(field):
    return field["name"].startswith("reserved")


def layout_checks(record):
    name = record["name"]
    yield f"static_assert(sizeof({name}) == {record['size']});\n"
    for field in record["fields"]:
        yield f"static_assert(offsetof({name}, {field['name']}) == {field['offset']});\n"


def to_json(record):
    yield f"template <> Json ToJson(const {record['name']}& record)\n{{\n    Json json;\n"
    for field in record["fields"]:
        if is_reserved(field):
            continue
        name = field["name"]
        told = "EachToJson" if field["elements"] else "ValueToJson"
        yield f"    json[{literal(name)}] = {told}(record.{name});\n"
    yield "    return json;\n}\n\n"


def from_json(record):
    yield f"template <> {record['name']} FromJson(const Json& json, const std::string& where)\n{{\n"
    names = [field["name"] for field in record["fields"] if not is_reserved(field)]
    yield f"    ExpectFields(json, {{{', '.join(map(literal, names))}}}, where);\n"
    yield f"    {record['name']} record{{}};\n"
    for field in record["fields"]:
        if not is_reserved(field):
            name = field["name"]
            yield (f"    record.{name} = FromJson<{field['type']}>"
                   f"(json[{literal(name)}], where + \".{name}\");\n")
    yield "    return record;\n}\n\n"


def parameter_row(parameter):
    elements = parameter["elements"]
    fixed = elements if isinstance(elements, int) else 0
    length = elements if isinstance(elements, str) else None
    direction = {"in": "kIn", "out": "kOut", "inout": "kInOut"}[parameter["direction"]]
    return (f"    {{{literal(parameter['name'])}, {literal(parameter['type'])}, "
            f"Direction::{direction}, {str(parameter['pointer']).lower()}, {fixed}, "
            f"{literal(length)}, {literal(parameter['unit'])}, {literal(parameter['text'])}}},\n")


def argument(index, parameter):
    kind = "unsigned char" if parameter["type"] == "void" else parameter["type"]
    given = "Out" if parameter["direction"] == "out" else "In"
    return f"frame.{given if parameter['pointer'] else 'Value'}<{kind}>({index})"


def call(function):
    arguments = ", ".join(argument(*each) for each in enumerate(function["parameters"]))
    made = f"{function['name']}({arguments})"
    body = f"{made};" if function["result"]["kind"] == "none" else f"frame.Give({made});"
    return f"[](CallFrame& frame) {{ {body} }}"


def table(functions):
    for function in functions:
        if function["parameters"]:
            yield f"static constexpr Parameter kOf_{function['name']}[] = {{\n"
            yield from map(parameter_row, function["parameters"])
            yield "};\n\n"
    yield "static constexpr Function kTable[] = {\n"
    for function in functions:
        parameters = f"kOf_{function['name']}" if function["parameters"] else "{}"
        kind = {"code": "kCode", "count": "kCount", "value": "kValue",
                "none": "kNone"}[function["result"]["kind"]]
        more = " ".join([function["text"], *function["warnings"], *function["notes"]]).strip()
        texts = ", ".join(map(literal, (function["group"], function["brief"], more,
                                        function["returns"])))
        yield (f"    {{{literal(function['name'])}, {literal(function['result']['type'])}, {texts},\n"
               f"     ResultKind::{kind}, {str(function['session']).lower()}, {parameters},\n"
               f"     {call(function)}}},\n")
    yield "};\n\n"
    yield "const std::span<const Function> kFunctions = kTable;\n\n"


def main():
    description, target = sys.argv[1:3]
    with open(description, encoding="utf-8") as file:
        interface = json.load(file)
    inputs = {parameter["type"] for function in interface["functions"]
              for parameter in function["parameters"] if parameter["direction"] != "out"}
    pieces = [HEAD]
    for record in interface["records"]:
        pieces += layout_checks(record)
        pieces += ["\n"]
    for record in interface["records"]:
        pieces += to_json(record)
        if record["name"] in inputs:
            pieces += from_json(record)
    pieces += table(interface["functions"])
    pieces += ["} // namespace zelq::tool\n"]
    with open(target, "w", encoding="utf-8") as file:
        file.write("".join(pieces))


if __name__ == "__main__":
    main()
