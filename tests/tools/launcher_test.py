#!/usr/bin/env python3
"""The file that users download, with a small bundle in it: whether it starts its program, and from where."""

import os
import pathlib
import plistlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools/release"))
import pack  # noqa: E402

LAUNCHER = pathlib.Path(os.environ["LAUNCHER"])
IDENTIFIER = "com.example.launcher-test"
PROGRAM = '#!/bin/sh\necho "{version} $0"\nprintf "[%s]" "$@"\ncat "$(dirname "$0")/../Resources/text"\nexec {then}\n'


class LauncherTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="launcher-"))
        self.home = self.folder / "home"
        self.home.mkdir(mode=0o700)
        self.file = self.make("one")

    def tearDown(self):
        shutil.rmtree(self.folder)

    def make(self, version, then="true", padding=0):
        contents = self.folder / version / "QNInstaller.app/Contents"
        for name in ("MacOS", "Resources"):
            (contents / name).mkdir(parents=True)
        (contents / "Info.plist").write_bytes(plistlib.dumps({"CFBundleIdentifier": IDENTIFIER}))
        program = contents / "MacOS/QNInstaller"
        program.write_text(PROGRAM.format(version=version, then=then))
        program.chmod(0o755)
        (contents / "Resources/real text").write_bytes(b"text\n" + b"x" * padding)
        (contents / "Resources/text").symlink_to("real text")
        pack.pack(contents.parent, LAUNCHER, self.folder, f"file-{version}", 0)
        return self.folder / f"file-{version}"

    def start(self, file=None, arguments=(), **variables):
        environment = {"PATH": os.environ["PATH"], "HOME": str(self.home), **variables}
        return subprocess.run([file or self.file, *arguments], env=environment, capture_output=True, text=True)

    def bundles(self, folder=None):
        return sorted(path.name for path in (folder or self.home / ".cache" / IDENTIFIER).iterdir())

    def test_starts_its_program_with_the_arguments_and_the_files_beside_it(self):
        done = self.start(arguments=["a b", ""])
        lines = done.stdout.splitlines()
        self.assertRegex(lines[0], f"^one {self.home}/.cache/{IDENTIFIER}/[0-9a-f]{{16}}/QNInstaller.app/Contents/MacOS/")
        self.assertEqual(lines[1], "[a b][]text")
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_unpacks_once_and_for_this_user_alone(self):
        self.start()
        [bundle] = self.bundles()
        folder = self.home / ".cache" / IDENTIFIER
        program = folder / bundle / "QNInstaller.app/Contents/MacOS/QNInstaller"
        first = program.stat()
        self.start()
        self.assertEqual((program.stat().st_ino, program.stat().st_mtime_ns), (first.st_ino, first.st_mtime_ns))
        self.assertEqual(self.bundles(), [bundle])
        for path in [folder, *folder.rglob("*")]:
            self.assertEqual(path.lstat().st_mode & 0o077, 0o077 if path.is_symlink() else 0, path)

    def test_unpacks_a_bundle_of_several_parts(self):
        big = self.make("big", padding=3 * pack.PART)
        self.assertEqual(self.start(big).returncode, 0)
        [bundle] = self.bundles()
        text = self.home / ".cache" / IDENTIFIER / bundle / "QNInstaller.app/Contents/Resources/text"
        self.assertEqual(text.read_bytes(), b"text\n" + b"x" * 3 * pack.PART)

    def test_starts_at_the_same_time_share_one_folder(self):
        environment = {"PATH": os.environ["PATH"], "HOME": str(self.home)}
        starts = [subprocess.Popen([self.file], env=environment, stdout=subprocess.PIPE) for _ in range(12)]
        outputs = {start.communicate()[0] for start in starts}
        self.assertEqual({start.returncode for start in starts}, {0})
        self.assertEqual(len(outputs), 1)
        self.assertEqual(len(self.bundles()), 1)

    def test_removes_what_an_older_file_left_but_not_what_still_runs(self):
        sleeper = shutil.which("sleep")
        running = self.make("running", then="$(dirname \"$0\")/../Resources/sleep 60")
        self.start()
        [first] = self.bundles()
        process = subprocess.Popen([running], env={"PATH": os.environ["PATH"], "HOME": str(self.home)},
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        process.wait()
        [second] = self.bundles()
        self.assertNotEqual(first, second)
        sleep = self.home / ".cache" / IDENTIFIER / second / "QNInstaller.app/Contents/Resources/sleep"
        shutil.copy(sleeper, sleep)
        process = subprocess.Popen([running], env={"PATH": os.environ["PATH"], "HOME": str(self.home)},
                                   stdout=subprocess.PIPE)
        process.stdout.read(len("running"))
        while pathlib.Path(f"/proc/{process.pid}/exe").resolve() != sleep:
            self.assertIsNone(process.poll())
        self.start()
        self.assertEqual(self.bundles(), sorted([first, second]))
        process.kill()
        process.communicate()
        self.start(self.make("newer"))
        self.assertEqual(len(self.bundles()), 1)

    def test_clears_away_what_an_interrupted_start_left(self):
        unfinished = self.home / ".cache" / IDENTIFIER / "unfinished/QNInstaller.app"
        unfinished.mkdir(parents=True)
        for folder in (self.home / ".cache", self.home / ".cache" / IDENTIFIER):
            folder.chmod(0o700)
        self.assertEqual(self.start().returncode, 0)
        self.assertEqual(len(self.bundles()), 1)
        self.assertFalse(unfinished.exists())

    def test_passes_over_a_folder_that_others_could_write_to(self):
        cache = self.home / ".cache" / IDENTIFIER
        cache.mkdir(parents=True)
        cache.chmod(0o777)
        runtime = self.folder / "runtime"
        runtime.mkdir(mode=0o700)
        done = self.start(XDG_RUNTIME_DIR=str(runtime))
        self.assertTrue(done.stdout.startswith(f"one {runtime}/{IDENTIFIER}/"), done)
        self.assertEqual(list(cache.iterdir()), [])

    def test_passes_over_a_link_to_a_folder_of_somebody(self):
        elsewhere = self.folder / "elsewhere"
        elsewhere.mkdir(mode=0o700)
        (self.home / ".cache").mkdir()
        (self.home / ".cache" / IDENTIFIER).symlink_to(elsewhere)
        temporary = self.folder / "temporary"
        temporary.mkdir()
        done = self.start(TMPDIR=str(temporary))
        self.assertTrue(done.stdout.startswith(f"one {temporary}/{IDENTIFIER}-{os.geteuid()}-program/"), done)
        self.assertEqual(list(elsewhere.iterdir()), [])

    def test_refuses_a_file_that_was_cut_off_anywhere(self):
        whole = self.file.read_bytes()
        size = LAUNCHER.stat().st_size
        for length in [size, *range(size + 1, len(whole), max(1, (len(whole) - size) // 40)), len(whole) - 1]:
            self.file.unlink()
            self.file.write_bytes(whole[:length])
            self.file.chmod(0o755)
            done = self.start()
            self.assertEqual((done.returncode, done.stdout), (1, ""))
            self.assertEqual(done.stderr, f"{self.file}: This file is damaged or not complete: download it again\n")

    def test_refuses_a_file_with_a_changed_byte(self):
        whole = bytearray(self.file.read_bytes())
        size = LAUNCHER.stat().st_size
        for place in range(size + 20, len(whole) - 300, max(1, (len(whole) - size) // 20)):
            changed = bytearray(whole)
            changed[place] ^= 0x55
            self.file.unlink()
            self.file.write_bytes(changed)
            self.file.chmod(0o755)
            done = self.start()
            self.assertEqual((done.returncode, done.stdout), (1, ""), place)
            self.assertFalse((self.home / ".cache" / IDENTIFIER / "unfinished").exists())

    def test_the_same_bundle_gives_the_same_bytes(self):
        contents = self.folder / "one/QNInstaller.app"
        copy = self.folder / "copy/QNInstaller.app"
        shutil.copytree(contents, copy, symlinks=True)
        pack.pack(copy, LAUNCHER, self.folder, "file-again", 0)
        self.assertEqual((self.folder / "file-again").read_bytes(), self.file.read_bytes())
        self.assertEqual((self.folder / "file-again.tar.xz").read_bytes(), (self.folder / "file-one.tar.xz").read_bytes())


if __name__ == "__main__":
    unittest.main()
