#!/usr/bin/env python3
"""Compares hdiutil with 7-Zip on an image of many small files: making it, reading all of them through the mount,
listing them. Prints the table of docs/performance.md. Every figure is the median of interleaved runs, from exec to the
last byte, with the image in the page cache and no dentry, inode or page of the volume. Needs root.

    bench/small_files.py HDIUTIL --files 100000 --runs 9
    taskset -c 0,1 bench/small_files.py HDIUTIL --files 100000 --runs 9
"""

import argparse
import os
import shutil
import statistics
import subprocess
import tempfile
import time

SEVEN_ZIP = "7zz" if shutil.which("7zz") else "7z"  # newer packages have the second name only
IN_FOLDER = 1000


def make_source(folder, files):
    for first in range(0, files, IN_FOLDER):
        place = os.path.join(folder, f"folder{first // IN_FOLDER:04}")
        os.makedirs(place)
        for number in range(first, min(files, first + IN_FOLDER)):
            with open(os.path.join(place, f"file{number:07}.txt"), "wb") as file:
                file.write(b"%07d " % number * 12)


def seconds(*words, **options):
    begin = time.perf_counter()
    process = subprocess.Popen(words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)
    _, status, usage = os.wait4(process.pid, 0)
    assert status == 0, words
    return time.perf_counter() - begin, usage.ru_maxrss * 1024


class Bench:
    def __init__(self, tool, work, source):
        self.tool, self.work, self.source = tool, work, source
        self.image = os.path.join(work, "many.dmg")
        os.environ["QN_SYSTEM_ROOT"] = os.path.join(work, "root")
        os.makedirs(os.environ["QN_SYSTEM_ROOT"])
        self.volume = os.path.join(work, "root/Volumes/Many")

    def create(self):
        return seconds(self.tool, "create", "-ov", "-quiet", "-srcfolder", self.source, "-volname", "Many", self.image)

    def through_mount(self, command):
        begin = time.perf_counter()
        seconds(self.tool, "mount", "-noverify", self.image)
        seconds("sh", "-c", command, "sh", self.volume)
        taken = time.perf_counter() - begin
        seconds(self.tool, "detach", self.volume)
        return taken, 0

    def measures(self):
        return {
            "create": self.create,
            "7-Zip a -tzip -mx1": lambda: seconds(SEVEN_ZIP, "a", "-tzip", "-mx1", os.path.join(self.work, "new.zip"),
                                                   self.source),
            "tar of the mount": lambda: self.through_mount('tar cf - -C "$1" . | cat >/dev/null'),
            "7-Zip x -so": lambda: seconds(SEVEN_ZIP, "x", "-so", self.image),
            "7-Zip x": lambda: seconds(SEVEN_ZIP, "x", "-y", "-o" + os.path.join(self.work, "extracted"), self.image),
            "find in the mount": lambda: self.through_mount('find "$1" -type f -size +0 | wc -l'),
            "7-Zip l": lambda: seconds(SEVEN_ZIP, "l", self.image),
        }

    def forget(self):
        for name in ("new.zip", "extracted"):
            path = os.path.join(self.work, name)
            if os.path.isdir(path):
                shutil.rmtree(path)
            elif os.path.exists(path):
                os.remove(path)
        os.sync()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("tool", help="the hdiutil to measure")
    parser.add_argument("--files", type=int, default=100000)
    parser.add_argument("--runs", type=int, default=9)
    parser.add_argument("--only", help="measures whose names hold this text, the first of which makes the image")
    parser.add_argument("--source", help="a folder to take instead of making one")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="small-files-") as work:
        source = arguments.source or os.path.join(work, "source")
        if not arguments.source:
            make_source(source, arguments.files)
        bench = Bench(os.path.abspath(arguments.tool), work, source)
        bench.create()
        results = {name: [] for name in bench.measures() if not arguments.only or arguments.only in name}
        for _ in range(arguments.runs):
            for name, taken in results.items():
                taken.append(bench.measures()[name]())
                bench.forget()
        print(f"{arguments.files} files, {len(os.sched_getaffinity(0))} cores, medians of {arguments.runs}")
        for name, taken in results.items():
            memory = statistics.median(resident for _, resident in taken)
            print(f"| {name} | {statistics.median(wall for wall, _ in taken):.2f} s | {memory / 2**20:.0f} MiB |")


if __name__ == "__main__":
    main()
