#!/usr/bin/env python3
"""Makes the manual as pages that work from the file system.

    make_site.py DESCRIPTION.json FOLDER

The pages are the guides and documents that contents.toml lists, and the reference from the
interface's description and docs/reference. A link that leads nowhere, a page that nothing refers to
and a function without an entry are errors.
"""

import html
import json
import pathlib
import re
import shutil
import sys
import tomllib

import check_site
import reference_pages
from html_text import Links
from markdown_pages import Converter, title_of
from reference_data import Reference, ReferenceError

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent


def plain(markup):
    """The text of HTML."""
    return " ".join(html.unescape(re.sub(r"<[^>]+>", " ", markup)).split())


class Site:
    """All pages on their way into a folder."""

    def __init__(self, description, target):
        self.target = target
        self.reference = Reference(description, ROOT / "docs/reference")
        self.links = Links(self.reference)
        self.contents = tomllib.loads((HERE / "contents.toml").read_text(encoding="utf-8"))
        self.places = {}  # of a file: its page
        self.parts = [(part["title"], self._part(part)) for part in self.contents["part"]]
        self.places[self.contents["front"]] = "index.html"
        for page in self.reference.pages:
            self.places[f"docs/reference/{page.file}"] = f"{page.name}.html"
        self.places["docs/reference/frame.md"] = "ref.html"
        self.markdown = Converter(self.places)
        self.index = []  # of the search: [title, place, kind, text that is shown, more words]

    def _part(self, part):
        """Titles and pages of a part, for the navigation."""
        pages = []
        if part.get("reference"):
            pages.append(("All functions", "ref.html"))
            pages += [(page.title, f"{page.name}.html") for page in self.reference.pages]
        for file in part["pages"]:
            path = ROOT / file
            if path.exists():
                name = file.removeprefix("docs/").removesuffix(".md").replace("guides/", "guide-")
                place = f"{name.lower()}.html"
                self.places[file] = place
                pages.append((title_of(path.read_text(encoding="utf-8")), place))
        return pages

    def navigation(self, place):
        parts = []
        for title, pages in self.parts:
            rows = "".join(
                f'<li><a href="{page}"{" aria-current=page" if page == place else ""}>'
                f"{html.escape(name)}</a></li>" for name, page in pages)
            holds = place == "index.html" or place in [page for _, page in pages]
            is_open = " open" if holds else ""
            parts.append(f"<details{is_open}><summary>{title}</summary><ul>{rows}</ul></details>")
        return "".join(parts)

    def write(self, place, title, body):
        template = (HERE / "page.html").read_text(encoding="utf-8")
        page = template.replace("{title}", html.escape(title))
        page = page.replace("{navigation}", self.navigation(place))
        (self.target / place).write_text(page.replace("{body}", self.links.code(body)),
                                         encoding="utf-8")

    def all_pages(self):
        """The end of the front page, where the contents of a phone are folded away."""
        parts = []
        for title, pages in self.parts:
            links = ", ".join(f'<a href="{page}">{html.escape(name)}</a>' for name, page in pages)
            parts.append(f"<li><strong>{title}</strong>: {links}</li>")
        return f'<h2 id="all-pages">All pages</h2><ul>{"".join(parts)}</ul>'

    def add_document(self, file, place):
        text = (ROOT / file).read_text(encoding="utf-8")
        title = title_of(text)
        body = self.markdown(text, file)
        self.write(place, title, body + (self.all_pages() if place == "index.html" else ""))
        kind = "result" if place == "errors.html" else "page"
        for part in re.split(r"(?=<h[123] id=)", body)[1:]:
            anchor, heading, rest = re.match(
                r'<h[123] id="([^"]+)">(.*?)<a class="anchor".*?</h[123]>(.*)', part, re.S).groups()
            told = title if kind == "page" else ""
            self.index.append([plain(heading), f"{place}#{anchor}", kind, told, plain(rest)[:1500]])

    def add_family(self, page):
        self.write(f"{page.name}.html", page.title,
                   reference_pages.family(self.reference, page, self.links, self.markdown))
        for entry in page.entries:
            self.index.append([entry.name, self.links.places[entry.name], "function",
                               entry["brief"].replace("#", ""), entry["text"]])
        for record in page.records:
            fields = " ".join(field["name"] for field in record["fields"])
            name = record["name"]
            self.index.append([name, self.links.places[name], "record", fields, ""])

    def add_searchable_results(self):
        for entry in self.index:
            if entry[2] == "result":
                number = entry[0].split()[0]
                rows = [row for row in self.reference.interface["errors"]
                        if str(row["first"]) == number and row["name"].lower() in entry[1]]
                entry[3] = rows[0]["text"] if rows else ""

    def make(self):
        frame = (ROOT / "docs/reference/frame.md").read_text(encoding="utf-8")
        self.write("ref.html", "Reference",
                   reference_pages.front(self.reference, self.links, self.markdown, frame))
        for page in self.reference.pages:
            self.add_family(page)
        for file, place in self.places.items():
            if not file.startswith("docs/reference/"):
                self.add_document(file, place)
        self.add_searchable_results()
        index = json.dumps(self.index, ensure_ascii=False, separators=(",", ":"))
        (self.target / "search-index.js").write_text(f"const searchIndex = {index};\n",
                                                     encoding="utf-8")
        for file in ("style.css", "search.js"):
            shutil.copy(HERE / file, self.target)
        (self.target / "images").mkdir()
        for image in self.markdown.images:
            if (ROOT / image).exists():
                shutil.copy(ROOT / image, self.target / "images")


def unlisted(contents):
    """Documents that stand in no part."""
    listed = {file for part in contents["part"] for file in part["pages"]} | {contents["front"]}
    there = [*ROOT.glob("docs/*.md"), *ROOT.glob("docs/guides/*.md")]
    return sorted(str(path.relative_to(ROOT)) for path in there
                  if str(path.relative_to(ROOT)) not in listed)


def main():
    description, folder = sys.argv[1:3]
    target = pathlib.Path(folder)
    shutil.rmtree(target, ignore_errors=True)
    target.mkdir(parents=True)
    try:
        site = Site(description, target)
        site.make()
    except ReferenceError as error:
        print(error, file=sys.stderr)
        return 1
    problems = [f"contents.toml does not list {file}" for file in unlisted(site.contents)]
    problems += check_site.problems(target)
    print("\n".join(problems), file=sys.stderr, end="\n" if problems else "")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
