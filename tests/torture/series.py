"""What can go wrong in a whole run, and where: each class is one kind, with its points and what is bad there."""

import json
import os
import signal
import struct
import subprocess
import time

import supervisor
import whole_run

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


class Places(Series):
    """Something happens before the installer's N-th system call, at places all over the run."""

    def points(self):
        last = sum(call.program == "QNInstaller" for call in self.recorded_run())
        count = self.options.points
        return [str(1 + (last - 1) * index // max(count - 1, 1)) for index in range(count)]


class Signals(Places):
    """Somebody asks the installer to end."""

    def run(self, point):
        number = (signal.SIGTERM, signal.SIGINT, signal.SIGHUP)[int(point) % 3]
        world = self.world()
        try:
            hits = []
            process = started(world, supervisor.acting_at(int(point), "QNInstaller",
                                                          lambda pid: os.kill(pid, number), hits))
            problems = whole_run.judge(process, world, ends_early=True)
            # Before the first entry of the log there is nothing to end in order.
            expected = (0, -number) if not world.log() else (0,)
            if process.status in expected:
                problems = [problem for problem in problems if not problem.startswith("ended by")]
            else:
                problems.append(f"status {process.status}")
            return problems, bool(hits)
        finally:
            world.close()


class Displays(Places):
    """The display goes away."""

    def run(self, point):
        world = self.world()
        try:
            hits = []
            process = started(world, supervisor.acting_at(int(point), "QNInstaller", supervisor.break_display, hits))
            problems = whole_run.judge(process, world, ends_early=True)
            if process.status != 0 and world.log():
                problems.append(f"status {process.status}")
            return problems, bool(hits)
        finally:
            world.close()


class Disks(Series):
    """Home or the temporary folder is on a disk of so many KiB. Mounting one takes the superuser."""

    def points(self):
        return [f"{name} {size}" for name in ("home", "tmp") for size in range(4, 4 * self.options.points, 4)]

    def run(self, point):
        name, size = point.split()
        world = self.world()
        folder = world.folder / name
        try:
            subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size}k,mode=0700", "torture", folder], check=True)
            process = started(world, supervisor.let_through)
            # On a full disk a line of the log may well be missing its end.
            return [problem for problem in whole_run.judge(process, world)
                    if not problem.startswith(("torn line", f"mounted: {folder}"))], True
        finally:
            subprocess.run(["umount", "-l", folder], check=False)
            world.close()


class Crowds(Series):
    """So many copies of the program at once: one stays, and the others leave without a word."""

    def points(self):
        users = ["users 2"] if os.geteuid() == 0 else []  # only the superuser can become another
        return ["copies 200", "products 10", "addresses 20", *users]

    def run(self, point):
        name, count = point.split()
        return getattr(self, name)(int(count)), True

    def copies(self, count):
        world = self.world()
        (world.folder / "system/proc/net/route").write_text(whole_run.stage.NO_ROUTES)  # the one that stays waits
        try:
            crowd = [subprocess.Popen([world.stage.executable], env=world.environment(), stderr=world.stage.console)
                     for _ in range(count)]
            deadline = time.monotonic() + 60
            while sum(copy.poll() is None for copy in crowd) > 1 and time.monotonic() < deadline:
                time.sleep(0.05)
            staying = [copy for copy in crowd if copy.poll() is None]
            problems = [] if len(staying) == 1 else [f"{len(staying)} of {count} stay"]
            for copy in staying:
                copy.terminate()
            problems += [f"status {copy.wait()}" for copy in crowd if copy.wait() != 0]
            starts = world.log().count(b" start.")
            return problems + ([] if starts == 1 else [f"{starts} starts in the log"]) + world.torn_lines()
        finally:
            world.close()

    def products(self, count):
        """Several programs of other names that keep one log."""
        worlds = [self.world() for _ in range(count)]
        try:
            for number, world in enumerate(worlds):
                world.rename(f"com.example.torture{os.getpid()}n{number}")
            home = str(worlds[0].stage.home)
            crowd = [subprocess.Popen([world.stage.executable], env=world.environment(HOME=home),
                                      stderr=world.stage.console) for world in worlds]
            problems = [f"status {process.wait(60)}" for process in crowd if process.wait(60) != 0]
            ends = worlds[0].log().count(b'"EVT":"End"')
            return problems + worlds[0].torn_lines() + ([] if ends == count else [f"{ends} of {count} ends in the log"])
        finally:
            for world in worlds:
                world.close()


    def addresses(self, count):
        """Addresses of the program's scheme that the desktop hands over at once."""
        world = self.world()
        (world.folder / "system/proc/net/route").write_text(whole_run.stage.NO_ROUTES)
        with subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address"], stdout=subprocess.PIPE,
                              text=True) as bus:
            try:
                environment = world.environment(DBUS_SESSION_BUS_ADDRESS=bus.stdout.readline().strip())
                program = subprocess.Popen([world.stage.executable], env=environment, stderr=world.stage.console)
                whole_run.await_log(world, b"Show NoInternet screen")
                words = [world.stage.executable, "--open-url", "qnd://nothing"]
                crowd = [subprocess.Popen(words, env=environment) for _ in range(count)]
                problems = [f"status {process.wait(30)}" for process in crowd if process.wait(30) != 0]
                program.terminate()
                if program.wait(30) != 0:
                    problems.append(f"the program ended with {program.returncode}")
                return problems + world.torn_lines()
            finally:
                bus.terminate()
                world.close()

    def users(self, count):
        """Users who share the machine's temporary folder."""
        worlds = [self.world() for _ in range(count)]
        shared = worlds[0].folder / "shared"
        try:
            shared.mkdir()
            shared.chmod(0o1777)
            crowd = []
            for number, world in enumerate(worlds):
                user = 0 if number == 0 else 64000 + number
                world.folder.chmod(0o755)
                subprocess.run(["chown", "-R", str(user), *world.folder.iterdir()] if number else ["true"], check=True)
                crowd.append(subprocess.Popen([world.stage.executable], env=world.environment(TMPDIR=str(shared)),
                                              stderr=world.stage.console, user=user, group=user, extra_groups=[]))
            problems = [f"status {process.wait(60)}" for process in crowd if process.wait(60) != 0]
            return problems + [f"no installer in {world.folder}" for world in worlds if not world.installer_ran()]
        finally:
            for world in worlds:
                world.close()


class Kills(Places):
    """The installer dies, and is started again."""

    def run(self, point):
        world = self.world()
        try:
            hits = []
            first = started(world, supervisor.acting_at(int(point), "QNInstaller",
                                                        lambda pid: os.kill(pid, signal.SIGKILL), hits))
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


KINDS = {"kills": Kills, "calls": Calls, "memory": Memory, "threads": Threads, "signals": Signals,
         "displays": Displays, "disks": Disks, "crowds": Crowds}
