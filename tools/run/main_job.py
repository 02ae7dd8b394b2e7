#!/usr/bin/env python3
"""Runs the built installer once against a portal of its own and tells what happened.

Nothing here says what should have happened but `endings.py`, which looks only at what the event log, the portal and the
sample installer wrote down.
"""

import argparse
import os
import pathlib
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import account
import endings
import stage

BUILD = pathlib.Path(__file__).resolve().parents[2] / "build"
LONGEST_RUN = 60  # seconds


def arguments():
    parser = argparse.ArgumentParser(
        prog="./run",
        description="Builds the installer, starts it in a real window against a portal on the loopback interface, waits "
        "until it has quit, and prints what happened. On your display when there is one, else on a virtual one.",
        epilog="Endings: " + "; ".join(f"{name}: {ending.summary}" for name, ending in endings.ENDINGS.items()) + ". "
        "Endings on a screen that waits for the user are ended after --show seconds, by SIGTERM. "
        "Exit status: 0 when the ending was reached, 1 when it was not.",
    )
    parser.add_argument("ending", nargs="?", default="install", choices=endings.ENDINGS, metavar="ENDING",
                        help="what the installer is to meet (default: install)")
    parser.add_argument("--auto-open", action="store_true", help="with open-link: the link opens by itself")
    parser.add_argument("--show", type=float, default=1.0, metavar="SECONDS",
                        help="how long a screen that waits for the user stays (default: 1)")
    parser.add_argument("--language", default=None, metavar="LOCALE",
                        help="such as de_DE.UTF-8 (default: that of your session)")
    parser.add_argument("--build", type=pathlib.Path, default=BUILD, metavar="FOLDER",
                        help="whose installer to start (default: build)")
    parser.add_argument("--bundle", type=pathlib.Path, default=None, metavar="FOLDER",
                        help="the installer itself, when it is not that of --build")
    parser.add_argument("--through", type=shlex.split, default=[], metavar="COMMAND",
                        help="what starts the installer, whose path it gets as its last argument")
    parser.add_argument("--keep", action="store_true", help="keep the run's folder and print where it is")
    options = parser.parse_args()
    if options.auto_open and options.ending != "open-link":
        parser.error("--auto-open goes with open-link")
    return options


def wait_for_end(process, run_stage, ending, show):
    """Waits until the program has quit; asks it to, once the screen of the ending has stood long enough."""
    deadline = time.monotonic() + LONGEST_RUN
    while process.poll() is None and time.monotonic() < deadline:
        if ending.screen and any(ending.screen in message for message in account.log_messages(run_stage.log_path)):
            time.sleep(show)
            process.send_signal(signal.SIGTERM)
            break
        time.sleep(0.05)
    try:
        return process.wait(timeout=max(1.0, deadline - time.monotonic()))
    except subprocess.TimeoutExpired:
        process.kill()
        return None


def run_once(options, folder):
    ending = endings.chosen(options.ending, options.auto_open)
    run_stage = stage.Stage(options.build.resolve(), folder, options)
    with run_stage.portal(ending) as portal:
        run_stage.make_bundle(portal.addresses["config"], ending)
        process = subprocess.Popen([*options.through, run_stage.executable], env=run_stage.environment(), stderr=run_stage.console)
        try:
            status = wait_for_end(process, run_stage, ending, options.show)
        finally:
            process.kill()
            run_stage.detach_volumes()
    seen = account.Seen(run_stage, status)
    print(seen.text())
    missing = ending.missing(seen)
    for line in missing:
        print(f"not seen: {line}", file=sys.stderr)
    name = options.ending + (" --auto-open" if options.auto_open else "")
    print(f"The ending '{name}' was {'not ' if missing else ''}reached.")
    return 1 if missing else 0


def main():
    options = arguments()
    folder = pathlib.Path(tempfile.mkdtemp(prefix="installer-run-"))
    try:
        return run_once(options, folder)
    finally:
        if options.keep:
            print(f"Kept: {folder}")
        else:
            shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    os.environ.pop("QN_SYSTEM_ROOT", None)
    sys.exit(main())
