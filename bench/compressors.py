#!/usr/bin/env python3
"""Compares `hdiutil create` in every format with the compressors of 7-Zip and xz on the same files: wall clock, size of
what is made, processor time. Prints the table of docs/performance.md; medians of interleaved runs, all cores that the
caller allows. The comparators read one tar of the files, made before.

    bench/compressors.py HDIUTIL --mebibytes 256 --runs 9
"""

import argparse
import os
import random
import shutil
import statistics
import subprocess
import tempfile
import time

from disk_images import MIB, half_compressible

SEVEN_ZIP = "7zz" if shutil.which("7zz") else "7z"  # newer packages have the second name only


def make_source(folder, mebibytes):
    rng = random.Random(16)
    for number in range(mebibytes):
        place = os.path.join(folder, f"{number // 16:03}")
        os.makedirs(place, exist_ok=True)
        with open(os.path.join(place, f"file {number}"), "wb") as file:
            file.write(half_compressible(rng, MIB))


def measured(words, made):
    if os.path.exists(made):
        os.remove(made)
    begin = time.perf_counter()
    process = subprocess.Popen(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.perf_counter() - begin
    assert status == 0, words
    return wall, usage.ru_utime + usage.ru_stime, os.path.getsize(made)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tool", help="the hdiutil to measure")
    parser.add_argument("--mebibytes", type=int, default=256)
    parser.add_argument("--runs", type=int, default=9)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="compressors-") as work:
        source, tar = os.path.join(work, "source"), os.path.join(work, "all.tar")
        make_source(source, arguments.mebibytes)
        subprocess.run(["tar", "cf", tar, "-C", source, "."], check=True)
        image = os.path.join(work, "made.dmg")
        rows = {name: ([arguments.tool, "create", "-quiet", "-ov", "-srcfolder", source, "-volname", "V", "-format", name,
                        image], image) for name in ("UDZO", "ULFO", "ULMO", "UDBZ")}
        for kind, level in (("gzip", "-mx5"), ("zip", "-mx1"), ("xz", "-mx5"), ("bzip2", "-mx5")):
            archive = os.path.join(work, "made." + kind)
            rows[f"7-Zip {kind} {level}"] = ([SEVEN_ZIP, "a", "-t" + kind, level, archive, tar], archive)
        rows["xz -T0"] = (["xz", "-k", "-f", "-T0", tar], tar + ".xz")
        results = {name: [] for name in rows}
        for _ in range(arguments.runs):
            for name, (words, made) in rows.items():
                results[name].append(measured(words, made))
        print(f"{arguments.mebibytes} MiB, {len(os.sched_getaffinity(0))} cores, medians of {arguments.runs}")
        for name, taken in results.items():
            wall, processor, size = map(statistics.median, zip(*taken))
            print(f"| {name} | {wall:.2f} s | {processor:.2f} s | {size / MIB:.1f} MiB |")


if __name__ == "__main__":
    main()
