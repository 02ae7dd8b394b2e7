#!/usr/bin/env python3
"""qn-portal's verbs log and report as processes: statuses, sentences, and what becomes of files when something breaks."""

import json
import os
import pathlib
import resource
import shutil
import signal
import sqlite3
import subprocess
import tempfile
import unittest
import zipfile

PROGRAM = os.path.abspath(os.environ["QN_PORTAL"])
TAIL = ', "lang": "en", "country": "GB", "locale": "en-GB", "file": "F.cpp", "fn": "-[C f:]", "line": "42" }\r\n'


def entry(message, second=5):
    return f'{{ "time": "2026-01-02T03:04:{second:02}Z","ci": "abc", "trace": "DEBUG", "message":" {message}"' + TAIL


def good_run(identifier):
    def line(second, name, more=""):
        return f'2026-11-01T10:00:0{second}Z ci={identifier} {{"APP":"Kit","EVT":"{name}"{more}}}'

    passed = ',"RSLT":"PASS","T":1.5'
    return "\r\n".join(
        [line(0, "Start"), line(1, "Config", passed), line(2, "Download", passed), line(3, "End")]) + "\n"


class Verbs(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_program(self, *arguments, **options):
        return subprocess.run([PROGRAM, *map(str, arguments)], capture_output=True, timeout=100, **options)

    def write(self, name, contents):
        path = self.folder / name
        path.write_bytes(contents if isinstance(contents, bytes) else contents.encode())
        return path

    def assert_refused(self, result, *words):
        """Status 2, nothing printed, and one sentence with these words."""
        sentence = result.stderr.decode()
        self.assertEqual(result.returncode, 2, sentence)
        self.assertEqual(result.stdout, b"")
        self.assertEqual(sentence.count("\n"), 1, sentence)
        for word in words:
            self.assertIn(word, sentence)

    def test_binary_noise_is_refused_with_one_sentence(self):
        noise = self.write("noise", os.urandom(3_000_000))
        few = self.write("few", b"\0\xff\x80\n")
        for file in noise, few:
            self.assert_refused(self.run_program("log", file), str(file), "is no event log")
            self.assert_refused(self.run_program("log", "--json", file), str(file), "is no event log")
            self.assert_refused(self.run_program("report", file), str(file), "holds no analytics lines")

    def test_a_file_that_cannot_be_read_is_refused(self):
        for verb in "log", "report":
            self.assert_refused(self.run_program(verb, self.folder / "missing"), "No such file or directory")
            self.assert_refused(self.run_program(verb, self.folder), "Is a directory")
            self.assert_refused(self.run_program(verb), "which file?")
            self.assert_refused(self.run_program(verb, "--nonsense", "x"), "--nonsense")

    def test_one_line_of_two_gigabytes_needs_little_memory(self):
        path = self.folder / "long"
        with open(path, "wb") as file:
            file.truncate(2 << 30)
        self.assert_refused(self.run_program("log", path), "is no event log")
        self.assert_refused(self.run_program("report", path), "holds no analytics lines")
        with open(path, "r+b") as file:
            file.write(entry("first").encode() + entry("never ends").encode()[:90])
        result = self.run_program("log", path)
        self.assertEqual(result.returncode, 2)
        self.assertIn(b"more than 16 MiB", result.stderr)
        # Of the largest child so far, in KiB. A limit on addresses would not do under a sanitizer.
        self.assertLess(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, 400 << 10)

    def test_an_output_that_is_full_is_an_error(self):
        log = self.write("log", entry("a"))
        lines = self.write("lines", good_run("a"))
        with open("/dev/full", "w") as full:
            for arguments in (["log", log], ["log", "--json", log], ["report", lines], ["report", "--json", lines]):
                result = subprocess.run([PROGRAM, *map(str, arguments)], stdout=full, stderr=subprocess.PIPE)
                self.assertEqual(result.returncode, 2, arguments)
                self.assertIn(b"No space left on device", result.stderr)

    def test_a_page_goes_where_it_can_be_written(self):
        lines = self.write("lines", good_run("a"))
        self.assertEqual(self.run_program("report", "--html", self.folder / "page.html", lines).returncode, 0)
        self.assertIn("100.0%", (self.folder / "page.html").read_text())
        self.assert_page_refused("report", "--html", "/dev/full", lines)
        self.assert_page_refused("report", "--html", self.folder / "no/page.html", lines)
        self.assert_page_refused("log", "--html", self.folder / "no/page.html", self.write("log", entry("a")))

    def assert_page_refused(self, *arguments):
        result = self.run_program(*arguments)
        self.assertEqual(result.returncode, 2)
        self.assertIn(b"cannot be written", result.stderr)

    def test_a_report_reads_a_database_in_a_folder_that_is_read_only(self):
        self.run_program("report", "--into", self.folder / "runs.db", self.write("lines", good_run("a")))
        os.chmod(self.folder / "runs.db", 0o444)
        os.chmod(self.folder, 0o555)
        self.addCleanup(os.chmod, self.folder, 0o755)
        as_nobody = {"user": 65534, "group": 65534} if os.geteuid() == 0 else {}
        result = self.run_program("report", "--json", self.folder / "runs.db", **as_nobody)
        self.assertEqual(json.loads(result.stdout)["funnel"]["finished"], 1)
        self.assert_refused_by_database("--into", self.folder / "runs.db", "lines", **as_nobody)
        self.assert_refused_by_database("--into", self.folder / "other.db", "lines", **as_nobody)

    def assert_refused_by_database(self, *arguments, **options):
        result = self.run_program("report", *arguments, cwd=self.folder, **options)
        self.assertEqual(result.returncode, 2)
        self.assertRegex(result.stderr.decode(), "readonly database|unable to open database")

    def test_a_broken_database_is_refused(self):
        database = self.folder / "runs.db"
        self.run_program("report", "--into", database, self.write("lines", "".join(map(good_run, "abcdefgh"))))
        whole = database.read_bytes()
        for size in 20, 100, 4096, 9000:
            database.write_bytes(whole[:size])
            self.assert_refused(self.run_program("report", "--json", database), str(database))
        database.write_bytes(whole[:4096] + os.urandom(len(whole) - 4096))
        self.assertEqual(self.run_program("report", "--json", database).returncode, 2)
        other = self.folder / "other.db"
        sqlite3.connect(other).execute("CREATE TABLE t(x)").connection.commit()
        self.assert_refused(self.run_program("report", other), "not one of runs")

    def test_ctrl_c_during_an_import_leaves_the_database_whole(self):
        database = self.folder / "runs.db"
        self.run_program("report", "--into", database, self.write("lines", good_run("a")))
        for how, status in (signal.SIGINT, 2), (signal.SIGTERM, 2), (signal.SIGKILL, -signal.SIGKILL):
            process = subprocess.Popen([PROGRAM, "report", "--into", database, "-"], stdin=subprocess.PIPE,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
            for number in range(20_000):  # far more than a pipe holds: most of it is in the transaction
                process.stdin.write(good_run(f"{how}-{number}").encode())
            process.stdin.flush()
            process.send_signal(how)
            self.assertEqual(process.wait(timeout=100), status, process.stderr.read())
            process.stdin.close()
            process.stderr.close()
            result = self.run_program("report", "--json", "--into", database)
            self.assertEqual(json.loads(result.stdout)["funnel"]["started"], 1)
            with sqlite3.connect(database) as connection:
                self.assertEqual(connection.execute("PRAGMA integrity_check").fetchall(), [("ok",)])

    def test_a_report_reads_a_database_that_a_killed_import_left_half_written(self):
        database, left = self.folder / "runs.db", self.folder / "left.db"
        self.run_program("report", "--into", database, self.write("lines", good_run("a")))
        connection = sqlite3.connect(database, isolation_level=None)
        connection.execute("PRAGMA cache_size = 10")  # so that pages are written before the end of the transaction
        connection.execute("BEGIN")
        connection.executemany("INSERT INTO text (value) VALUES (?)", ((f"text {i}" * 9,) for i in range(5000)))
        connection.execute("DELETE FROM run")
        connection.executemany("INSERT INTO text (value) VALUES (?)", ((f"more {i}" * 9,) for i in range(5000)))
        shutil.copy(database, left)
        shutil.copy(f"{database}-journal", f"{left}-journal")
        connection.close()
        result = self.run_program("report", "--json", left)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(json.loads(result.stdout)["funnel"]["finished"], 1)

    def test_a_database_that_cannot_grow_during_an_import_stays_whole(self):
        database = self.folder / "runs.db"
        self.run_program("report", "--into", database, self.write("lines", good_run("a")))
        many = self.write("many", "".join(good_run(str(number)) for number in range(20_000)))
        limit = lambda: (signal.signal(signal.SIGXFSZ, signal.SIG_IGN),
                         resource.setrlimit(resource.RLIMIT_FSIZE, (300_000, 300_000)))
        result = self.run_program("report", "--into", database, many, preexec_fn=limit)
        self.assert_refused(result, "disk I/O error")
        result = self.run_program("report", "--json", database)
        self.assertEqual(json.loads(result.stdout)["funnel"]["started"], 1)

    def on_a_small_disk(self, script, *words, size="400k"):
        """Runs a script in an empty folder on a disk of this size; "$1" is the program, the words follow."""
        disk = self.folder / "disk"
        disk.mkdir(exist_ok=True)
        mount = 'mount -t tmpfs -o size="$0" none "$1" && cd "$1" && shift && '
        result = subprocess.run(["unshare", "-rm", "sh", "-c", mount + script, size, disk, PROGRAM, *map(str, words)],
                                capture_output=True, text=True, timeout=100)
        self.assertNotIn("mount:", result.stderr)
        return result

    def test_a_full_disk_during_an_import_leaves_the_database_whole(self):
        few, many = self.write("few", good_run("a")), self.write("many", "".join(map(good_run, map(str, range(20_000)))))
        result = self.on_a_small_disk('"$1" report --into runs.db "$2" >/dev/null 2>&1; "$1" report --into runs.db "$3"; '
                                      'echo "status $?"; "$1" report --json runs.db', few, many)
        self.assertRegex(result.stderr, "^qn-portal report: .*(full|disk I/O error)[^\n]*\n$")
        status, _, numbers = result.stdout.partition("\n")
        self.assertEqual(status, "status 2")
        self.assertEqual(json.loads(numbers)["funnel"], {"started": 1, "configured": 1, "downloaded": 1, "finished": 1})

    def test_a_full_disk_leaves_no_half_page_archive_or_brand(self):
        log = self.write("log", "".join(entry(os.urandom(400).hex()) for _ in range(1000)))
        lines = self.write("lines", good_run("a"))
        fill = "head -c 1M /dev/zero >filler 2>/dev/null; "
        for words in ('log "$2" --bundle out.zip', 'log "$2" --html out.html', 'report "$3" --html out.html',
                      "brand new kit"):
            result = self.on_a_small_disk(fill + f'"$1" {words} >/dev/null; echo "status $?"; ls', log, lines)
            self.assertEqual(result.stdout.split("\n")[0], "status 2", words)
            self.assertIn("No space left on device", result.stderr, words)
            self.assertEqual(result.stdout.split()[2:], ["filler"], words)

    def test_a_check_whose_temporary_folder_is_full_says_so(self):
        serve = subprocess.Popen([PROGRAM, "serve"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.addCleanup(serve.stdout.close)
        self.addCleanup(serve.wait)
        self.addCleanup(serve.terminate)
        addresses = json.loads(serve.stdout.readline())
        result = self.on_a_small_disk('head -c 1M /dev/zero >filler 2>/dev/null; TMPDIR=. "$1" check --local "$2"',
                                      addresses["config"])
        self.assertEqual((result.returncode, result.stdout), (2, ""), result.stderr)
        self.assertRegex(result.stderr, "^qn-portal.*: [^\n]*No space left on device[^\n]*\n$")

    def test_two_imports_at_once_both_count(self):
        database = self.folder / "runs.db"
        files = [self.write(name, "".join(good_run(f"{name}{number}") for number in range(500))) for name in "abc"]
        processes = [subprocess.Popen([PROGRAM, "report", "--json", "--into", database, file],
                                      stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) for file in files]
        self.assertEqual([process.wait(timeout=100) for process in processes], [0, 0, 0])
        result = self.run_program("report", "--json", database)
        self.assertEqual(json.loads(result.stdout)["funnel"]["finished"], 1500)

    def test_an_alert_that_holds_gives_status_1_and_a_sentence(self):
        lines = self.write("lines", good_run("a"))
        result = self.run_program("report", "--json", "--alert", "config.fail>2%", "--alert", "started<5", lines)
        self.assertEqual(result.returncode, 1)
        self.assertIn(b"qn-portal report: started<5: it is 1\n", result.stderr)
        self.assertEqual(json.loads(result.stdout)["funnel"]["started"], 1)
        self.assertEqual(self.run_program("report", "--alert", "config.fail>2%", lines).returncode, 0)
        self.assert_refused(self.run_program("report", "--alert", "confg.fail>2%", lines), "is no alert")

    def test_the_standard_input_is_a_file_too(self):
        result = self.run_program("report", "--json", "-", input=good_run("a").encode())
        self.assertEqual(json.loads(result.stdout)["funnel"]["finished"], 1)
        result = self.run_program("log", "--json", "-", input=entry("a").encode())
        self.assertEqual(json.loads(result.stdout)["message"], "a")

    def test_following_shows_entries_as_they_come_and_ends_with_ctrl_c(self):
        log = self.write("log", entry("first"))
        process = subprocess.Popen([PROGRAM, "log", "--json", "--follow", log], stdout=subprocess.PIPE, text=True)
        self.addCleanup(process.stdout.close)
        self.assertEqual(json.loads(process.stdout.readline())["message"], "first")
        half, rest = entry("second")[:70], entry("second")[70:]
        for piece in half, rest:
            with open(log, "a", newline="") as file:
                file.write(piece)
        self.assertEqual(json.loads(process.stdout.readline())["message"], "second")
        self.write("log", entry("x"))  # begun anew
        self.assertEqual(json.loads(process.stdout.readline())["message"], "x")
        with open(log, "a", newline="") as file:
            file.write(half)
        process.send_signal(signal.SIGINT)
        rest = process.stdout.read()
        self.assertEqual(process.wait(timeout=20), 0)
        self.assertTrue(rest == "" or json.loads(rest)["cut"])

    def test_a_bundle_holds_the_log_without_what_can_identify_a_person(self):
        log = self.write("log", entry("Removing app cache from /Users/ann/Library/Caches/x .") +
                         entry("Download started: https://u:p@cdn.example/Kit.dmg?token=s3cret") +
                         entry("ann has 5feceb66-fc86-48d9-8786-6d696c79c2db \r\n in two lines"))
        result = self.run_program("log", log, "--bundle", self.folder / "out.zip")
        self.assertEqual(result.returncode, 0, result.stderr)
        for listed in "login names, 2 times", "    ann\n", "?token=s3cret", "    u:p@\n", "identifiers (hashed), 4 times":
            self.assertIn(listed, result.stdout.decode())
        with zipfile.ZipFile(self.folder / "out.zip") as archive:
            self.assertIsNone(archive.testzip())
            self.assertEqual(archive.namelist(), ["install.log", "timeline.txt", "removed.txt"])
            texts = {name: archive.read(name) for name in archive.namelist()}
        for name, text in texts.items():
            for secret in b"ann", b"s3cret", b"u:p", b"5feceb66", b'"abc"':
                self.assertNotIn(secret, text, name)
        lines = self.run_program("log", "--json", "-", input=texts["install.log"]).stdout.splitlines()
        messages = [json.loads(line)["message"] for line in lines]
        self.assertEqual(messages[:2], ["Removing app cache from /Users/****/Library/Caches/x .",
                                        "Download started: https://cdn.example/Kit.dmg"])
        self.assertRegex(messages[2], r"^\*\*\*\* has [0-9a-f-]{36} \r\n in two lines$")
        self.assertIn(b"Run 1", texts["timeline.txt"])

    def test_a_bundle_that_cannot_be_written_leaves_nothing_behind(self):
        log = self.write("log", entry("a"))
        result = self.run_program("log", log, "--bundle", self.folder / "no/out.zip")
        self.assertEqual(result.returncode, 2)
        self.assertIn(b"No such file or directory", result.stderr)
        self.assert_refused(self.run_program("log", "-", "--bundle", self.folder / "out.zip", input=b""),
                            "cannot be read twice")
        self.assert_refused(self.run_program("log", self.write("noise", b"x"), "--bundle", self.folder / "out.zip"),
                            "is no event log")
        big = self.write("big", "".join(entry(os.urandom(500).hex()) for _ in range(2000)))
        limit = lambda: (signal.signal(signal.SIGXFSZ, signal.SIG_IGN),
                         resource.setrlimit(resource.RLIMIT_FSIZE, (100_000, 100_000)))
        result = self.run_program("log", big, "--bundle", self.folder / "out.zip", preexec_fn=limit)
        self.assertEqual(result.returncode, 2)
        self.assertIn(b"File too large", result.stderr)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["big", "log", "noise"])


if __name__ == "__main__":
    unittest.main()
