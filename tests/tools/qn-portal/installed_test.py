#!/usr/bin/env python3
"""qn-portal as `cmake --install` puts it in place: program, bundle, manual page and completion."""

import os
import pathlib
import re
import subprocess
import tempfile
import unittest

BUILD = os.environ["BUILD"]
CMAKE = os.environ.get("CMAKE", "cmake")
VERBS = ("brand", "check", "log", "report", "serve")
OPTION = re.compile(r"(?<![\w-])--[a-z-]+")


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.top = pathlib.Path(cls.temporary.name)
        subprocess.run([CMAKE, "--install", BUILD, "--component", "portal-tools", "--prefix", cls.top / "usr"], check=True,
                       stdout=subprocess.DEVNULL)
        cls.program = cls.top / "usr/bin/qn-portal"

    @classmethod
    def tearDownClass(cls):
        cls.temporary.cleanup()

    def run_program(self, *words, **options):
        return subprocess.run([self.program, *words], capture_output=True, text=True, check=False, timeout=100, **options)

    def completed(self, *words):
        """What the completion offers for the last word."""
        script = (f'. {self.top}/usr/share/bash-completion/completions/qn-portal; COMP_WORDS=("$@"); '
                  'COMP_CWORD=$(($# - 1)); _qn_portal; printf "%s\\n" "${COMPREPLY[@]}"')
        path = f"{self.program.parent}:{os.environ['PATH']}"
        return subprocess.run(["bash", "-c", script, "bash", "qn-portal", *words], capture_output=True, text=True, check=True,
                              env={**os.environ, "PATH": path}).stdout.split()

    def test_shows_a_brand_without_a_display(self):
        without = {name: value for name, value in os.environ.items() if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
        self.assertEqual(self.run_program("brand", "new", "kit", cwd=self.top).returncode, 0)
        shown = self.run_program("brand", "preview", "kit", "de", "ja", cwd=self.top, env=without)
        self.assertEqual((shown.returncode, shown.stderr), (0, ""))
        pictures = sorted(path.name for path in (self.top / "kit-preview").iterdir())
        self.assertEqual(pictures, ["contact-sheet.png"] + [f"de-{screen}.png" for screen in (
            "alert", "connecting", "download", "error", "no-internet")] + ["index.html"] + [f"ja-{screen}.png" for screen in (
                "alert", "connecting", "download", "error", "no-internet")])

    def test_checks_the_bundle_that_lies_beside_it(self):
        bundle = self.top / "usr/lib/qn-portal/QNInstaller.app"
        checked = self.run_program("check", "--offline", "--json", bundle)
        self.assertEqual(checked.returncode, 0, checked.stdout)  # the sample's addresses are warnings
        self.assertNotIn("bundle-text-fit", checked.stdout)

    def test_the_manual_page_and_the_completion_know_every_option(self):
        page = (self.top / "usr/share/man/man1/qn-portal.1").read_text()
        for verb in VERBS:
            options = set(OPTION.findall(self.run_program(verb, "--help").stdout))
            told = page.split(f'.SH "QN-PORTAL {verb.upper()}"')[1].split(".SH")[0]
            self.assertLessEqual(options, set(OPTION.findall(told)), verb)
            listed = {line.split()[0].split("=")[0].rstrip(",")
                      for line in self.run_program(verb, "--help").stdout.splitlines() if re.match(r"  --", line)}
            self.assertLessEqual(listed, set(self.completed(verb, "--")), verb)

    def test_the_completion_knows_verbs_faults_and_files(self):
        self.assertEqual(self.completed("s"), ["serve"])
        self.assertEqual(self.completed("brand", "p"), ["preview"])
        self.assertIn("reset-in-body", self.completed("serve", "--fault", "reset"))
        (self.top / "config.json").write_text("{}")
        self.assertEqual(self.completed("check", str(self.top / "conf")), [str(self.top / "config.json")])


if __name__ == "__main__":
    unittest.main()
