#!/usr/bin/env python3
"""Whole runs of the built installer, with the real disk-image tool, in which one thing goes wrong.

    tests/torture/torture.py kills   [--points N]            kill -9 at N places, then a start: nothing may be left
    tests/torture/torture.py calls   [--every N] [PROGRAM…]  each system call that may fail fails once, with each error
    tests/torture/torture.py memory  [--every N]             each allocation of our own code fails once
    tests/torture/torture.py threads                         each start of a thread fails once

--build FOLDER: what to run (build). --state FILE: points that are done are noted there and not done again, so that a
long series can be cut off and gone on with. --minutes M: stops by itself. --list: shows the points only. Needs a display (.ci/with-display).
Prints each point that ended badly, and "N of N" at the end; the status tells.
"""

import argparse
import collections
import json
import pathlib
import struct
import sys
import time

sys.dont_write_bytecode = True

import supervisor  # noqa: E402  (no compiled files beside the sources)
import whole_run  # noqa: E402

SAMPLE = 24  # points
OURS = ("QNInstaller", "hdiutil", "ifconfig", "system_profiler")


def started(world, decide, **environment):
    return supervisor.Supervised([str(world.stage.executable)], world.environment(**environment), world.stage.console,
                                 decide)


class Series:
    """Points, each a name and a function that says what was wrong there."""

    def __init__(self, options, portal):
        self.options = options
        self.portal = portal
        self.build = options.build.resolve()

    def world(self):
        return whole_run.World(self.build, self.portal)

    def recorded_run(self):
        """The calls of a run in which nothing fails, in their order."""
        calls = []
        world = self.world()
        try:
            process = started(world, lambda call, asked: calls.append(call))
            problems = whole_run.judge(process, world)
            if problems or process.status != 0 or not world.installer_ran():
                raise SystemExit(f"the run without a fault is not good: {process.status} {problems}")
            return calls
        finally:
            world.close()


class Kills(Series):
    """The installer dies before its N-th system call, and is started again."""

    def points(self):
        last = sum(call.program == "QNInstaller" for call in self.recorded_run())
        count = self.options.points
        return [str(1 + (last - 1) * index // max(count - 1, 1)) for index in range(count)]

    def run(self, point):
        world = self.world()
        try:
            hits = []
            first = started(world, supervisor.killing_at(int(point), "QNInstaller", hits))
            whole_run.await_end(first, world)
            second = started(world, supervisor.let_through)
            problems = whole_run.judge(second, world)
            if second.status != 0 or not world.installer_ran():
                problems.append(f"the next start ended with {second.status}")
            return problems, bool(hits)
        finally:
            world.close()


class Calls(Series):
    """One system call fails once."""

    def points(self):
        wanted = self.options.programs or OURS
        # Threads and processes come in another order each time; the number of their calls hardly changes.
        return [json.dumps([*call, error]) for call in sorted(self.recorded_run()) if call.program in wanted
                for error in supervisor.ERRORS[call.name]]

    def run(self, point):
        program, name, number, error = json.loads(point)
        world = self.world()
        try:
            hits = []
            process = started(world, supervisor.failing_once(supervisor.Call(program, name, number), error, hits))
            problems = whole_run.judge(process, world)
            # Before main the loader has the word: it ends the program, with a line or without.
            loading = hits and hits[0].startswith("ld-linux") and not world.log()
            return ([] if loading and not world.leftovers() else problems), bool(hits)
        finally:
            world.close()


class Refusals(Series):
    """One request of the program, for memory or for a thread, is refused once by a preloaded library."""

    WORD = ""
    PLACE = 0  # in the file of counts

    @property
    def library(self):
        return self.build / "tests/torture/libfail_once.so"

    def start(self, world, program, number):
        counts = world.folder / "counts"
        counts.write_bytes(bytes(16))
        environment = {"LD_PRELOAD": str(self.library), "TORTURE_PROGRAM": program, "TORTURE_COUNTS": str(counts)}
        if number:
            environment["TORTURE_FAIL"] = f"{self.WORD} {number}"
        return started(world, supervisor.let_through, **environment)

    def count(self, world):
        return struct.unpack("=2Q", (world.folder / "counts").read_bytes())[self.PLACE]

    def points(self):
        points = []
        for program in self.options.programs or OURS:
            world = self.world()
            try:
                whole_run.await_end(self.start(world, program, 0), world)
                points += [f"{program} {number + 1}" for number in range(self.count(world))]
            finally:
                world.close()
        return points

    def run(self, point):
        program, number = point.split()
        world = self.world()
        try:
            process = self.start(world, program, int(number))
            problems = whole_run.judge(process, world)
            return problems, self.count(world) >= int(number)
        finally:
            world.close()


class Memory(Refusals):
    WORD, PLACE = "new", 0


class Threads(Refusals):
    WORD, PLACE = "thread", 1


KINDS = {"kills": Kills, "calls": Calls, "memory": Memory, "threads": Threads}


def done_before(path):
    return {json.loads(line)["point"] for line in path.read_text().splitlines()} if path and path.exists() else set()


def run_series(options, portal):
    series = KINDS[options.kind](options, portal)
    points = series.points()
    points = points[::max(len(points) // SAMPLE, 1)] if options.sample else points[options.first::options.every]
    if options.list:
        print("\n".join(points))
        return 0
    before = done_before(options.state)
    deadline = time.monotonic() + options.minutes * 60
    tally = collections.Counter()
    for point in points:
        if point in before:
            tally["before"] += 1
            continue
        if time.monotonic() > deadline:
            break
        problems, hit = series.run(point)
        tally["bad" if problems else "good"] += 1
        tally["missed"] += not hit
        if problems:
            print(f"BAD {options.kind} {point}: {'; '.join(problems)}", flush=True)
        if options.state:
            with open(options.state, "a", encoding="utf-8") as state:
                state.write(json.dumps({"point": point, "problems": problems, "hit": hit}) + "\n")
    done = tally["good"] + tally["bad"]
    print(f"{options.kind}: {tally['good']} of {done} good ({tally['missed']} did not come to their point), "
          f"{tally['before']} done before, {len(points)} points")
    return 1 if tally["bad"] else 0


def parse(words):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("kind", choices=KINDS)
    parser.add_argument("programs", nargs="*")
    parser.add_argument("--points", type=int, default=45)
    parser.add_argument("--every", type=int, default=1)
    parser.add_argument("--first", type=int, default=0)
    parser.add_argument("--build", type=pathlib.Path, default=whole_run.ROOT / "build")
    parser.add_argument("--state", type=pathlib.Path)
    parser.add_argument("--minutes", type=float, default=24 * 60)
    parser.add_argument("--sample", action="store_true", help="a part that takes about half a minute")
    parser.add_argument("--list", action="store_true")
    return parser.parse_args(words)


def main():
    options = parse(sys.argv[1:])
    portal = whole_run.Portal(options.build.resolve())
    try:
        return run_series(options, portal)
    finally:
        portal.close()


if __name__ == "__main__":
    sys.exit(main())
