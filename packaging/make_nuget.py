#!/usr/bin/python3
"""Makes the NuGet package: the assembly, and the library for each system it is for.

    make_nuget.py VERSION ASSEMBLY-FOLDER OUT-FOLDER LINUX-X64.so WIN-X64.dll WIN-X86.dll LICENCE...
"""

import hashlib
import pathlib
import sys
import time
from xml.sax.saxutils import escape

from archives import moment, write_zip

DESCRIPTION = "Client library for ZEL Lumo motion controllers"

NUSPEC = """\
<?xml version="1.0" encoding="utf-8"?>
<package xmlns="http://schemas.microsoft.com/packaging/2013/05/nuspec.xsd">
  <metadata>
    <id>Zelq</id>
    <version>{version}</version>
    <authors>The zelQ authors</authors>
    <license type="expression">MIT</license>
    <description>{description}</description>
    <tags>motion control axes ZEL Lumo</tags>
    <dependencies>
      <group targetFramework=".NETStandard2.0" />
    </dependencies>
  </metadata>
</package>
"""

TYPES = """\
<?xml version="1.0" encoding="utf-8"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
  <Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml" />
  <Default Extension="psmdcp" ContentType="application/vnd.openxmlformats-package.core-properties+xml" />
{types}</Types>
"""

RELATIONS = """\
<?xml version="1.0" encoding="utf-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
  <Relationship Type="http://schemas.microsoft.com/packaging/2010/07/manifest" Target="/Zelq.nuspec" Id="R0" />
  <Relationship Type="http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties" Target="/{properties}" Id="R1" />
</Relationships>
"""

PROPERTIES = """\
<?xml version="1.0" encoding="utf-8"?>
<coreProperties xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:dcterms="http://purl.org/dc/terms/" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns="http://schemas.openxmlformats.org/package/2006/metadata/core-properties">
  <dc:creator>The zelQ authors</dc:creator>
  <dc:description>{description}</dc:description>
  <dc:identifier>Zelq</dc:identifier>
  <version>{version}</version>
  <dcterms:created xsi:type="dcterms:W3CDTF">{created}</dcterms:created>
</coreProperties>
"""


def content_types(names):
    """What each kind of file is; files whose names have no ending are told one by one."""
    endings = sorted({pathlib.PurePosixPath(name).suffix[1:] for name in names} - {""})
    for ending in endings:
        yield f'  <Default Extension="{ending}" ContentType="application/octet" />\n'
    for name in sorted(names):
        if not pathlib.PurePosixPath(name).suffix:
            yield f'  <Override PartName="/{name}" ContentType="application/octet" />\n'


def main():
    version = sys.argv[1]
    assembly, out, linux, windows, windows_x86, *licences = map(pathlib.Path, sys.argv[2:])
    facts = {"version": version, "description": escape(DESCRIPTION),
             "created": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(moment()))}
    entries = {
        "Zelq.nuspec": NUSPEC.format(**facts).encode(),
        "lib/netstandard2.0/Zelq.dll": (assembly / "Zelq.dll").read_bytes(),
        "lib/netstandard2.0/Zelq.xml": (assembly / "Zelq.xml").read_bytes(),
        # The runtime looks for "zelq" with what its system has in front and behind.
        "runtimes/linux-x64/native/libzelq.so": linux.read_bytes(),
        "runtimes/win-x64/native/zelq.dll": windows.read_bytes(),
        "runtimes/win-x86/native/zelq.dll": windows_x86.read_bytes(),
    }
    entries.update({licence.name: licence.read_bytes() for licence in licences})
    types = TYPES.format(types="".join(content_types(entries)))
    digest = hashlib.sha256(b"".join(entries[name] for name in sorted(entries))).hexdigest()[:32]
    properties = f"package/services/metadata/core-properties/{digest}.psmdcp"
    entries["[Content_Types].xml"] = types.encode()
    entries["_rels/.rels"] = RELATIONS.format(properties=properties).encode()
    entries[properties] = PROPERTIES.format(**facts).encode()
    write_zip(out / f"Zelq.{version}.nupkg", entries)


if __name__ == "__main__":
    main()
