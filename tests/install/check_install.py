#!/usr/bin/env python3
"""Installs the library into an empty folder and builds README's programs from what stands there:
the C one by pkg-config, the C++ one and the C one by find_package. Natively it runs them, against
the simulated controller and against nobody. What is installed bears the project's version, each in
its own way.

    check_install.py BUILD SOURCE C-COMPILER [--simulator LUMO-SIM] [--toolchain FILE] [--flags FLAGS]
                     [--installed PREFIX]

With --installed, what a package has put there is tried instead; BUILD is not looked at.
"""

import argparse
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

PROJECT = """\
cmake_minimum_required(VERSION 3.20)
project(first LANGUAGES C CXX)
find_package(zelq 1.0 REQUIRED)
find_package(zelq 2.0 QUIET)
if(zelq_FOUND)
  message(FATAL_ERROR "a later major version is another library")
endif()
find_package(zelq 1.0 REQUIRED)
add_executable(first_c first.c)
add_executable(first_cpp first.cpp)
target_compile_features(first_cpp PRIVATE cxx_std_17)
foreach(program first_c first_cpp)
  target_link_libraries(${program} PRIVATE zelq::zelq)
endforeach()
"""


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, check=False, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{done.stdout}")
    return done.stdout


def program_of(readme, language, controller, here):
    """What README shows in a language, with the controller that stands in for the one it names."""
    shown = [code for code in re.findall(rf"(?s)```{language}\n(.*?)```", readme) if "main(" in code]
    assert len(shown) == 1 and shown[0].count(controller) == 1, f"README's {language} program"
    return shown[0].replace(controller, here)


def write_programs(folder, source, port):
    readme = (source / "README.md").read_text(encoding="utf-8")
    (folder / "first.c").write_text(program_of(
        readme, "c", "zelQ_Connect(3, 192, 168, 0)",
        f"(zelQ_SetNetPortNum(3, {port}), zelQ_Connect(3, 127, 0, 0))"))
    (folder / "first.cpp").write_text(program_of(
        readme, "cpp", "({192, 168, 0}, 3)",
        "({127, 0, 0}, 3, [] { zelq::Link link; link.port = %s; return link; }())" % port))
    (folder / "CMakeLists.txt").write_text(PROJECT)


def by_pkg_config(folder, prefix, compiler, flags):
    files = list(prefix.rglob("zelq.pc"))
    assert len(files) == 1, files
    variables = {**os.environ, "PKG_CONFIG_PATH": str(files[0].parent), "PKG_CONFIG_ALLOW_SYSTEM_LIBS": "1"}
    path = run("pkg-config", "--variable=libdir", "zelq", env=variables).strip()
    told = run("pkg-config", "--cflags", "--libs", "zelq", env=variables).split()
    run(compiler, *flags, "-o", folder / "by_pkg_config", folder / "first.c", *told,
        f"-Wl,-rpath,{path}")
    return folder / "by_pkg_config"


def by_find_package(folder, prefix, options):
    build = folder / "build"
    words = [f"-DCMAKE_C_FLAGS={options.flags}", f"-DCMAKE_CXX_FLAGS={options.flags}"]
    if options.toolchain:
        words = [f"-DCMAKE_TOOLCHAIN_FILE={options.toolchain}", f"-DCMAKE_FIND_ROOT_PATH={prefix}"]
    run("cmake", "-G", "Ninja", "-S", folder, "-B", build, f"-DCMAKE_PREFIX_PATH={prefix}", *words)
    run("cmake", "--build", build, "--", "-j1")
    suffix = ".exe" if options.toolchain else ""
    return [build / f"first_c{suffix}", build / f"first_cpp{suffix}"]


def bears_version(file, version):
    """A program or DLL of Windows, in what the system shows of it."""
    return f"ProductVersion\0{version}\0".encode("utf-16-le") in file.read_bytes()


def check_versions(prefix, build, source):
    """The one that stands in the project's first line, on all that is installed."""
    version = re.search(r"(?m)^CMAKE_PROJECT_VERSION:STATIC=(.*)$",
                        (build / "CMakeCache.txt").read_text(encoding="utf-8"))[1]
    library = next(prefix.rglob("zelq.pc")).parents[1]
    clean = {**os.environ, "LD_LIBRARY_PATH": str(library)}
    windows = sorted(prefix.glob("bin/*.*"))
    assert all(bears_version(file, version) for file in windows), windows
    for program in set(prefix.glob("bin/*")) - set(windows):
        assert run(program, "--version", env=clean).split() == [program.name, version], program
    for page in prefix.glob("share/man/man1/*"):
        assert f"zelQ {version}" in page.read_text(encoding="utf-8"), page
    told = re.findall(r"(?m)^Version: (.*)$", (library / "pkgconfig/zelq.pc").read_text())
    told.append(re.search(r"(?m)^## (\S+)", (source / "CHANGELOG.md").read_text())[1])
    told += [file.name.split(".so.")[1] for file in library.glob("libzelq.so.*.*")]
    assert set(told) == {version}, told
    assert len(windows) == 3 or len(told) == 3, (windows, told)


class Simulator:
    """lumo-sim on a free port, which it tells; its time runs a hundred times as fast."""

    def __init__(self, program):
        self.process = subprocess.Popen(
            [program, "--number", "3", "--port", "0", "--no-discovery", "--time-scale", "100"],
            stdout=subprocess.PIPE, text=True)
        self.port = re.search(r"port (\d+)", self.process.stdout.readline())[1]

    def stop(self):
        self.process.terminate()
        self.process.wait()


def try_out(programs, simulator):
    """Each moves the axis to its target, and says so where nobody is there."""
    clean = {key: value for key, value in os.environ.items() if key != "LD_LIBRARY_PATH"}
    for program in programs:
        run(program, env=clean, timeout=60)
    simulator.stop()
    for program in programs:
        done = subprocess.run([program], capture_output=True, text=True, env=clean, timeout=60,
                              check=False)
        assert done.returncode == 1, (program, done.returncode)
        assert "could not be made" in done.stdout + done.stderr, done
        print(f"{program.name}: runs, and tells what is wrong")


def install(build, source, folder):
    prefix = folder / "installed"
    for component in ("runtime", "development", "tools"):
        run("cmake", "--install", build, "--prefix", prefix, "--component", component)
    # As packages are: taken somewhere else behind that.
    prefix = prefix.rename(folder / "moved")
    check_versions(prefix, build, source)
    return prefix


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("source", type=pathlib.Path)
    parser.add_argument("compiler")
    parser.add_argument("--simulator")
    parser.add_argument("--toolchain")
    parser.add_argument("--flags", default="")
    parser.add_argument("--installed", type=pathlib.Path)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        prefix = options.installed or install(options.build, options.source, folder)
        simulator = Simulator(options.simulator) if options.simulator else None
        write_programs(folder, options.source, simulator.port if simulator else 502)
        try:
            programs = by_find_package(folder, prefix, options)
            if simulator:
                programs.append(by_pkg_config(folder, prefix, options.compiler,
                                              shlex.split(options.flags)))
                try_out(programs, simulator)
            print(f"{len(programs)} programs built from what is installed")
        finally:
            if simulator:
                simulator.stop()


if __name__ == "__main__":
    main()
