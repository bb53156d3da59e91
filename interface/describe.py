#!/usr/bin/env python3
"""Derives the machine-readable description of the library's interface from its header.

    describe.py HEADER ERRORS-HEADER DESCRIPTION.json

The header's declarations and comments are the one place where the interface is written down, and
the table in zelq_errors.h that where its results are explained; what is generated (the command
line's calls, the bindings) is made from this description. Whatever cannot be made out in the
headers is an error here, so that nothing that is generated is guessed.

The description has

    codes         name, value and text of every result code of the library; "argument" is the one
                  that stands for a range: value - k for argument k
    exchangeCodes values of those that any call can give that talks to a controller
    sections      title and text of what the header says ahead of all functions
    groups        title and text (what the header says at its beginning) of every group of functions
    records       name, group, size, packing, text, fields (name, type, offset, elements, unit, text)
    functions     name, group, brief, text, warnings, notes, result, returns, parameters, codes,
                  controllerResults (it passes the controller's own results on), session (it needs
                  zelQ_Connect() before)
    errors        what results mean: function (null: of any), first and last of a range, name, text,
                  causes, remedy; the first that fits holds, one of the function before all others
    parameters    name, type, pointer, const, direction, elements, nullable, unit, text

"elements" of a parameter is null for one value, a number, or the name of the parameter that tells
how many. A type is one of the C types of TYPES, "void" (bytes), or a record's name.
"""

import json
import re
import sys

TYPES = {"char": 1, "unsigned char": 1, "short": 2, "unsigned short": 2, "int": 4,
         "unsigned int": 4, "double": 8}

# As the comments call them.
UNITS = ("user units per second squared", "user units per second", "user units per pulse",
         "user units", "milliseconds", "pulses per second", "pulses", "0.1 percent", "percent",
         "degrees", "1/s", "bits per second")

COMMENT = r"/\*\*(?P<doc>(?:(?!\*/).)*)\*/\s*"
CONSTANT = re.compile(COMMENT + r"#define (?P<name>ZELQ_\w+?)(?P<macro>\(k\))? "
                                r"\(?(?P<value>-?\d+)(?: - \(k\))?\)?\n", re.S)
RECORD = re.compile(COMMENT + r"typedef struct (?P<name>\w+)\s*\{(?P<body>.*?)\}\s*\w+;", re.S)
FIELD = re.compile(r"(?P<type>[\w ]+?)\s+(?P<name>\w+)(?:\[(?P<elements>\d+)\])?;\s*"
                   r"/\*\*<(?P<doc>.*?)\*/", re.S)
FUNCTION = re.compile(COMMENT + r"ZELQ_API (?P<type>\w+) ZELQ_CALL (?P<name>zelQ_\w+)"
                                r"\((?P<parameters>[^)]*)\);", re.S)
GROUP = re.compile(r"/\* -{90} \*/\n/\* (?P<title>.*?) +\*/\n/\* -{90} \*/\n"
                   r"(?:\s*/\* (?P<text>(?:(?!\*/).)*)\*/)?", re.S)
SECTION = re.compile(r"(?m)^@section \w+ (?P<title>.*)\n(?P<text>(?:(?!@section).*\n?)*)")
TEXT = r'((?:"(?:[^"\\]|\\.)*"\s*)+)'
ERROR = re.compile(r'\{\s*(NULL|"\w+"),\s*([^,"{}]+),\s*([^,"{}]+),\s*' +
                   r",\s*".join([TEXT] * 4) + r"\}")
PARAMETER = re.compile(r"(?P<const>const )?(?P<type>[\w ]+?)(?P<pointer>\*)? ?(?P<name>\w+)")


class HeaderError(Exception):
    """Something in the header that cannot be made out."""


def require(condition, where, problem):
    if not condition:
        raise HeaderError(f"{where}: {problem}")


def one_line(text):
    return " ".join(text.split())


def lines_of(comment):
    """A comment's text without the stars in front of its lines."""
    return re.sub(r"(?m)^\s*\* ?", "", comment).strip()


def unit_of(text):
    """The unit that a description names first; what stands in parentheses is an example."""
    plain = re.sub(r"\([^)]*\)", "", text)
    found = [(plain.index(unit), -len(unit), unit) for unit in UNITS if unit in plain]
    return min(found)[2] if found else None


def parse_codes(text):
    codes = []
    for match in CONSTANT.finditer(text):
        code = {"name": match["name"], "value": int(match["value"]),
                "text": one_line(lines_of(match["doc"]))}
        if match["macro"]:
            code["argument"] = True
        codes.append(code)
    defined = set(re.findall(r"#define (ZELQ_\w+?)(?:\(k\))? [^_\n]*\d", text))
    missing = defined - {code["name"] for code in codes}
    require(codes and not missing, "constants", f"not understood: {sorted(missing)}")
    return codes


def packing_at(text, position):
    """What #pragma pack holds at this place of the header."""
    packs = re.findall(r"#pragma pack\((push, \d+|pop)\)", text[:position])
    return int(packs[-1].split()[1]) if packs and packs[-1] != "pop" else 8


def parse_fields(record, body, pack, records):
    fields, offset, widest = [], 0, 1
    for match in FIELD.finditer(body):
        where = f"{record}.{match['name']}"
        kind = one_line(match["type"])
        if kind in records:
            size, align = records[kind]["size"], records[kind]["align"]
        else:
            require(kind in TYPES, where, f"type {kind}")
            size = TYPES[kind]
            align = min(size, pack)
        offset = (offset + align - 1) // align * align
        widest = max(widest, align)
        text = one_line(match["doc"])
        told = re.match(r"offset (\d+): (.*)", text)
        require(told and int(told[1]) == offset, where, f"lies at {offset}, not as its comment has it")
        elements = int(match["elements"]) if match["elements"] else None
        fields.append({"name": match["name"], "type": kind, "offset": offset, "elements": elements,
                       "unit": unit_of(told[2]), "text": told[2]})
        offset += size * (elements or 1)
    declared = re.sub(r"/\*.*?\*/", "", body, flags=re.S).count(";")
    require(len(fields) == declared, record, "a field without an understood comment")
    return fields, (offset + widest - 1) // widest * widest, widest


def parse_records(text):
    records = {}
    for match in RECORD.finditer(text):
        name, about = match["name"], one_line(lines_of(match["doc"]))
        pack = packing_at(text, match.start())
        fields, size, align = parse_fields(name, match["body"], pack, records)
        require(f" {size} bytes" in about, name, f"has {size} bytes, not as its comment has it")
        records[name] = {"name": name, "size": size, "align": align, "pack": pack, "text": about,
                         "fields": fields}
    return records


def parse_sections(text):
    """What the header's first comment tells, by its titles."""
    return [{"title": match["title"], "text": one_line(match["text"])}
            for match in SECTION.finditer(lines_of(re.match(r"/\*\*(.*?)\*/", text, re.S)[1]))]


def split_comment(doc):
    """The text in front of the tags, and the tags: [(tag, rest), ...]."""
    parts = re.split(r"(?m)^@(\w+)\s+", lines_of(doc))
    return parts[0].strip(), list(zip(parts[1::2], parts[2::2]))


def parse_parameter(function, declared, described, records):
    match = PARAMETER.fullmatch(declared)
    require(match, function, f"parameter '{declared}'")
    where = f"{function}({match['name']})"
    kind = match["type"].strip()
    require(kind in TYPES or kind in records or (kind == "void" and match["pointer"]), where, kind)
    text = described.get(match["name"])
    require(text, where, "not described")
    bracket = re.match(r"\[(?:(in, out|out)(?:, |\]))?(?:(\w+)\])? ?", text)
    direction = (bracket and bracket[1] or "in").replace(", ", "")
    elements = bracket and bracket[2]
    text = text[bracket.end():] if bracket else text
    if match["pointer"]:
        require((direction == "in") == bool(match["const"]), where, f"direction {direction}")
        single = kind in records or kind in TYPES and direction != "in"
        require(elements or single, where, "how many elements?")
    else:
        require(not bracket, where, "a value has neither direction nor elements")
    return {"name": match["name"], "type": kind, "pointer": bool(match["pointer"]),
            "const": bool(match["const"]), "direction": direction,
            "elements": int(elements) if elements and elements.isdigit() else elements,
            "nullable": "may be null" in text, "unit": unit_of(text), "text": text}


def argument_numbers(returns):
    """The k of every ZELQ_BAD_ARGUMENT(k) of a @return text: "(2), (3)", "(4)..(6)", "(3) to (9)"."""
    start = returns.find("ZELQ_BAD_ARGUMENT")
    if start < 0:
        return []
    numbers = set()
    for match in re.finditer(r"\((\d+)\)(?:(?:\.\.| to )\((\d+)\))?", returns[start:]):
        numbers.update(range(int(match[1]), int(match[2] or match[1]) + 1))
    return sorted(numbers)


def codes_of(returns, codes, exchange, where):
    values = set()
    for name in re.findall(r"#(ZELQ_\w+)", returns):
        require(name in codes, where, f"{name} is no code")
        values.add(codes[name])
    values.update(codes["ZELQ_BAD_ARGUMENT"] - k for k in argument_numbers(returns))
    if "exchange codes" in returns:
        values.update(exchange)
    # Spelled as a number, where a code has another meaning than its name.
    values.update(int(number) for number in re.findall(r"(-\d{4})\b", returns))
    return sorted(values - {0}, reverse=True)


def result_kind(kind, returns):
    if kind == "void":
        return "none"
    if kind == "double" or "ZELQ_" not in returns:
        return "value"
    return "count" if returns.startswith("number of") else "code"


def parse_function(match, codes, exchange, records):
    name = match["name"]
    about, tags = split_comment(match["doc"])
    described = {}
    for tag, rest in tags:
        if tag == "param":
            parameter, text = one_line(rest).split(" ", 1)
            described[parameter] = text
    returns = one_line(" ".join(rest for tag, rest in tags if tag == "return"))
    require((match["type"] == "void") == (not returns), name, "what does it return?")
    declared = one_line(match["parameters"])
    parameters = [parse_parameter(name, text, described, records)
                  for text in declared.split(", ") if text != "void"]
    names = [parameter["name"] for parameter in parameters]
    require(set(described) == set(names), name, "describes parameters that it does not have")
    for parameter in parameters:
        length = parameter["elements"]
        require(not isinstance(length, str) or length in names, name, f"no parameter {length}")
    brief, _, text = about.partition("\n\n") if "\n\n" in about else (about, "", "")
    needs = re.search(r"#ZELQ_NO_SESSION|no session", returns) and "Needs no session" not in about
    return {"name": name, "brief": one_line(brief), "text": one_line(text),
            "warnings": [one_line(rest) for tag, rest in tags if tag == "warning"],
            "notes": [one_line(rest) for tag, rest in tags if tag == "note"],
            "result": {"type": match["type"], "kind": result_kind(match["type"], returns)},
            "returns": returns, "parameters": parameters,
            "codes": codes_of(returns, codes, exchange, name),
            "controllerResults": "exchange codes" in returns, "session": bool(needs)}


def take_over(functions):
    """A unit of "as in zelQ_X()" is that of the parameter of this name there."""
    by_name = {function["name"]: function for function in functions}
    for function in functions:
        for parameter in function["parameters"]:
            like = re.search(r"\bas (?:\w+ )?in (zelQ_\w+)\(\)", parameter["text"])
            if parameter["unit"] or not like:
                continue
            require(like[1] in by_name, function["name"], f"no function {like[1]}")
            for other in by_name[like[1]]["parameters"]:
                if other["name"] == parameter["name"]:
                    parameter["unit"] = other["unit"]


def parse_errors(text, codes):
    """The rows of the table of results, and behind them those that stand for all others."""
    values = {code["name"]: code["value"] for code in codes}

    def number(token):
        name, _, argument = token.strip().rstrip(")").partition("(")
        require(re.fullmatch(r"-?\d+", name) or name in values, "results", f"what is {token}?")
        return int(values.get(name, name)) - int(argument or 0)

    def string(literals):
        return "".join(json.loads(each) for each in re.findall(r'"(?:[^"\\]|\\.)*"', literals))

    errors = [{"function": None if function == "NULL" else string(function),
               "first": number(first), "last": number(last), "name": string(name),
               "text": string(told), "causes": string(causes), "remedy": string(remedy)}
              for function, first, last, name, told, causes, remedy in ERROR.findall(text)]
    begun = len(re.findall(r'\{\s*(?:NULL|"zelQ_\w+"),', text))
    require(errors and len(errors) == begun, "results", f"{len(errors)} of {begun} understood")
    return errors


def describe(text, errors=""):
    constants = parse_codes(text)
    codes = {code["name"]: code["value"] for code in constants}
    told = re.search(r'"exchange codes" below:(.*?)and the controller\'s own', text, re.S)
    require(told, "exchange codes", "not told")
    exchange = [codes[name] for name in re.findall(r"#(ZELQ_\w+)", told[1])]
    records = parse_records(text)
    groups = [(match.start(), match["title"]) for match in GROUP.finditer(text)]

    def group_at(position):
        return [title for at, title in groups if at < position][-1]

    functions = []
    for match in FUNCTION.finditer(text):
        function = parse_function(match, codes, exchange, records)
        function["group"] = group_at(match.start())
        functions.append(function)
    take_over(functions)
    for match in RECORD.finditer(text):
        records[match["name"]]["group"] = group_at(match.start())
    without_comments = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
    declared = set(re.findall(r"\b(zelQ_\w+)\s*\(", without_comments))
    missing = declared - {function["name"] for function in functions}
    require(not missing, "functions", f"not understood: {sorted(missing)}")
    structs = set(re.findall(r"typedef struct (\w+)", without_comments))
    require(structs == set(records), "records", f"not understood: {structs - set(records)}")
    return {"header": "zelq.h", "codes": constants, "exchangeCodes": exchange,
            "sections": parse_sections(text),
            "groups": [{"title": match["title"], "text": one_line(lines_of(match["text"] or ""))}
                       for match in GROUP.finditer(text)],
            "records": list(records.values()), "functions": functions,
            "errors": parse_errors(errors, constants) if errors else []}


def main():
    header, errors, target = sys.argv[1:4]
    with open(header, encoding="utf-8") as file, open(errors, encoding="utf-8") as table:
        text, results = file.read(), table.read()
    try:
        description = describe(text, results)
    except HeaderError as error:
        print(f"{header}: {error}", file=sys.stderr)
        return 1
    with open(target, "w", encoding="utf-8") as file:
        json.dump(description, file, indent=1)
        file.write("\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
