"""The bill of materials: of all files, with their digests, and without an open end."""

import hashlib
import json

from .place import hold, ok, only


def check(made):
    document = json.loads(only(made, "*.spdx.json").read_text(encoding="utf-8"))
    packages = {each["SPDXID"]: each for each in document["packages"]}
    told = {each["packageFileName"]: each["checksums"][0]["checksumValue"]
            for each in packages.values() if "checksums" in each}
    there = {path.name: hashlib.sha256(path.read_bytes()).hexdigest() for path in made.iterdir()
             if path.is_file() and not path.name.endswith(".json")}
    hold(told == there, f"bill of materials: {set(told.items()) ^ set(there.items())}")
    for relation in document["relationships"]:
        for end in (relation["spdxElementId"], relation["relatedSpdxElement"]):
            hold(end in packages or end == "SPDXRef-DOCUMENT", f"bill of materials: no {end}")
    unknown = [each["name"] for each in packages.values() if each["licenseDeclared"] == "NOASSERTION"]
    hold(not unknown, f"bill of materials: whose licence is not written down: {unknown}")
    ok(f"bill of materials (SPDX 2.3): {len(told)} files with the right digests, "
       f"{len(packages) - len(told)} packages of others with versions and licences")
