"""The Debian packages and the Linux wheel, in a bare Debian 12 that has nothing else of ours."""

import re
import shutil
import subprocess

from .place import SOURCE, Simulated, hold, ok, only, run

COMPLETE = ("source /usr/share/bash-completion/completions/zelq; COMP_WORDS=(zelq disc) COMP_CWORD=1;"
            " _zelq; echo ${COMPREPLY[*]}")
LOADED = ("import zelq, importlib.metadata as m; "
          "print(m.version('zelq'), zelq._library.LIBRARY._name)")


def look_at_packages(made, version):
    packages = sorted(made.glob("*.deb"))
    hold([package.name.split("_")[0] for package in packages] ==
         ["libzelq-dev", "libzelq1", "python3-zelq", "zelq-tools"], f"packages: {packages}")
    for package in packages:
        told = run("dpkg-deb", "-f", package, "Version").strip()
        hold(told == f"{version}-1", f"{package.name} has version {told}")
    done = subprocess.run(["lintian", "--allow-root", "--fail-on", "error",
                           # This goes into no archive that has a list of wishes.
                           "--suppress-tags", "initial-upload-closes-no-bugs", *map(str, packages)],
                          check=False, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    hold(done.returncode == 0, f"lintian:\n{done.stdout}")
    warnings = [line for line in done.stdout.splitlines() if line.startswith("W:")]
    ok(f"lintian: no error, {len(warnings)} warnings" + "".join(f"\n      {each}" for each in warnings))


def try_programs(root, version):
    for program in ("zelq", "lumo-sim"):
        told = root.run(program, "--version").strip()
        hold(told == f"{program} {version}", f"{program} --version: {told}")
        page = root.run("man", program)
        hold("OPTIONS" in page and version in page, f"man {program}:\n{page}")
    hold(root.run("bash", "-c", COMPLETE).strip() == "discover", "the shell completes no verb")
    ok("zelq-tools: both programs tell their version, have a manual page, bash completes verbs")


def try_building(root):
    here = root.folder / "srv/source"
    here.mkdir(parents=True)
    shutil.copy(SOURCE / "README.md", here)
    shutil.copy(SOURCE / "tests/install/check_install.py", here)
    told = root.run("python3", "/srv/source/check_install.py", "/", "/srv/source", "gcc",
                    "--installed", "/usr", "--simulator", "/usr/bin/lumo-sim")
    for line in told.splitlines():
        ok(f"libzelq-dev: README's ten lines, {line}")


def try_python(root, interpreter, version, library, what):
    told = root.run(interpreter, "-c", LOADED).split()
    hold(told == [version, library], f"{what}: {told}")
    shutil.copy(SOURCE / "bindings/python/examples/first_motion.py", root.folder / "srv")
    with Simulated(*root.command("/srv/lumo-sim")) as simulated:
        told = root.run(interpreter, "/srv/first_motion.py", "127.0.0", 3, simulated.port)
    hold(re.search(r"axis 0: +40\.000 mm", told), f"{what}: {told}")
    ok(f"{what}: version {version}, loads {library}, its example homes an axis and moves two")


def try_removing(root):
    root.run("apt-get", "purge", "-y", "libzelq1", "libzelq-dev", "zelq-tools", "python3-zelq")
    left = root.run("find", "/usr", "/etc", "/var/lib/dpkg/info", "-name", "*zelq*", "-o", "-name",
                    "*lumo-sim*")
    hold(left == "", f"removed, and still there:\n{left}")
    ok("Debian packages: removed again without a trace")


def try_wheel(root, made, version):
    wheel = only(made, "*manylinux*.whl")
    shutil.copy(wheel, root.folder / "srv")
    root.run("python3", "-m", "venv", "/srv/venv")
    root.run("/srv/venv/bin/pip", "install", "--no-index", f"/srv/{wheel.name}")
    root.run("/srv/venv/bin/pip", "check")
    folder = root.run("/srv/venv/bin/python", "-c", "import sysconfig; "
                      "print(sysconfig.get_path('purelib'))").strip()
    try_python(root, "/srv/venv/bin/python", version, f"{folder}/zelq/libzelq.so.1",
               f"{wheel.name} in a fresh venv, without an index")


def check(made, version, root):
    look_at_packages(made, version)
    try_programs(root, version)
    try_building(root)
    shutil.copy(root.folder / "usr/bin/lumo-sim", root.folder / "srv")
    try_python(root, "python3", version, "libzelq.so.1", "python3-zelq")
    try_removing(root)
    try_wheel(root, made, version)
