#!/usr/bin/env python3
"""qn-portal's verbs log and report on what the installer itself writes and posts: two runs, one good, one with an image that
cannot be mounted."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD = os.environ["BUILD"]
PROGRAM = os.path.join(BUILD, "qn-portal")
MAIN_JOB = pathlib.Path(__file__).resolve().parents[3] / "tools/run/main_job.py"


class RealRuns(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.log = pathlib.Path(cls.temporary.name, "install.log")
        cls.requests = pathlib.Path(cls.temporary.name, "requests.jsonl")
        with open(cls.log, "wb") as log, open(cls.requests, "wb") as requests:
            for ending in "install", "bad-image":
                result = subprocess.run([sys.executable, MAIN_JOB, ending, "--keep", "--build", BUILD],
                                        capture_output=True, text=True, timeout=100)
                assert result.returncode == 0, result.stdout + result.stderr
                folder = pathlib.Path(re.search("^Kept: (.*)$", result.stdout, re.MULTILINE).group(1))
                log.write(next(folder.glob("home/**/install.log")).read_bytes())
                requests.write((folder / "requests.jsonl").read_bytes())
                shutil.rmtree(folder)

    @classmethod
    def tearDownClass(cls):
        cls.temporary.cleanup()

    def printed(self, *arguments):
        return subprocess.run([PROGRAM, *map(str, arguments)], check=True, capture_output=True, text=True).stdout

    def test_the_log_shows_how_each_run_ended(self):
        verdicts = re.findall("^  => [0-9]+ s; (.*)$", self.printed("log", self.log), re.MULTILINE)
        self.assertEqual(verdicts, ["the last screen: hidden, while the installer ran. Nothing went wrong.",
                                    "the last screen: error. The image could not be mounted."])

    def test_the_log_is_json_lines_with_every_field_and_both_runs(self):
        entries = [json.loads(line) for line in self.printed("log", "--json", self.log).splitlines()]
        self.assertEqual(sorted({entry["run"] for entry in entries}), [1, 2])
        self.assertEqual([entry["event"]["EVT"] for entry in entries if entry["level"] == "EVT"],
                         ["Start", "Config", "Download", "End", "Start", "Config", "Download", "Config", "End"])
        names = {"time", "level", "message", "run", "ci", "lang", "country", "locale", "file", "fn", "line"}
        for entry in entries:
            self.assertEqual(set(entry) - {"event"}, names)

    def test_the_report_counts_both_runs(self):
        report = json.loads(self.printed("report", "--json", self.requests))
        self.assertEqual(report["funnel"], {"started": 2, "configured": 2, "downloaded": 2, "finished": 1})
        self.assertEqual([(reason["event"], reason["reason"], reason["count"]) for reason in report["reasons"]],
                         [("Config", "Configuration error", 1)])
        self.assertEqual(report["by"]["product"][0]["name"], "SampleInstaller")


if __name__ == "__main__":
    unittest.main()
