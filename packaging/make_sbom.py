#!/usr/bin/python3
"""Makes the bill of materials (SPDX 2.3): every package that is handed out with its digest, and what
of others it contains or needs, as the builds and dpkg tell.

    make_sbom.py VERSION PACKAGE-FOLDER WORK-FOLDER OUT.json
"""

import hashlib
import json
import pathlib
import re
import subprocess
import sys
import time
import uuid

from archives import moment

# Licences of what is compiled in, linked or needed, by Debian's source packages.
GCC = "GPL-3.0-or-later WITH GCC-exception-3.1"
LICENCES = {
    "boost1.74": "BSL-1.0", "cli11": "BSD-3-Clause", "gcc-12": GCC, "gcc-mingw-w64": GCC,
    "glibc": "LGPL-2.1-or-later",
    "mingw-w64": "ZPL-2.1", "nlohmann-json3": "MIT", "numpy": "BSD-3-Clause",
    "openssl": "Apache-2.0", "paho.mqtt.c": "EPL-2.0 OR BSD-3-Clause",
    "protobuf": "BSD-3-Clause", "python3-defaults": "Python-2.0", "sqlite3": "blessing",
    "zlib": "Zlib",
}
# The runtimes that are linked into files which need no others.
STATIC_LINUX = ("libstdc++.a",)
STATIC_WINDOWS = ("libstdc++.a", "libgcc.a", "libmingw32.a", "libpthread.a")
# Headers that declare what the system has: nothing of them is in what is compiled.
DECLARATIONS = {"libc6-dev", "linux-libc-dev"}
LIBRARY, PROGRAMS = "library", "programs"


def told(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def owners(files):
    """The Debian packages that the files are of."""
    files = sorted(files)
    if not files:
        return set()
    done = subprocess.run(["dpkg-query", "--search", *files], check=False, capture_output=True,
                          text=True)
    return {name.split(":")[0] for line in done.stdout.splitlines()
            if not line.startswith("diversion ")
            for name in line.split(": ", 1)[0].split(", ")}


def compiled_in(build):
    """Of the library and of the programs, the packages whose headers were read."""
    files = {LIBRARY: set(), PROGRAMS: set()}
    part = None
    for line in told("ninja", "-C", str(build), "-t", "deps").splitlines():
        if not line.startswith(" "):
            part = LIBRARY if line.startswith("src/") else PROGRAMS
        elif line.strip().startswith("/"):
            files[part].add(str(pathlib.Path(line.strip()).resolve()))
        else:
            files[part].add(str((build / line.strip()).resolve()))
    return {part: owners(each for each in its if each.startswith("/usr/")) - DECLARATIONS
            for part, its in files.items()}


def runtimes(compiler, names):
    return owners(str(pathlib.Path(told(compiler, f"-print-file-name={name}").strip()).resolve())
                  for name in names)


def needed(package):
    """What a Debian package depends on, other than those of this system."""
    fields = told("dpkg-deb", "-f", str(package), "Depends")
    names = {re.match(r"[\w.+-]+", each.strip())[0] for each in re.split("[,|]", fields) if each.strip()}
    return {name for name in names if not re.search("zelq", name)}


class Bill:
    def __init__(self, version):
        self.version = version
        self.packages = {}
        self.relations = []

    def add_own(self, path):
        digest = hashlib.sha256(path.read_bytes()).hexdigest()
        name = "SPDXRef-" + re.sub(r"[^\w.-]", "-", path.name).replace("_", "-")
        self.packages[name] = {
            "SPDXID": name, "name": path.name, "versionInfo": self.version,
            "packageFileName": path.name, "supplier": "Organization: The zelQ authors",
            "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
            "licenseConcluded": "MIT", "licenseDeclared": "MIT",
            "copyrightText": "Copyright (c) 2026 The zelQ authors",
            "checksums": [{"algorithm": "SHA256", "checksumValue": digest}]}
        self.relate("SPDXRef-DOCUMENT", "DESCRIBES", name)
        return name

    def add_other(self, package):
        name = "SPDXRef-Debian-" + package.replace("+", "p")
        if name not in self.packages:
            form = "${source:Package}\t${Version}\t${Architecture}\n"
            lines = told("dpkg-query", "-W", "-f", form, package).splitlines()
            source, version, architecture = lines[0].split("\t")
            licence = LICENCES.get(source, "NOASSERTION")
            self.packages[name] = {
                "SPDXID": name, "name": package, "versionInfo": version,
                "supplier": "Organization: Debian", "downloadLocation": "NOASSERTION",
                "filesAnalyzed": False, "licenseConcluded": "NOASSERTION",
                "licenseDeclared": licence, "copyrightText": "NOASSERTION",
                "sourceInfo": f"Debian's source package {source}",
                "externalRefs": [{
                    "referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                    "referenceLocator": f"pkg:deb/debian/{package}@{version}?arch={architecture}"}]}
        return name

    def relate(self, one, how, other):
        self.relations.append({"spdxElementId": one, "relationshipType": how,
                               "relatedSpdxElement": other})

    def document(self):
        created = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(moment()))
        packages = [self.packages[name] for name in sorted(self.packages)]
        identity = uuid.uuid5(uuid.NAMESPACE_OID, json.dumps(packages, sort_keys=True))
        return {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
                "name": f"zelq-{self.version}", "documentNamespace": f"urn:uuid:{identity}",
                "creationInfo": {"created": created, "creators": ["Tool: script/package"]},
                "packages": packages,
                "relationships": sorted(self.relations, key=lambda each: list(each.values()))}


def contents(work):
    """Of each kind of file that is handed out, the packages that went into it."""
    linux = compiled_in(work / "linux")
    windows = {bits: compiled_in(work / f"windows-{bits}") for bits in ("x64", "x86")}
    for bits, compiler in (("x64", "x86_64-w64-mingw32-g++-posix"),
                           ("x86", "i686-w64-mingw32-g++-posix")):
        for part in (LIBRARY, PROGRAMS):
            windows[bits][part] |= runtimes(compiler, STATIC_WINDOWS)
    bundled = linux[LIBRARY] | runtimes("g++", STATIC_LINUX)
    return {
        "libzelq1_": linux[LIBRARY], "zelq-tools_": linux[PROGRAMS],
        "-windows-x64.zip": windows["x64"][LIBRARY] | windows["x64"][PROGRAMS],
        "-windows-x86.zip": windows["x86"][LIBRARY] | windows["x86"][PROGRAMS],
        "manylinux": bundled, "win_amd64": windows["x64"][LIBRARY],
        "win32": windows["x86"][LIBRARY],
        ".nupkg": bundled | windows["x64"][LIBRARY] | windows["x86"][LIBRARY],
    }


def main():
    version = sys.argv[1]
    folder, work, out = map(pathlib.Path, sys.argv[2:])
    bill = Bill(version)
    of_kind = contents(work)
    for path in sorted(folder.iterdir()):
        if path.suffix not in (".deb", ".zip", ".whl", ".nupkg"):
            continue
        name = bill.add_own(path)
        for part, packages in of_kind.items():
            if part in path.name:
                for package in sorted(packages):
                    bill.relate(name, "STATIC_LINK", bill.add_other(package))
        for package in sorted(needed(path) if path.suffix == ".deb" else ()):
            bill.relate(name, "DEPENDS_ON", bill.add_other(package))
    document = bill.document()
    for each in document["packages"]:
        if each["licenseDeclared"] == "NOASSERTION":
            print(f"bill of materials: the licence of {each['name']} is not written down")
    out.write_text(json.dumps(document, indent=1) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
