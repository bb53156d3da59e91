"""Makes a C++ file of the page's files.

    embed.py OUT FILE...
"""

import pathlib
import sys

TYPES = {
    ".css": "text/css; charset=utf-8",
    ".html": "text/html; charset=utf-8",
    ".js": "text/javascript; charset=utf-8",
    ".json": "application/json",
    ".png": "image/png",
    ".svg": "image/svg+xml",
    ".woff2": "font/woff2",
}
PLAIN = {byte: chr(byte) for byte in range(0x20, 0x7F)} | {0x22: '\\"', 0x5C: "\\\\", 0x3F: "\\?"}
PIECE = 100  # bytes a line


def literal(data):
    pieces = (data[at:at + PIECE] for at in range(0, len(data), PIECE))
    return "\n".join(
        '     "' + "".join(PLAIN.get(byte, f"\\{byte:03o}") for byte in piece) + '"'
        for piece in pieces) or '     ""'


def main():
    out = pathlib.Path(sys.argv[1])
    lines = ['#include "panel/page.h"', "", "namespace zelq::tool {", "",
             "const std::vector<PageFile>& PageFiles()", "{",
             "    static const std::vector<PageFile> kFiles = {"]
    for name in sorted(sys.argv[2:]):
        file = pathlib.Path(name)
        data = file.read_bytes()
        lines += [f'    {{"{file.name}", "{TYPES[file.suffix]}", std::string_view(',
                  literal(data) + f",\n     {len(data)})}},"]
    lines += ["    };", "    return kFiles;", "}", "", "} // namespace zelq::tool", ""]
    out.write_text("\n".join(lines))


if __name__ == "__main__":
    main()
