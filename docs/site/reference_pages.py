"""The pages of the reference: each a family of functions with its records."""

import html
import re

from html_text import block

EXAMPLE = "example</div>"
FRAMED = '<a href="ref.html#examples">example</a></div>'


def declaration(function):
    """As in the header, a parameter a line where one line is too long."""
    words = []
    for parameter in function["parameters"]:
        const = "const " if parameter["const"] else ""
        star = "*" if parameter["pointer"] else ""
        words.append(f"{const}{parameter['type']}{star} {parameter['name']}")
    head = f"{function['result']['type']} {function['name']}("
    line = head + ", ".join(words or ["void"]) + ");"
    return line if len(line) <= 76 else head + "\n    " + ",\n    ".join(words) + ");"


def direction(parameter):
    told = {"in": "", "out": "out", "inout": "in, out"}[parameter["direction"]]
    size = f"[{parameter['elements']}]" if parameter["elements"] else ""
    return " ".join(filter(None, (told, size)))


def parameters(entry, links):
    if not entry["parameters"]:
        return ""
    rows = "".join(
        f"<tr><td><code>{each['name']}</code> <small>{direction(each)}</small></td>"
        f"<td>{html.escape(each['unit'] or '')}</td><td>{links.text(each['text'])}</td></tr>"
        for each in entry["parameters"])
    return ('<div class="wide"><table class="parameters"><thead><tr><th>parameter</th><th>unit</th>'
            f"<th>meaning and range</th></tr></thead><tbody>{rows}</tbody></table></div>")


def code_table(reference, entry, codes):
    """A row a result; those of one name, such as wrong arguments, share theirs."""
    rows = {}
    for code in codes:
        row = reference.error(code, entry.name)
        rows.setdefault(row["name"], (row, []))[1].append(str(code))
    told = "".join(
        f'<tr><td>{", ".join(numbers)}</td><td><a href="errors.html#{name.lower()}">{name}</a></td>'
        f"<td>{html.escape(row['text'])} {html.escape(row['remedy'])}</td></tr>"
        for name, (row, numbers) in rows.items())
    return ('<div class="wide"><table><thead><tr><th>code</th><th>name</th>'
            f"<th>meaning, and what to do</th></tr></thead><tbody>{told}</tbody></table></div>")


def results(reference, entry, links):
    """What it returns, and of each code what it means."""
    if not entry["returns"]:
        return "<dt>Returns</dt><dd>nothing</dd>"
    exchange = [code for code in reference.interface["exchangeCodes"] if code in entry["codes"]]
    own = sorted(set(entry["codes"]) - set(exchange), reverse=True)
    told = f"<dt>Returns</dt><dd>{links.text(entry['returns'])}"
    if own:
        told += ("<details><summary>its codes explained</summary>"
                 f"{code_table(reference, entry, own)}</details>")
    if entry["controllerResults"]:
        told += ('<p>Exchange codes: <a href="ref.html#exchange-codes">explained for all functions'
                 "</a>. Results above 0 are the controller's: "
                 '<a href="errors.html#sim_unknown_command">those of the simulated one</a>.</p>')
    return told + "</dd>"


def with_results(reference, text):
    """Results of the simulated controller that stand in parentheses lead to what they mean."""
    def linked(match):
        return re.sub(r"\d+", number, match[0])

    def number(match):
        name = reference.error(int(match[0]))["name"]
        return f'<a href="errors.html#{name.lower()}" title="{name}">{match[0]}</a>'

    return re.sub(r"\(simulated controller: [\d, or]+|(?<=\()\d+(?=\))", linked, text)


def facts(reference, entry, links):
    rows = [results(reference, entry, links)]
    for title, text in (("Needs", entry.needs), ("Effect", entry.effect),
                        ("Executed twice", entry.again), ("Threads", entry.threads),
                        ("Note", entry.other_notes)):
        if text:
            danger = ' class="danger"' if title == "Executed twice" and entry["warnings"] else ""
            told = links.text(text)
            if title == "Needs":
                told = with_results(reference, told)
            rows.append(f"<dt>{title}</dt><dd{danger}>{told}</dd>")
    see = ", ".join(links.text(name) for name in entry.see)
    rows.append(f"<dt>See also</dt><dd>{see}</dd>")
    return f"<dl>{''.join(rows)}</dl>"


def function(reference, entry, links):
    more = f"<p>{links.text(entry['text'])}</p>" if entry["text"] else ""
    return (f'<section class="function" id="{entry.name}"><h3>{entry.name}'
            f'<a class="anchor" href="#{entry.name}" aria-label="link">#</a></h3>'
            f'<p class="brief">{links.text(entry["brief"])}</p>{more}'
            f"{block(declaration(entry), 'c')}{parameters(entry, links)}"
            f"{facts(reference, entry, links)}"
            f"{block(entry.example, 'c', 'example').replace(EXAMPLE, FRAMED)}</section>")


def record(each, links):
    rows = "".join(
        f"<tr><td>{field['offset']}</td><td><code>{field['name']}"
        f"{'[%d]' % field['elements'] if field['elements'] else ''}</code></td>"
        f"<td>{links.text(field['type'])}</td><td>{html.escape(field['unit'] or '')}</td>"
        f"<td>{links.text(field['text'])}</td></tr>" for field in each["fields"])
    return (f'<section class="function" id="{each["name"]}"><h3>{each["name"]}'
            f'<a class="anchor" href="#{each["name"]}" aria-label="link">#</a></h3>'
            f"<p>{links.text(each['text'])} Packing {each['pack']}.</p>"
            '<div class="wide"><table class="record"><thead><tr><th>offset</th><th>field</th>'
            "<th>type</th><th>unit</th><th>meaning</th></tr></thead>"
            f"<tbody>{rows}</tbody></table></div></section>")


def sentence(text):
    """The first one."""
    return re.match(r".*?[.:](?= |$)", text, re.S)[0].rstrip(":")


def overview(page, links):
    rows = "".join(
        f"<tr><td>{links.text(entry.name)}</td><td>{links.text(sentence(entry['brief']))}</td></tr>"
        for entry in page.entries)
    rows += "".join(
        f"<tr><td>{links.text(each['name'])}</td><td>{links.text(each['text'])}</td></tr>"
        for each in page.records)
    return f'<div class="wide"><table class="overview"><tbody>{rows}</tbody></table></div>'


def family(reference, page, links, markdown):
    """The body of a page."""
    parts = [f"<h1>{html.escape(page.title)}</h1>",
             markdown(page.text, f"docs/reference/{page.file}"), overview(page, links)]
    preambles = {group["title"]: group["text"] for group in reference.interface["groups"]}
    for group in page.groups:
        entries = [entry for entry in page.entries if entry["group"] == group]
        records = [each for each in page.records if each["group"] == group]
        parts.append(f"<h2>{html.escape(group)}</h2>")
        if preambles[group]:
            parts.append(f'<p class="preamble">{links.text(preambles[group])}</p>')
        parts += [record(each, links) for each in records]
        parts += [function(reference, entry, links) for entry in entries]
    return "\n".join(parts)


def front(reference, links, markdown, frame):
    """The reference's own front page: what holds for all functions, the families, the codes."""
    parts = ["<h1>Reference</h1>"]
    rows = "".join(
        f'<tr><td><a href="{page.name}.html">{html.escape(page.title)}</a></td><td>'
        + ", ".join(links.text(entry.name) for entry in page.entries) + "</td></tr>"
        for page in reference.pages)
    parts.append(f'<p>{len(reference.entries)} functions in the order of work.</p>'
                 f'<div class="wide"><table class="overview"><tbody>{rows}</tbody></table></div>')
    for section in reference.interface["sections"]:
        parts.append(f"<h2>{html.escape(section['title'])}</h2>"
                     f"<p>{links.text(section['text'])}</p>")
    exchange = reference.interface["exchangeCodes"]
    any_call = reference.entries["zelQ_StopDec"]
    parts.append('<h2 id="exchange-codes">Exchange codes</h2>'
                 + code_table(reference, any_call, exchange))
    parts.append('<h2 id="examples">The examples</h2>' + markdown(frame, "docs/reference/frame.md"))
    return "\n".join(parts)
