"""Every ending of ./run with the released file, in fresh systems without a package beyond the smallest set."""

import os
import pathlib
import shlex
import subprocess
import sys

from steps import Failed, run, step

HERE = pathlib.Path(__file__).resolve().parent
TOP = HERE.parents[1]
SYSTEMS = ("bookworm", "trixie", "testing")
MOUNTED = ("plain", "noexec")
# The portal, and the tools that stand beside the installer.
RUN_TARGETS = ("QNInstaller", "hdiutil", "system_profiler", "ifconfig", "portal")

sys.path.insert(0, str(TOP / "tools/run"))
import endings  # noqa: E402


def debian_mirror():
    """Where this machine's own packages come from."""
    known = subprocess.run(["apt-get", "indextargets", "--format", "$(SITE)", "Created-By: Packages"],
                           capture_output=True, text=True, check=True).stdout.split()
    mirrors = [site for site in known if not site.endswith("-security")]
    if not mirrors:
        raise Failed("This machine's package lists name no mirror of Debian")
    return mirrors[0]


def make_root(system, folder):
    root = folder / system
    if root.exists():
        return root
    with step(f"Making a bare {system}"):
        part = folder / f"{system}.part"
        subprocess.run(["rm", "-rf", part], check=True)
        folder.mkdir(parents=True, exist_ok=True)
        run(["debootstrap", "--variant=minbase", system, part, debian_mirror()], folder / f"{system}.log")
        part.rename(root)
    return root


def system_name(root):
    lines = dict(line.split("=", 1) for line in (root / "etc/os-release").read_text().splitlines() if "=" in line)
    return shlex.split(lines["PRETTY_NAME"])[0]


def reached(ending, root, mounted, build, log):
    """Whether the ending was reached; what happened goes to the log."""
    through = shlex.join([sys.executable, str(HERE / "bare_root.py"), str(root), str(build / "tools/launcher/launcher"),
                          mounted])
    command = [TOP / ".ci/with-display", sys.executable, TOP / "tools/run/main_job.py", ending, "--build", TOP / "build",
               "--bundle", build / "QNInstaller.app", "--through", through]
    with open(log, "wb") as output:
        return subprocess.run(command, stdout=output, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL).returncode == 0


def check(build, folder, output):
    """Prints a table and returns whether everything was as it should be."""
    if os.geteuid() != 0:
        raise Failed("--check makes systems to start the file in, and has to be root for that")
    output.mkdir(parents=True, exist_ok=True)
    print("| System | home and `TMPDIR` | " + " | ".join(endings.ENDINGS) + " |")
    print("|---|---|" + "---|" * len(endings.ENDINGS))
    with step("Building what ./run builds"):
        log = output / "build.log"
        run(["cmake", "--preset", "dev"], log, TOP)
        run(["cmake", "--build", "--preset", "dev", "--target", *RUN_TARGETS], log, TOP)
    good = True
    for system in SYSTEMS:
        root = make_root(system, folder)
        for mounted in MOUNTED:
            results = [reached(ending, root, mounted, build, output / f"{system}-{mounted}-{ending}.log")
                       for ending in endings.ENDINGS]
            good = good and all(results)
            print(f"| {system_name(root)} | {mounted} | " + " | ".join("✓" if result else "✗" for result in results) + " |",
                  flush=True)
    return good
