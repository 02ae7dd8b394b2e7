#!/usr/bin/env python3
"""Measures qn-portal's verbs log and report against other programs that read the same lines, in turn.

    bench/portal_tools.py BUILD [--runs N] [--log-bytes N] [--rounds N] [--only report|log] [--data FOLDER]

BUILD is the folder of a release build. Needs sqlite3, and some gigabytes below TMPDIR or in FOLDER, where the lines stay
for the next time; with --rounds 0 they are made and nothing is measured.
"""

import argparse
import json
import os
import pathlib
import random
import statistics
import subprocess
import tempfile
import time
import uuid


def analytics(path, runs):
    """Four lines a run, as an endpoint stores them."""
    chance = random.Random(7)
    with open(path, "w", newline="") as out:
        for number in range(runs):
            identifier = uuid.UUID(int=chance.getrandbits(128))
            begin = 1793491200 + chance.randrange(20 * 86400)
            common = (f'"APP":"{chance.choice(["Kit", "Sample"])}","CC":"{chance.choice(["US", "DE", "FR", "JP"])}",'
                      f'"L":"{chance.choice(["en-US", "de-DE", "fr-FR", "ja-JP"])}","OS":"OS X",'
                      f'"OSVer":"{chance.choice(["14.2.1", "13.6.0", "12.7.1"])}","Ver":"1.0.0"')
            hardware = f',"Proc":"{chance.choice(["Apple M1", "Apple M2"])}","ProcType":"ARM64","SR":"1440x900"'
            result = "FAIL" if chance.random() < 0.1 else "PASS"
            reason = ',"RSN":"HTTP Response with status code 404"' if result == "FAIL" else ',"DProd":"Kit"'
            events = [(0, "Start", hardware), (1, "Config", f',"RSLT":"PASS","T":{chance.lognormvariate(-1, 1):.8f}'),
                      (60, "Download", f',"RSLT":"{result}","T":{chance.lognormvariate(3, 1):.6f},'
                                       f'"URL":"https://cdn.example.com/Kit.dmg"{reason}'), (90, "End", hardware)]
            out.write("\r\n".join(
                time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(begin + after)) +
                f' ci={identifier} {{{common},"EVT":"{name}"{more}}}' for after, name, more in events) + "\n")


def event_log(path, valid, size):
    """A log of whole runs, and the same lines as valid JSON."""
    tail = ', "lang": "en", "country": "US", "locale": "en-US", "file": "%s", "fn": "%s", "line": "%d" }'
    install = "-[QNMainController URLSession:downloadTask:didFinishDownloadingToURL:]"
    messages = [(0, "DEBUG", "Removing app cache from /Users/****/Library/Caches/com.example.installer ."),
                (0, "ERROR", 'Error: Error Domain=NSCocoaErrorDomain Code=4 "The file couldn’t be removed."'),
                (0, "DEBUG", "Sample start."), (0, "EVT", '{"APP":"Sample","EVT":"Start","Proc":"Apple M1"}'),
                (1, "DEBUG", "Show Connecting screen"), (2, "DEBUG", "Config successful"),
                (2, "DEBUG", "Config successful. Took 0.734512 seconds"),
                (2, "EVT", '{"APP":"Sample","EVT":"Config","RSLT":"PASS","T":0.734512}'),
                (2, "DEBUG", "Download started: https://cdn.example.com/images/Sample.dmg"),
                (60, "DEBUG", "Download completed: https://cdn.example.com/images/Sample.dmg"),
                (60, "EVT", '{"APP":"Sample","EVT":"Download","RSLT":"PASS","T":58.123456}'),
                (61, "DEBUG", '"/tmp/x/Sample.dmg "already exists. Removing old file.'),
                (63, "DEBUG", "DMG mounted. Running command: /Volumes/Sample/Setup.app"),
                (90, "DEBUG", "Sample end."), (91, "EVT", '{"APP":"Sample","EVT":"End"}')]
    written, begin = 0, 1767225600
    with open(path, "wb") as log, open(valid, "wb") as lines:
        while written < size:
            begin += 200
            for number, (after, level, message) in enumerate(messages):
                stamp = time.strftime("%Y-%m-%dT%H:%M:%S+00:00", time.gmtime(begin + after))
                head = f'{{ "time": "{stamp}","ci": "5feceb66-fc86-48d9-8786-6d696c79c2db", "trace": "{level}", '
                end = tail % ("QNMainController.cpp", install, 100 + number)
                quoted = level != "EVT"
                written += log.write((head + (f'"message":" {message}"' if quoted else f'"message": {message}') + end +
                                      "\r\n").encode())
                text = json.dumps(" " + message, ensure_ascii=False) if quoted else message
                lines.write((head + f'"message": {text}' + end + "\n").encode())


def measured(command, **options):
    """Seconds, processor seconds and the most memory in MiB of a command."""
    start = time.monotonic()
    process = subprocess.Popen(command, stderr=subprocess.DEVNULL, **options)
    _, status, usage = os.wait4(process.pid, 0)
    assert status == 0, command
    return time.monotonic() - start, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def show(name, rounds, base=None):
    wall, processor, memory = (statistics.median(column) for column in zip(*rounds))
    ratio = "" if base is None else "   %5.2f of the first" % (
        statistics.median(a[1] / b[1] for a, b in zip(rounds, base)))
    print(f"{name:44} {wall:7.2f} s   processor {processor:6.2f} s   {memory:6.0f} MiB{ratio}")


def measure_report(program, folder, arguments):
    lines, runs, plain = folder / "lines", folder / "runs.db", folder / "plain.db"
    if not lines.exists():
        analytics(lines, arguments.runs)
    imports, ours, reports = [], [], []
    for _ in range(arguments.rounds):
        runs.unlink(missing_ok=True)
        plain.unlink(missing_ok=True)
        script = f'create table t(line text);\n.mode list\n.separator "\\037" "\\n"\n.import {lines} t\n'
        (folder / "script").write_text(script)
        imports.append(measured(["sqlite3", plain], stdin=open(folder / "script")))
        ours.append(measured([program, "report", "--into", runs, lines, "--html", folder / "page.html"]))
        reports.append(measured([program, "report", runs], stdout=subprocess.DEVNULL))
    if arguments.rounds > 0:
        show("sqlite3 .import of plain text", imports)
        show("qn-portal report --into, import and page", ours, imports)
        show("qn-portal report of the database", reports, imports)


def measure_log(program, folder, arguments):
    log, valid = folder / "log", folder / "valid"
    if not valid.exists():
        event_log(log, valid, arguments.log_bytes)
    simdjson, texts, jsons, parsing = [], [], [], []
    for _ in range(arguments.rounds):
        simdjson.append(measured([arguments.build / "bench/simdjson_lines", valid], stdout=subprocess.PIPE))
        out = subprocess.check_output([arguments.build / "bench/simdjson_lines", valid], text=True)
        parsing.append(float(out.split()[2]))
        texts.append(measured([program, "log", log], stdout=subprocess.DEVNULL))
        jsons.append(measured([program, "log", "--json", log], stdout=subprocess.DEVNULL))
    if arguments.rounds > 0:
        show("simdjson, the same lines as valid JSON", simdjson)
        show("qn-portal log", texts, simdjson)
        show("qn-portal log --json", jsons, simdjson)
        print(f"simdjson without reading the file: {statistics.median(parsing):.2f} s; at half its speed: "
              f"{2 * statistics.median(parsing):.2f} s")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--runs", type=int, default=1_000_000)
    parser.add_argument("--log-bytes", type=int, default=1_000_000_000)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--only", choices=("report", "log"))
    parser.add_argument("--data", type=pathlib.Path)
    arguments = parser.parse_args()
    program = str(arguments.build / "qn-portal")
    with tempfile.TemporaryDirectory() as name:
        folder = arguments.data or pathlib.Path(name)
        folder.mkdir(exist_ok=True)
        if arguments.only != "log":
            measure_report(program, folder, arguments)
        if arguments.only != "report":
            measure_log(program, folder, arguments)


if __name__ == "__main__":
    main()
