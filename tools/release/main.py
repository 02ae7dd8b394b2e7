#!/usr/bin/env python3
"""Builds what is released, see ./release --help."""

import argparse
import datetime
import os
import pathlib
import plistlib
import re
import shutil
import subprocess
import sys

import brand
import check
import contents
import debian
import fonts
import pack
import toolkit
from steps import Failed, run, step

TOP = pathlib.Path(__file__).resolve().parents[2]
BUILD = TOP / "build-static"
PROGRAMS = ("QNInstaller", "hdiutil", "ifconfig", "system_profiler", "launcher")
BILL = "QNInstaller.spdx.json"
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "qninstaller-release"


def arguments():
    parser = argparse.ArgumentParser(
        prog="./release",
        description="Builds one file that starts on any Linux desktop with glibc 2.36, and the same bundle as .tar.xz. "
        "The static libraries come from Debian's packages and source packages; those that have to be built are built "
        f"once and kept in {CACHE}.")
    parser.add_argument("--output", type=pathlib.Path, default=TOP / "dist", metavar="FOLDER",
                        help="where the files go (default: dist)")
    parser.add_argument("--libraries", type=pathlib.Path, metavar="FOLDER",
                        help="libraries that an earlier run built, in the place of those of now")
    parser.add_argument("--portal", metavar="NAME", help="with the brand in portals/NAME; its files go to FOLDER/NAME")
    parser.add_argument("--check", action="store_true",
                        help="start what was built last in fresh systems (Debian 12, 13, testing), with every ending of "
                        "./run, and print a table; needs root, and what ./run builds")
    parser.add_argument("--audit", action="store_true",
                        help="compare what is inside the last release with what Debian has now, and do nothing else")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), metavar="N", help="processes that compile at a time")
    return parser.parse_args()


def commit_time():
    """Of the commit that is released: the one time that goes into the files."""
    given = os.environ.get("SOURCE_DATE_EPOCH")
    return int(given or subprocess.run(["git", "-C", TOP, "log", "-1", "--format=%ct"], capture_output=True, text=True,
                                       check=True).stdout)


def build(libraries, jobs, time):
    log = BUILD / "build.log"
    BUILD.mkdir(exist_ok=True)
    shutil.rmtree(BUILD / "QNInstaller.app", ignore_errors=True)
    environment = {"SOURCE_DATE_EPOCH": str(time)}
    run(["cmake", "-S", TOP, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", f"-DQN_TOOLKIT={libraries}"], log,
        environment=environment)
    run(["cmake", "--build", BUILD, "-j", str(jobs)], log, environment=environment)


def programs(folder):
    return [path for path in sorted(folder.rglob("*"))
            if path.is_file() and not path.is_symlink() and path.read_bytes()[:4] == b"\x7fELF"]


def require_glibc_alone(paths):
    """Of shared libraries a program may need those of glibc only, and of these no version that Debian 12 lacks."""
    for path in paths:
        told = subprocess.run(["readelf", "--wide", "-d", "-V", path], capture_output=True, text=True, check=True).stdout
        needed = set(re.findall(r"\(NEEDED\).*\[(.*)\]", told)) - {"libc.so.6", "libm.so.6", "ld-linux-x86-64.so.2"}
        versions = [tuple(map(int, version.split("."))) for version in re.findall(r"Name: GLIBC_([0-9.]+)", told)]
        if needed:
            raise Failed(f"{path.name} needs {', '.join(sorted(needed))}")
        if max(versions, default=(0,)) > (2, 36):
            raise Failed(f"{path.name} needs a newer glibc than 2.36")


def write_papers(parts, folder, name, time):
    """The notices and the bill of materials beside the file."""
    created = datetime.datetime.fromtimestamp(time, datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
    info = plistlib.loads((BUILD / "QNInstaller.app/Contents/Info.plist").read_bytes())
    (folder / BILL).write_text(contents.bill_of_materials(parts, [folder / name],
                                                          info["CFBundleShortVersionString"], created))
    (folder / "THIRD-PARTY-NOTICES").write_text(contents.notices(parts))


def audit(folder):
    """Prints what has to be renewed; the status that the program ends with."""
    bill = folder / BILL
    if not bill.exists():
        raise Failed(f"There is no release in {folder}")
    found = contents.outdated(bill.read_text(), debian.SourceArchive(CACHE / "apt"))
    for name, inside, now in found:
        print(f"{name}: {inside} inside, {now} now: build the release again")
    if not found:
        print("Everything inside is as new as in Debian.")
    return 1 if found else 0


def tell_sizes(folder):
    for path in sorted(each for each in folder.iterdir() if each.is_file()):
        print(f"{path.stat().st_size:>12,}  {path}")
    parts = [path for path in (BUILD / "QNInstaller.app").rglob("*") if path.is_file() and not path.is_symlink()]
    print(f"{sum(path.stat().st_size for path in parts):>12,}  unpacked")


def main():
    options = arguments()
    if options.check:
        sys.exit(0 if check.check(BUILD, CACHE / "roots", BUILD / "check") else 1)
    if options.audit:
        sys.exit(audit(options.output))
    if options.portal:
        brand.read_settings(brand.folder_of(options.portal, TOP))
    libraries = (options.libraries or toolkit.make_toolkit(CACHE, options.jobs)).resolve()
    time = commit_time()
    with step("Building the bundle"):
        build(libraries, options.jobs, time)
    require_glibc_alone([*programs(BUILD / "QNInstaller.app"), BUILD / "tools/launcher/launcher"])
    bundle, name, output = BUILD / "QNInstaller.app", "QNInstaller", options.output
    if options.portal:
        folder = brand.folder_of(options.portal, TOP)
        brand.put_brand(folder, bundle)
        name = f"{options.portal}-installer"
        output = output / options.portal
    with step("Cutting the fonts down"):
        fonts.add_fonts(bundle, BUILD / "build.log")
    with step("Telling what is inside"):
        parts = contents.parts_inside([BUILD / f"{program}.map" for program in PROGRAMS], BUILD, libraries)
        (bundle / "Contents/Resources/THIRD-PARTY-NOTICES").write_text(contents.notices(parts))
    with step("Packing"):
        output.mkdir(parents=True, exist_ok=True)
        pack.pack(bundle, BUILD / "tools/launcher/launcher", output, name, time)
        write_papers(parts, output, name, time)
    tell_sizes(output)


if __name__ == "__main__":
    try:
        main()
    except Failed as failed:
        sys.exit(f"release: {failed}")
