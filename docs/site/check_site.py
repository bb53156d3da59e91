"""What is wrong with a finished site: links that lead nowhere, pages that nothing refers to."""

import html.parser
import posixpath
import re


class Page(html.parser.HTMLParser):
    """Where a page leads to, and the places in it that others can lead to."""

    def __init__(self, text):
        super().__init__()
        self.targets = []
        self.own = []  # those outside of the navigation
        self.places = []
        self._navigation = 0
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        if tag == "nav":
            self._navigation += 1
        for name, value in attrs:
            if name == "id":
                self.places.append(value)
            if name in ("href", "src"):
                self.targets.append(value)
                if not self._navigation:
                    self.own.append(value)

    def handle_endtag(self, tag):
        if tag == "nav":
            self._navigation -= 1


def problems(folder):
    pages = {path.name: Page(path.read_text(encoding="utf-8")) for path in folder.glob("*.html")}
    found, referred = [], {"index.html"}
    for name, page in sorted(pages.items()):
        twice = sorted({place for place in page.places if page.places.count(place) > 1})
        found += [f"{name}: the place {place} is there twice" for place in twice]
        for target in dict.fromkeys(page.targets):
            if re.match(r"[a-z]+:", target):
                continue
            file, _, anchor = target.partition("#")
            file = posixpath.normpath(file) if file else name
            if not (folder / file).exists():
                found.append(f"{name}: nothing at {target}")
            elif anchor and file in pages and anchor not in pages[file].places:
                found.append(f"{name}: no place {target}")
        referred |= {target.partition("#")[0] for target in page.own} - {name}
    found += [f"{name}: nothing refers to it" for name in sorted(set(pages) - referred)]
    return found
