"""The NuGet package: its structure, and its assembly run by mono with its own native library."""

import re
import shutil
import xml.etree.ElementTree as xml
import zipfile

from .place import SOURCE, Simulated, clean_environment, hold, ok, only, run

NATIVE = {"runtimes/linux-x64/native/libzelq.so": "file format elf64-x86-64",
          "runtimes/win-x64/native/zelq.dll": "file format pei-x86-64",
          "runtimes/win-x86/native/zelq.dll": "file format pei-i386"}
# Assemblies that netstandard2.0 has under these names, too, and leads on to its own.
REFERENCES = {"mscorlib", "System", "System.Core"}


def look_at(folder, version):
    files = {path.relative_to(folder).as_posix() for path in folder.rglob("*") if path.is_file()}
    needed = {*NATIVE, "Zelq.nuspec", "[Content_Types].xml", "_rels/.rels", "LICENSE",
              "THIRD_PARTY_NOTICES", "lib/netstandard2.0/Zelq.dll", "lib/netstandard2.0/Zelq.xml"}
    hold(needed <= files, f"the NuGet package lacks {needed - files}")
    for name in ("Zelq.nuspec", "[Content_Types].xml", "_rels/.rels", "lib/netstandard2.0/Zelq.xml"):
        xml.parse(folder / name)
    told = xml.parse(folder / "Zelq.nuspec").findtext(".//{*}version")
    hold(told == version, f"the NuGet package has version {told}")
    types = (folder / "[Content_Types].xml").read_text()
    for name in files - {"[Content_Types].xml"}:
        ending = name.rsplit("/", 1)[-1].rpartition(".")
        known = f'PartName="/{name}"' if not ending[1] else f'Extension="{ending[2]}"'
        hold(known in types, f"[Content_Types].xml does not tell what {name} is")
    for target in re.findall('Target="/([^"]+)"', (folder / "_rels/.rels").read_text()):
        hold(target in files, f"_rels/.rels leads to {target}, which is not there")
    for name, form in NATIVE.items():
        hold(form in run("x86_64-w64-mingw32-objdump" if name.endswith(".dll") else "objdump", "-f",
                         folder / name), f"{name} is for another machine")
    assembly = folder / "lib/netstandard2.0/Zelq.dll"
    used = set(re.findall(r"Name=(\S+)", run("monodis", "--assemblyref", assembly)))
    hold(used <= REFERENCES, f"the assembly refers to {used}")
    its = re.search(r"Version: +(\S+)", run("monodis", "--assembly", assembly))[1]
    hold(its == f"{version}.0", f"the assembly has version {its}")
    return files, used


def check(made, version, scratch, simulator):
    package = only(made, "*.nupkg")
    folder = scratch / "nuget"
    with zipfile.ZipFile(package) as file:
        file.extractall(folder)
    files, used = look_at(folder, version)
    ok(f"{package.name}: {len(files)} files, native libraries for {', '.join(sorted(NATIVE))}; the "
       f"assembly refers to {', '.join(sorted(used))} alone")
    here = scratch / "csharp"
    here.mkdir()
    shutil.copy(folder / "lib/netstandard2.0/Zelq.dll", here)
    run("mcs", "-langversion:7", f"-r:{here}/Zelq.dll", f"-out:{here}/FirstMotion.exe",
        SOURCE / "bindings/csharp/examples/FirstMotion.cs")
    environment = clean_environment(LD_LIBRARY_PATH=folder / "runtimes/linux-x64/native")
    with Simulated(simulator) as simulated:
        told = run("mono", here / "FirstMotion.exe", "127.0.0", 3, simulated.port, env=environment)
    hold("x 40.000 mm, y 12.500 mm" in told, f"FirstMotion.exe:\n{told}")
    ok(f"{package.name}: mono runs the example with its assembly and its library for Linux; not run: "
       ".NET, and C# on Windows, which are not to be had here")
