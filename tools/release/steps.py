"""How the release scripts run programs and tell of it: one line a step, with the time that it took."""

import contextlib
import os
import subprocess
import sys
import time


class Failed(Exception):
    """What stops a release, in one sentence."""


@contextlib.contextmanager
def step(text):
    begin = time.monotonic()
    print(f"{text} …", file=sys.stderr, flush=True)
    yield
    print(f"{text}: {time.monotonic() - begin:.0f} s", file=sys.stderr, flush=True)


def run(command, log, folder=None, environment=None):
    """Runs to the end. What the program prints goes to `log`, whose end is shown when the program fails."""
    with open(log, "ab") as output:
        output.write(f"+ {' '.join(map(str, command))}\n".encode())
        output.flush()
        done = subprocess.run(command, cwd=folder, stdout=output, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                              env={**os.environ, **(environment or {})})
    if done.returncode != 0:
        with open(log, errors="replace") as lines:
            print("".join(lines.readlines()[-40:]), file=sys.stderr)
        raise Failed(f"{command[0]} failed, see {log}")
