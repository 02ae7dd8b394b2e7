#!/usr/bin/env python3
"""The script behind ./run: what counts as an ending reached, and whole runs of the installer built in $BUILD."""

import os
import pathlib
import subprocess
import sys
import types
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tools/run"))

import endings  # noqa: E402  (found by the path above)

LINK_EVENTS = [("Start", None), ("Config", "PASS"), ("End", None)]


def records(**changes):
    """What a run that ended on the download screen leaves behind, with changes."""
    seen = {
        "messages": ["Sample Installer start.", "Show generic download screen."],
        "requests": [{"method": "GET", "target": "/config.json"}, {"method": "POST", "target": "/analytics"}],
        "sent": LINK_EVENTS,
        "installer_arguments": None,
        "opened": [],
        "status": 0,
    }
    seen.update(changes)
    return types.SimpleNamespace(events=lambda: seen["sent"], **seen)


class Missing(unittest.TestCase):
    def missing(self, **changes):
        return endings.ENDINGS["open-link"].missing(records(**changes))

    def test_is_nothing_where_the_ending_was_reached(self):
        self.assertEqual(self.missing(), [])

    def test_is_a_message_that_was_not_logged(self):
        self.assertEqual(self.missing(messages=["Sample Installer start."]),
                         ["the message 'Show generic download screen.'"])

    def test_is_an_event_that_did_not_arrive(self):
        self.assertEqual(self.missing(sent=[("Start", None)]),
                         ["the analytics [('Start', None), ('Config', 'PASS'), ('End', None)]; they were "
                          "[('Start', None)]"])

    def test_is_an_installer_that_should_not_have_run(self):
        self.assertEqual(self.missing(installer_arguments=["--x"]),
                         ["the installer's arguments None; they were ('--x',)"])

    def test_is_an_address_that_should_not_have_been_opened(self):
        self.assertEqual(self.missing(opened=["https://www.example.com/"]), ["no opened address"])

    def test_is_a_request_too_many(self):
        requests = records().requests + [{"method": "GET", "target": "/more"}]
        self.assertEqual(self.missing(requests=requests),
                         ["the requests ['GET /config.json', 'POST /analytics']; they were "
                          "['GET /config.json', 'POST /analytics', 'GET /more']"])

    def test_is_the_status_zero_of_a_run_that_had_to_be_stopped(self):
        self.assertEqual(self.missing(status=None), ["the exit status 0; it was None"])

    def test_of_messages_goes_by_their_order(self):
        install = endings.ENDINGS["install"]
        backwards = [part for part in reversed(install.messages)]
        problems = install.missing(records(messages=backwards))
        self.assertIn("the message 'Download completed'", problems)


class Run(unittest.TestCase):
    def run_script(self, *arguments):
        return self.run_in(os.environ, *arguments)

    def run_in(self, environment, *arguments):
        command = [sys.executable, ROOT / "tools/run/main_job.py", "--build", os.environ["BUILD"], *arguments]
        done = subprocess.run(command, capture_output=True, text=True, check=False, timeout=100, env=environment)
        return done.returncode, done.stdout, done.stderr

    def test_tells_of_its_endings_for_help(self):
        status, output, errors = self.run_script("--help")
        self.assertEqual((status, errors), (0, ""))
        for name in endings.ENDINGS:
            self.assertIn(f"{name}: ", output)

    def test_refuses_an_ending_that_it_does_not_know(self):
        self.assertEqual(self.run_script("nowhere")[0], 2)

    def test_refuses_auto_open_without_the_ending_with_a_link(self):
        self.assertEqual(self.run_script("install", "--auto-open")[0], 2)

    def test_reaches_an_ending_twice_in_a_row(self):
        for _ in range(2):
            status, output, errors = self.run_script("no-internet", "--show", "0")
            self.assertEqual((status, errors), (0, ""), output)
            self.assertTrue(output.endswith("The ending 'no-internet' was reached.\n"), output)

    def test_fails_where_the_ending_is_not_reached(self):
        # Without a display the installer ends at once.
        environment = {name: value for name, value in os.environ.items() if name != "DISPLAY"}
        status, output, errors = self.run_in(environment, "no-internet")
        self.assertEqual(status, 1)
        self.assertIn("not seen: the message 'Show NoInternet screen'\n", errors)
        self.assertIn("not seen: the exit status 0; it was 1\n", errors)
        self.assertTrue(output.endswith("The ending 'no-internet' was not reached.\n"), output)


if __name__ == "__main__":
    unittest.main()
