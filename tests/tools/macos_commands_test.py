#!/usr/bin/env python3
"""./run and ./test where uname says Darwin: what they need is said in one sentence, and nothing of Linux's is asked for."""

import os
import pathlib
import subprocess
import tempfile
import unittest

TREE = pathlib.Path(__file__).resolve().parents[2]
NEEDED = ("On macOS nothing is installed; Homebrew has what is needed: cmake ninja pkgconf qt nlohmann-json librsvg libicns "
          "cpp-httplib openssl python, and for the tests googletest and libplist besides.\n")
# Each notes its name and words instead of doing anything.
RECORDING = '#!/bin/sh\necho "$(basename "$0") $*" >>"$RECORD"\n'
FORBIDDEN = '#!/bin/sh\necho "$(basename "$0") is Linux\'s" >>"$RECORD"\nexit 1\n'


class OnMacos(unittest.TestCase):
    def commands_of(self, *command):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            tools = {"uname": "#!/bin/sh\necho Darwin\n", "getconf": "#!/bin/sh\necho 8\n"}
            tools |= {tool: RECORDING for tool in ("cmake", "ctest", "python3")}
            tools |= {tool: FORBIDDEN for tool in ("apt-get", "dpkg-query", "nproc", "Xvfb", "sudo")}
            for tool, text in tools.items():
                (folder / tool).write_text(text, encoding="utf-8")
                (folder / tool).chmod(0o755)
            environment = {**os.environ, "PATH": f"{folder}:{os.environ['PATH']}", "RECORD": str(folder / "record")}
            environment.pop("DISPLAY", None)
            done = subprocess.run(command, cwd=TREE, env=environment, capture_output=True, text=True, check=False)
            self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", NEEDED))
            return (folder / "record").read_text(encoding="utf-8").splitlines()

    def test_run_builds_the_program_and_the_portal_and_starts_the_job(self):
        self.assertEqual(self.commands_of("./run", "http-404"), [
            "cmake --preset dev", "cmake --build --preset dev --target QNInstaller portal",
            "python3 tools/run/main_job.py http-404"])

    def test_test_builds_everything_and_starts_no_display(self):
        self.assertEqual(self.commands_of("./test"), [
            "cmake --preset dev", "cmake --build --preset dev", "ctest --preset dev -j 8"])


if __name__ == "__main__":
    unittest.main()
