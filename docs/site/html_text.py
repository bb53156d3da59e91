"""Text of the header as HTML, with its names as links."""

import html
import re


class Links:
    """Where functions, records and results stand."""

    def __init__(self, reference):
        self.places = {entry.name: f"{entry.page.name}.html#{entry.name}"
                       for entry in reference.entries.values()}
        for page in reference.pages:
            for record in page.records:
                self.places[record["name"]] = f"{page.name}.html#{record['name']}"
        for row in reference.interface["errors"]:
            if row["name"] not in ("CONTROLLER_RESULT", "UNKNOWN_RESULT"):  # stand for all others
                self.places[row["name"]] = f"errors.html#{row['name'].lower()}"

    def _linked(self, match):
        name = match[1]
        place = self.places.get(name)
        return f'<a href="{place}"><code>{match[0]}</code></a>' if place else match[0]

    def text(self, plain):
        """Names of functions, records and results become links; `code` becomes code."""
        escaped = html.escape(plain.replace("#ZELQ", "ZELQ"), quote=False)
        names = r"\b((?:zelQ|ZELQ)_\w+|[A-Z]\w+(?:Status|Profile|Property))\b(?:\(\))?"
        return re.sub(names, self._linked, re.sub(r"`([^`]*)`", r"\1", escaped))

    def code(self, page):
        """Names that stand as code of their own in a finished page become links."""
        def linked(match):
            place = self.places.get(match[1])
            return f'<a href="{place}">{match[0]}</a>' if place else match[0]
        return re.sub(r"(?<!\">)<code>(\w+)(?:\(\))?</code>", linked, page)


_C = re.compile(r"(?P<comment>/\*.*?\*/|//[^\n]*)|(?P<string>\"(?:[^\"\\\n]|\\.)*\")"
                r"|(?P<word>\b(?:if|else|while|for|return|const|static|struct|int|short|unsigned|"
                r"double|char|void|using|namespace|try|catch|auto|include)\b)|(?P<number>\b\d[\w.]*)",
                re.S)
_PYTHON = re.compile(r"(?P<comment>#[^\n]*)|(?P<string>\"(?:[^\"\\\n]|\\.)*\")"
                     r"|(?P<word>\b(?:import|from|with|as|for|in|if|else|while|def|return|try|"
                     r"except|print|and|or|not)\b)|(?P<number>\b\d[\w.]*)")
_CONSOLE = re.compile(r"(?m)(?P<word>^\$)(?P<told> .*(?:\n> .*)*)")
_RULES = {"c": _C, "cpp": _C, "csharp": _C, "python": _PYTHON, "console": _CONSOLE}


def coloured(code, language):
    """Code as HTML, with the few colours that help in reading it."""
    rule = _RULES.get(language)
    if not rule:
        return html.escape(code)
    out, at = [], 0
    for match in rule.finditer(code):
        out.append(html.escape(code[at:match.start()]))
        for kind, text in match.groupdict().items():
            if text is not None:
                out.append(f'<span class="{kind}">{html.escape(text)}</span>')
        at = match.end()
    return "".join(out) + html.escape(code[at:])


def block(code, language, name=""):
    head = f'<div class="file">{html.escape(name)}</div>' if name else ""
    return (f'<div class="code">{head}<pre tabindex="0"><code class="{language}">'
            f"{coloured(code, language)}</code></pre></div>")
