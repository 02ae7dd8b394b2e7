#!/usr/bin/env python3
"""Compares hdiutil with 7-Zip on a big disk image and prints the tables of docs/performance.md.

The image holds about 8,000 small files and one of 700 MiB, half of it compressible. Every figure is the median of
interleaved runs, once with the image in the page cache and once with nothing in it. Needs root.

What is extracted stays until a table is done, 2 GB for each run of it: ext4 does not reuse the inodes of deleted files
for minutes, and looking past them would cost whoever extracts next more than the extraction.
"""

import argparse
import os
import pathlib
import random
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
import zlib

MIB = 1 << 20
SEVEN_ZIP = "7zz" if shutil.which("7zz") else "7z"  # newer packages have the second name only
SMALL_FILES = 8000
SMALL_BYTES = 44000
BIG_BYTES = 700 * MIB


def half_compressible(rng, size):
    """Blocks of 32 KiB, noise and words in turn."""
    words = [rng.randbytes(rng.randrange(3, 12)) for _ in range(200)]
    parts = []
    left = size
    while left > 0:
        parts.append(rng.randbytes(min(left, 16384)))
        text = b" ".join(rng.choices(words, k=2200))[:16384]
        parts.append(text[:max(0, left - 16384)])
        left -= 32768
    return b"".join(parts)[:size]


def make_source(folder, scale):
    rng = random.Random(20)
    program = os.path.join(folder, "Setup.app/Contents/MacOS/setup")
    os.makedirs(os.path.dirname(program))
    with open(program, "w", encoding="ascii") as file:
        file.write("#!/bin/sh\nexit 0\n")
    os.chmod(program, 0o755)
    for number in range(int(SMALL_FILES * scale)):
        place = os.path.join(folder, "Setup.app/Contents/Resources", f"{number // 100:03}")
        os.makedirs(place, exist_ok=True)
        with open(os.path.join(place, f"file {number}"), "wb") as file:
            file.write(half_compressible(rng, rng.randrange(1000, 2 * SMALL_BYTES - 1000)))
    with open(os.path.join(folder, "Setup.app/Contents/Resources/archive"), "wb") as file:
        for _ in range(max(1, int(BIG_BYTES * scale) // MIB)):
            file.write(half_compressible(rng, MIB))


def empty_page_cache():
    """What earlier runs wrote must neither be waiting for the disk nor for room in memory."""
    os.sync()
    with open("/proc/sys/vm/drop_caches", "w", encoding="ascii") as file:
        file.write("1")


def with_libraries(program):
    """All files that a start of it loads. They stay in the cache: their disk is not what is compared."""
    lines = subprocess.run(["ldd", program], check=True, capture_output=True, text=True).stdout.splitlines()
    return [program] + [word for line in lines for word in line.split() if word.startswith("/")]


def warm(path):
    with open(path, "rb") as file:
        while file.read(8 * MIB):
            pass


class Bench:
    def __init__(self, tool, codec, work, runs):
        self.tool = tool
        self.codec = codec
        self.runs = runs
        self.daemon_seconds = 0.0
        self.work = work
        self.root = os.path.join(work, "root")
        self.temporary = os.path.join(work, "tmp")
        os.makedirs(self.root)
        os.makedirs(self.temporary)
        self.kept = os.path.join(work, "kept")
        os.makedirs(self.kept)
        self.programs = with_libraries(tool) + with_libraries(shutil.which(SEVEN_ZIP))
        os.environ["QN_SYSTEM_ROOT"] = self.root
        os.environ["TMPDIR"] = self.temporary
        self.volume = os.path.join(self.root, "Volumes", "Bench")

    def run(self, *words, **options):
        subprocess.run(words, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)

    def mount(self, image, *options):
        """Seconds from exec until the first executable has run its first bytes through us."""
        quiet = [(os.POSIX_SPAWN_OPEN, fd, os.devnull, os.O_WRONLY, 0) for fd in (1, 2)]
        words = [self.tool, "mount", *options, image]
        begin = time.perf_counter()
        _, status = os.waitpid(os.posix_spawn(self.tool, words, os.environ, file_actions=quiet), 0)
        assert status == 0
        with open(os.path.join(self.volume, "Setup.app/Contents/MacOS/setup"), "rb") as file:
            assert file.read(2) == b"#!"
        return time.perf_counter() - begin

    def detach(self):
        # The daemon is nobody's child here, so its processor time is asked for before it ends. A check beside the reads
        # keeps no descriptor in the volume, so this is never busy.
        with open(os.path.join(self.root, "Volumes/.hdiutil/disk2"), encoding="utf-8") as file:
            pid = next(line.split("\t")[1] for line in file if line.startswith("process"))
        if os.path.exists(f"/proc/{pid}/stat"):
            with open(f"/proc/{pid}/stat", encoding="utf-8") as file:
                ticks = file.read().rsplit(")", 1)[1].split()[11:13]
            self.daemon_seconds += sum(map(int, ticks)) / os.sysconf("SC_CLK_TCK")
        self.run(self.tool, "detach", "disk2")

    def first_executable(self, image, *options):
        seconds = self.mount(image, *options)
        self.detach()
        return seconds

    def read_volume(self):
        self.run("sh", "-c", 'find "$0" -type f -print0 | xargs -0 -n 1000 -P 2 cat', self.volume)

    def read_all(self, image, *options):
        """Exec to the last byte of the last file, by two readers."""
        begin = time.perf_counter()
        self.mount(image, *options)
        self.read_volume()
        seconds = time.perf_counter() - begin
        self.detach()
        return seconds

    def resident(self, image):
        """MiB that the daemon grows by while everything is read."""
        self.mount(image, "-noverify")
        text = subprocess.run([self.tool, "info"], check=True, capture_output=True, text=True).stdout
        pid = next(line.split(":")[1].strip() for line in text.splitlines() if line.startswith("process ID"))
        idle = self.status(pid, "VmRSS")
        self.read_volume()
        peak = self.status(pid, "VmHWM")
        self.detach()
        return idle / 1024, (peak - idle) / 1024

    @staticmethod
    def status(pid, key):
        with open(f"/proc/{pid}/status", encoding="ascii") as file:
            return next(int(line.split()[1]) for line in file if line.startswith(key))

    def extract(self, image):
        """The same verb where /dev/fuse is a plain file; the wrapper's own time counts too."""
        nothing = os.path.join(self.work, "no-fuse")
        open(nothing, "wb").close()
        begin = time.perf_counter()
        self.run("unshare", "-m", "--propagation", "slave", "sh", "-c",
                 'mount --bind "$1" /dev/fuse && shift && exec "$@"', "sh", nothing, self.tool, "mount", image)
        seconds = time.perf_counter() - begin
        [extracted] = pathlib.Path(self.temporary).glob("*/*/Setup.app")
        shutil.copytree(extracted, self.new_place(), copy_function=os.link)
        self.detach()
        return seconds

    def new_place(self):
        return os.path.join(self.kept, str(len(os.listdir(self.kept))))

    def remove_kept(self):
        shutil.rmtree(self.kept)
        os.makedirs(self.kept)

    def seven_zip(self, image):
        out = self.new_place()
        begin = time.perf_counter()
        self.run(SEVEN_ZIP, "x", "-y", "-o" + out, image)
        return time.perf_counter() - begin

    def decode_only(self, image):
        begin = time.perf_counter()
        self.run(self.tool, "verify", image)
        return time.perf_counter() - begin

    def codec_alone(self, image):
        """Not from exec: the program reads all chunks into memory first, and times only their decoding."""
        return float(subprocess.run([self.codec, image], check=True, capture_output=True, text=True).stdout)

    def interleaved(self, image, measures, cold):
        results = {name: [] for name in measures}
        for _ in range(self.runs):
            for name, measure in measures.items():
                empty_page_cache()
                for path in self.programs + ([] if cold else [image]):
                    warm(path)
                before = self.processor_seconds()
                results[name].append((measure(image), self.processor_seconds() - before))
        return {name: tuple(map(statistics.median, zip(*values))) for name, values in results.items()}

    def processor_seconds(self):
        usage = resource.getrusage(resource.RUSAGE_CHILDREN)
        return usage.ru_utime + usage.ru_stime + self.daemon_seconds


def seconds(value):
    return f"{value * 1000:.1f} ms" if value < 0.1 else f"{value:.2f} s"


def compare(bench, image, measures, reference):
    print(f"\n{os.path.basename(image)}: {os.path.getsize(image) / 1e6:.0f} MB, median of {bench.runs} interleaved runs\n")
    print("| What | warm | of 7-Zip's | processor time | of 7-Zip's | image not in the cache | of 7-Zip's |")
    print("|---|---|---|---|---|---|---|")
    warm_times = bench.interleaved(image, measures, cold=False)
    cold_times = bench.interleaved(image, measures, cold=True)
    bench.remove_kept()
    for name in measures:
        cells = [name]
        for times, kind in ((warm_times, 0), (warm_times, 1), (cold_times, 0)):
            ratio = times[name][kind] / times[reference][kind]
            cells += [seconds(times[name][kind]), f"1/{1 / ratio:.0f}" if 0 < ratio < 0.1 else f"{ratio:.2f}"]
        print("| " + " | ".join(cells) + " |")
    sys.stdout.flush()


def zlib_once(source):
    """One thread, level 6, the same bytes in pieces of 1 MiB; seconds and bytes."""
    begin = time.perf_counter()
    total = 0
    for folder, _, names in os.walk(source):
        for name in names:
            with open(os.path.join(folder, name), "rb") as file:
                while piece := file.read(MIB):
                    total += len(zlib.compress(piece, 6))
    return time.perf_counter() - begin, total


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("tool", help="the built hdiutil")
    parser.add_argument("codec", help="the built chunk_bench")
    parser.add_argument("--work", default=".", help="where a folder of up to 50 GB is made and removed")
    parser.add_argument("--runs", type=int, default=9)
    parser.add_argument("--other-runs", type=int, default=3, help="for the other formats, which take much longer")
    parser.add_argument("--scale", type=float, default=1.0, help="of the number and size of the files")
    parser.add_argument("--formats", default="UDZO,ULFO,UDBZ,ULMO")
    arguments = parser.parse_args()
    tool = os.path.abspath(arguments.tool)
    with tempfile.TemporaryDirectory(dir=arguments.work, prefix="bench-") as work:
        run_all(Bench(tool, os.path.abspath(arguments.codec), os.path.abspath(work), arguments.runs), arguments)


def run_all(bench, arguments):
    source = os.path.join(bench.work, "source")
    make_source(source, arguments.scale)
    print(f"Comparator: {SEVEN_ZIP} x -y -oDIR IMAGE,", subprocess.run([SEVEN_ZIP], capture_output=True, text=True,
                                                                       check=False).stdout.split("\n")[1])
    for number, kind in enumerate(arguments.formats.split(",")):
        image = os.path.join(bench.work, kind + ".dmg")
        warm_source = zlib_once(source) if kind == "UDZO" else None
        begin = time.perf_counter()
        bench.run(bench.tool, "create", "-srcfolder", source, "-volname", "Bench", "-format", kind, image)
        creation = time.perf_counter() - begin
        print(f"\ncreate -format {kind}: {seconds(creation)}, {os.path.getsize(image) / 1e6:.0f} MB")
        if warm_source:
            print(f"zlib level 6, one thread: {seconds(warm_source[0])}, {warm_source[1] / 1e6:.0f} MB")
        if number > 0:
            bench.runs = arguments.other_runs
        measures = {
            "7-Zip: extract": bench.seven_zip,
            "mount to first executable, -noverify": lambda i: bench.first_executable(i, "-noverify"),
            "mount to first executable": bench.first_executable,
            "mount and read every byte, -noverify": lambda i: bench.read_all(i, "-noverify"),
            "mount and read every byte": bench.read_all,
            "mount without FUSE (extraction)": bench.extract,
            "verify (decode everything, all cores)": bench.decode_only,
            "the codec alone, all cores": bench.codec_alone,
        }
        compare(bench, image, measures, "7-Zip: extract")
        idle, growth = bench.resident(image)
        print(f"\nresident memory of the daemon: idle {idle:.1f} MiB, {growth:.1f} MiB more at most while all is read")
        os.remove(image)


if __name__ == "__main__":
    main()
