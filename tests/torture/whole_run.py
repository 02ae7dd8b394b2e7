"""Whole runs of the built installer in a world of their own, and what such a run must not leave behind."""

import json
import os
import pathlib
import plistlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import types

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tools/run"))

import stage  # noqa: E402  (found by the path above)

OPTIONS = types.SimpleNamespace(language="en_US.UTF-8", bundle=None)
QUIET_SECONDS = 0.4  # a run that says nothing for so long on a screen that waits for its user does wait
LONGEST_SECONDS = 75  # sixty without a byte, and what a busy machine adds
END_SECONDS = 10  # five until an end signal is obeyed whatever happens, and the same again
# What the log says of a run that waits for its user. The last stays on the screen that it had.
WAITING_SCREENS = ("Show generic error screen.", "Show NoInternet screen", "Show generic download screen.",
                   "Unmount DMG error: ")
LOG_LINE = re.compile(rb'\{ "time": "[^"]*","ci": "[^"]*", "trace": "\w+", "message":.*, "lang": .* \}\Z', re.DOTALL)


class Portal:
    """One portal for all runs of a series."""

    def __init__(self, build):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="torture-portal-"))
        scene = stage.Stage(build, self.folder, OPTIONS)
        scene.console.close()
        self.log = open(self.folder / "portal.log", "wb")
        self.process = subprocess.Popen(
            [build / "tools/portal/portal", "--command-line-args", stage.ARGUMENT, "--image",
             scene.make_image(["Setup"])], stdout=subprocess.PIPE, stderr=self.log)
        self.configuration = json.loads(self.process.stdout.readline())["config"]

    def close(self):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()
        self.log.close()
        shutil.rmtree(self.folder)


class World:
    """Home, temporary folder, runtime folder and bundle of some runs one after the other."""

    def __init__(self, build, portal):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="torture-"))
        self.stage = stage.Stage(build, self.folder, OPTIONS)
        self._make_bundle(build, portal.configuration)

    def _make_bundle(self, build, configuration):
        built = (build / "QNInstaller.app/Contents").resolve()
        contents = self.stage.bundle / "Contents"
        (contents / "MacOS").mkdir(parents=True)
        shutil.copy(built / "MacOS/QNInstaller", contents / "MacOS/QNInstaller")
        for name in ("Resources", "SystemRoot", "PlugIns"):
            (contents / name).symlink_to(built / name)
        info = plistlib.loads((built / "Info.plist").read_bytes())
        info.update({"CFBundleIdentifier": f"com.example.torture{os.getpid()}", "QNEnv": "dev1"})
        info["QNConfig"].update({"DEV1_URL": configuration, "kQNApplicationDataPathDev1": stage.DATA_PATH})
        (contents / "Info.plist").write_bytes(plistlib.dumps(info))
        routes = self.folder / "system/proc/net/route"
        routes.parent.mkdir(parents=True)
        routes.write_text(stage.SOME_ROUTE)
        (routes.parent / "ipv6_route").write_text("")

    def rename(self, identifier):
        path = self.stage.bundle / "Contents/Info.plist"
        info = plistlib.loads(path.read_bytes())
        info["CFBundleIdentifier"] = identifier
        path.write_bytes(plistlib.dumps(info))

    def environment(self, **more):
        return dict(self.stage.environment(), **more)

    def tool(self, *words):
        return subprocess.run([self.stage.image_tool, *words], env=self.environment(), capture_output=True, text=True,
                              check=False, timeout=20)

    def log(self):
        path = self.stage.log_path
        return path.read_bytes() if path.exists() else b""

    def console(self):
        return (self.folder / "console").read_text(errors="replace")

    def installer_ran(self):
        return (self.stage.home / "installer-arguments").exists()

    # What is left

    def mounts(self):
        table = pathlib.Path("/proc/self/mountinfo").read_text(errors="replace")
        return [line.split()[4] for line in table.splitlines() if str(self.folder) in line]

    def processes(self):
        """Processes that know of this world, by their environment: the tool's daemons among them."""
        mark = str(self.folder).encode()
        found = []
        for entry in pathlib.Path("/proc").iterdir():
            if not entry.name.isdigit() or int(entry.name) == os.getpid():
                continue
            try:
                if mark in (entry / "environ").read_bytes() and (entry / "stat").read_text().rsplit(")")[-1][1] != "Z":
                    found.append(f"{entry.name} {(entry / 'cmdline').read_bytes().decode(errors='replace')}")
            except OSError:  # it has ended meanwhile
                continue
        return found

    def leftovers(self):
        left = [f"mounted: {path}" for path in self.mounts()] + [f"running: {text}" for text in self.processes()]
        temporary = self.folder / "tmp"
        left += [f"file: {path}" for path in temporary.rglob("CFNetworkDownload_*")]
        left += [f"file: {path}" for path in temporary.glob("hdiutil-*")]
        for volumes in (self.folder / "system/Volumes", self.folder / "runtime/Volumes"):
            left += [f"file: {path}" for path in (volumes.iterdir() if volumes.is_dir() else ())]
        return left

    def settled_leftovers(self):
        """Gives what ends by itself a moment for it."""
        deadline = time.monotonic() + 5
        while (left := self.leftovers()) and time.monotonic() < deadline:
            time.sleep(0.02)
        return left

    def torn_lines(self):
        log = self.log()
        if not log:
            return []
        lines = log.split(b"\r\n")
        torn = [line for line in lines[:-1] if not LOG_LINE.match(line)]
        return torn + ([lines[-1]] if lines[-1] else [])

    def close(self):
        for text in self.processes():
            try:
                os.kill(int(text.split()[0]), signal.SIGKILL)
            except ProcessLookupError:
                continue
        for path in reversed(self.mounts()):
            subprocess.run(["umount", "-l", path], check=False, capture_output=True)
        self.stage.console.close()
        shutil.rmtree(self.folder, ignore_errors=True)


def await_log(world, text):
    deadline = time.monotonic() + LONGEST_SECONDS
    while text not in world.log():
        if time.monotonic() > deadline:
            raise RuntimeError(f"waited in vain for {text!r}")
        time.sleep(0.01)


def await_end(process, world):
    """Waits for the end of a run; asks one that waits for its user to end. The status, and what was wrong with that."""
    begin = last_change = time.monotonic()
    asked = 0.0
    seen = None
    while process.poll() is None:
        now = time.monotonic()
        size = (len(world.log()), len(world.console()))
        if size != seen:
            seen, last_change = size, now
        waits = any(screen.encode() in world.log()[-4000:] for screen in WAITING_SCREENS)
        if not asked and waits and now - last_change > QUIET_SECONDS:
            process.send(signal.SIGTERM)
            asked = now
        if not asked and now - begin > LONGEST_SECONDS:
            return kill(process), "waits for nothing that the user could see"
        if asked and now - asked > END_SECONDS:
            return kill(process), "does not obey the end signal"
        time.sleep(0.01)
    return process.poll(), ""


def kill(process):
    process.send(signal.SIGKILL)
    while process.poll() is None:
        time.sleep(0.01)
    return process.poll()


def judge(process, world, ends_early=False):
    """What is wrong with a run in which one thing failed: a list of sentences, empty for nothing. One that was made to
    end early need not say why the installer did not run."""
    status, wrong = await_end(process, world)
    problems = [wrong] if wrong else []
    if not wrong and status < 0:
        problems.append(f"ended by {signal.Signals(-status).name}")
    if status > 0 and not world.console().strip():
        problems.append(f"status {status} without a word")
    problems += [f"torn line: {line!r}" for line in world.torn_lines()]
    told = b'"trace": "ERROR"' in world.log() or world.console().strip()
    if not world.installer_ran() and not told and not ends_early:
        problems.append("the installer did not run and nothing says why")
    try:
        world.tool("info")  # a failed run leaves its volume; the next call takes it back
    except subprocess.TimeoutExpired:
        problems.append("the disk-image tool does not answer")
    return problems + world.settled_leftovers()
