"""Pages of Markdown as HTML."""

import html
import posixpath
import re

import markdown

from html_text import block

FENCE = re.compile(r"(?ms)^```(?P<language>[\w-]*)(?: +(?P<name>\S+))?[^\n]*\n(?P<code>.*?)^``` *$")
CHECK_BOX = '- <input type="checkbox" aria-label="done"> '


def slug(text, _separator="-"):
    """As the usual sites for repositories make it, so that links hold there too. A heading that
    names a result is found by that name."""
    result = re.match(r"-?\d+(?: to -?\d+)? (\w+)$", text)
    if result:
        return result[1].lower()
    return re.sub(r"[^\w\- ]", "", text.lower()).replace(" ", "-")


class Converter:
    """Markdown to HTML; links between files of the repository become links between pages."""

    def __init__(self, places):
        self._places = places  # the page of each file: {"docs/simulator.md": "simulator.html"}
        self.images = set()

    def __call__(self, text, source="docs/x.md"):
        blocks = []

        def keep(match):
            blocks.append(block(match["code"].rstrip("\n"), match["language"], match["name"] or ""))
            return f"\n\n<div>BLOCK{len(blocks) - 1}</div>\n\n"

        text = FENCE.sub(keep, text).replace("- [ ] ", CHECK_BOX)
        converter = markdown.Markdown(
            extensions=["tables", "toc", "sane_lists", "md_in_html"],
            extension_configs={"toc": {"slugify": slug, "permalink": "#",
                                       "permalink_class": "anchor", "permalink_title": "link"}})
        page = converter.convert(text)
        page = re.sub(r"<div>BLOCK(\d+)</div>", lambda match: blocks[int(match[1])], page)
        page = page.replace("<table>", '<div class="wide"><table>')
        page = page.replace("</table>", "</table></div>")
        return re.sub(r'(href|src)="([^"]+)"', lambda match: self._moved(match, source), page)

    def _moved(self, match, source):
        kind, target = match[1], html.unescape(match[2])
        if re.match(r"[a-z]+:|#", target) or target.split("#")[0].endswith(".html"):
            return match[0]
        file, _, anchor = target.partition("#")
        path = posixpath.normpath(posixpath.join(posixpath.dirname(source), file))
        if kind == "src" or path.endswith(".svg"):
            self.images.add(path)
            place = "images/" + posixpath.basename(path)
        else:
            place = self._places.get(path, path)
        return f'{kind}="{place}{"#" + anchor if anchor else ""}"'


def title_of(text):
    return re.search(r"(?m)^# (.*)$", text)[1].replace("`", "")
