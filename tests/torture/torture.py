#!/usr/bin/env python3
"""Whole runs of the built installer, with the real disk-image tool, in which one thing goes wrong.

    tests/torture/torture.py kills   [--points N]            kill -9 at N places, then a start: nothing may be left
    tests/torture/torture.py calls   [--every N] [PROGRAM…]  each system call fails once, with each error it can have
    tests/torture/torture.py memory  [--every N]             each allocation of our own code fails once
    tests/torture/torture.py threads                         each start of a thread fails once
    tests/torture/torture.py signals [--points N]            an end signal at N places
    tests/torture/torture.py displays [--points N]           the display goes away at N places
    tests/torture/torture.py disks   [--points N]            home or the temporary folder on disks of 4, 8, … 4N KiB
    tests/torture/torture.py crowds                          200 copies at once, ten products that keep one log,
                                                             20 addresses handed over at once, two users

--build FOLDER: what to run (build). --state FILE: points that are done are noted there and not done again, so that a
long series can be cut off and gone on with. --minutes M: stops by itself. --list: shows the points only. Needs a
display (.ci/with-display).
Prints each point that ended badly, and "N of N" at the end; the status tells.
"""

import argparse
import collections
import json
import pathlib
import sys
import time

sys.dont_write_bytecode = True

import series  # noqa: E402  (no compiled files beside the sources)
import whole_run  # noqa: E402

SAMPLE = 24  # points


def done_before(path):
    return {json.loads(line)["point"] for line in path.read_text().splitlines()} if path and path.exists() else set()


def run_series(options, portal):
    kind = series.KINDS[options.kind](options, portal)
    points = kind.points()
    points = points[::max(-(-len(points) // SAMPLE), 1)] if options.sample else points[options.first::options.every]
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
        problems, hit = kind.run(point)
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
    parser.add_argument("kind", choices=series.KINDS)
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
