"""The Windows zips: what is in them, programs linked with them, and those of x64 run by Wine."""

import base64
import hashlib
import re
import subprocess
import sys
import zipfile

from .place import SOURCE, Simulated, clean_environment, hold, ok, only, run

sys.path.insert(0, str(SOURCE / "tests/install"))
import check_install  # noqa: E402  pylint: disable=wrong-import-position

FUNCTIONS = 186
SYSTEM_DLLS = {"kernel32.dll", "user32.dll", "msvcrt.dll", "ws2_32.dll", "iphlpapi.dll", "ntdll.dll",
               "mswsock.dll", "advapi32.dll", "shell32.dll", "bcrypt.dll"}
FILES = {"bin/zelq.dll", "bin/zelq.exe", "bin/lumo-sim.exe", "include/zelq.h", "include/zelq_errors.h",
         "include/zelq.hpp", "lib/zelq.lib", "lib/zelq.def", "lib/libzelq.dll.a", "LICENSE",
         "THIRD_PARTY_NOTICES", "CHANGELOG.md"}
# How objects of Microsoft's compiler look: their names, and no runtime.
FOREIGN = """#include <zelq.h>
int start(void)
{
    zelQ_SetNetPortNum(3, %s);
    int result = zelQ_Connect(3, 127, 0, 0);
    zelQ_Disconnect(3);
    return result;
}
"""


class Bits:
    """What one of the two is called by whom."""

    def __init__(self, name, compiler, machine, triple, arch, underscore):
        self.name = name
        self.compiler = compiler
        self.machine = machine  # objdump's word
        self.triple = triple  # clang's
        self.arch = arch  # llvm-readobj's word
        self.underscore = underscore  # in front of a function's name in an object


X64 = Bits("x64", "x86_64-w64-mingw32", "pei-x86-64", "x86_64-pc-windows-msvc", "x86_64", "")
X86 = Bits("x86", "i686-w64-mingw32", "pei-i386", "i686-pc-windows-msvc", "i386", "_")


def look_at_program(path, bits, version):
    told = run(f"{bits.compiler}-objdump", "-p", path)
    hold(f"file format {bits.machine}" in told, f"{path.name} is for another machine")
    foreign = {name.lower() for name in re.findall(r"DLL Name: (\S+)", told)} - SYSTEM_DLLS
    hold(foreign <= {"zelq.dll"}, f"{path.name} needs {foreign}")
    hold(check_install.bears_version(path, version), f"{path.name} does not bear version {version}")


def look_at_import_library(path, bits):
    """The functions that it has."""
    told = run("llvm-readobj", path)
    hold(set(re.findall(r"(?m)^File: (\S+)$", told)) == {"zelq.dll", f"{path}(zelq.dll)"} and
         set(re.findall(r"(?m)^Arch: (\S+)$", told)) == {bits.arch}, f"{path} is of something else")
    # The DLL's names are undecorated: the compiler's underscore of x86 does not reach them.
    hold(set(re.findall(r"Name type: (\w+)", told)) == {"noprefix" if bits is X86 else "name"},
         f"{path} has names of another kind")
    names = set(re.findall(rf"(?m)^Symbol: {bits.underscore}(zelQ_\w+)$", told))
    hold(len(names) == FUNCTIONS, f"{path} has {len(names)} functions")
    return names


def link_programs(bits, here, prefix, port):
    """README's program by GCC and zelq.lib, and by the other import library; one by clang as for
    Microsoft's linker."""
    check_install.write_programs(here, SOURCE, port)
    compiler = f"{bits.compiler}-gcc"
    programs = []
    for library in ("zelq.lib", "libzelq.dll.a"):
        program = here / f"by_{library.replace('.', '_')}.exe"
        run(compiler, "-o", program, here / "first.c", f"-I{prefix}/include",
            prefix / "lib" / library)
        programs.append(program)
    (here / "foreign.c").write_text(FOREIGN % port)
    run("clang", f"--target={bits.triple}", "-ffreestanding", "-c", here / "foreign.c", "-o",
        here / "foreign.obj", f"-I{prefix}/include")
    foreign = here / "foreign.exe"
    run("lld-link", f"/out:{foreign}", "/entry:start", "/subsystem:console", "/nodefaultlib",
        "/safeseh:no", here / "foreign.obj", prefix / "lib/zelq.lib")
    programs.append(foreign)
    for program in programs:
        told = run(f"{bits.compiler}-objdump", "-p", program)
        hold(f"file format {bits.machine}" in told and "DLL Name: zelq.dll" in told,
             f"{program.name} is not linked with zelq.dll")
    return programs


def unpack(made, version, bits, scratch):
    archive = only(made, f"zelq-{version}-windows-{bits.name}.zip")
    with zipfile.ZipFile(archive) as file:
        file.extractall(scratch)
    prefix = scratch / archive.stem
    there = {path.relative_to(prefix).as_posix() for path in prefix.rglob("*") if path.is_file()}
    hold(FILES <= there, f"{archive.name} lacks {FILES - there}")
    for path in sorted((prefix / "bin").iterdir()):
        look_at_program(path, bits, version)
    names = look_at_import_library(prefix / "lib/zelq.lib", bits)
    hold(names == set(re.findall(r"zelQ_\w+", (prefix / "lib/zelq.def").read_text())),
         "zelq.def and zelq.lib do not have the same functions")
    ok(f"{archive.name}: {len(there)} files; DLL and programs are {bits.machine}, of version "
       f"{version}, need system DLLs only; zelq.lib imports {len(names)} functions of zelq.dll")
    return prefix


def try_by_wine(prefix, scratch):
    wine = SOURCE / "script/run-wine"
    environment = clean_environment(ZELQ_WINEPREFIX=scratch / "wine")
    here = scratch / "programs-x64"
    here.mkdir()
    run("cp", prefix / "bin/zelq.dll", here)
    with Simulated(wine, prefix / "bin/lumo-sim.exe", env=environment) as simulated:
        programs = link_programs(X64, here, prefix, simulated.port)
        for program in programs:
            run(wine, program, env=environment)
            ok(f"x64: {program.name} moves an axis of lumo-sim.exe, both by Wine"
               if program.name != "foreign.exe" else
               "x64: a program of clang for Microsoft's ABI, linked by lld-link with zelq.lib, "
               "connects by Wine")
        told = run(wine, prefix / "bin/zelq.exe", "--network", "127.0.0", "--controller", "3",
                   "--port", simulated.port, "status", env=environment)
        hold(re.search(r"(?m)^ +0 +120000 +120000 ", told), f"zelq.exe status:\n{told}")
        ok("x64: zelq.exe tells that the axis stands where they moved it to")
    for program in programs[:2]:
        done = subprocess.run([wine, program], env=environment, stdout=subprocess.PIPE, text=True,
                              check=False)
        hold(done.returncode == 1 and "could not be made" in done.stdout,
             f"{program.name} with nobody there gives {done}")
    ok("x64: with nobody there, they say so")
    run(wine, "--stop", env=environment)


def look_at_wheels(made, version):
    for tag, bits in (("win_amd64", X64), ("win32", X86)):
        wheel = only(made, f"zelq-{version}-py3-none-{tag}.whl")
        with zipfile.ZipFile(wheel) as file:
            names = set(file.namelist())
            data = file.read("zelq/zelq.dll")
            rows = [line.split(",") for line in
                    file.read(f"zelq-{version}.dist-info/RECORD").decode().splitlines()]
            for name, digest, size in rows[:-1]:
                content = file.read(name)
                its = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
                hold((digest, size) == (f"sha256={its}", str(len(content))), f"{wheel.name}: {name}")
        hold({row[0] for row in rows} == names, f"{wheel.name}: its list is not that of its files")
        machine = {X64: b"\x64\x86", X86: b"\x4c\x01"}[bits]
        at = data.index(b"PE\0\0")
        hold(data[at + 4:at + 6] == machine, f"{wheel.name}: its DLL is for another machine")
        ok(f"{wheel.name}: {len(names)} files as listed, its DLL is {bits.machine}; not run: "
           "there is no Python for Windows here")


def check(made, version, scratch):
    prefix = unpack(made, version, X64, scratch)
    try_by_wine(prefix, scratch)
    prefix = unpack(made, version, X86, scratch)
    here = scratch / "programs-x86"
    here.mkdir()
    programs = link_programs(X86, here, prefix, 502)
    ok(f"x86: the same {len(programs)} programs link with zelq.lib and libzelq.dll.a; not run: Wine "
       "has only its 64-bit half here")
    look_at_wheels(made, version)
