#!/usr/bin/env python3
"""The pages of qn-portal's verbs, in headless Chromium: that they ask the network for nothing and run no script, what a
screen reader is told, and what light and dark look like. The pictures are left in $PICTURES, to be looked at."""

import base64
import json
import os
import pathlib
import shutil
import struct
import subprocess
import tempfile
import unittest
import urllib.error
import urllib.request
import zlib

PROGRAM = os.path.abspath(os.environ["QN_PORTAL"])
CHROMIUM = shutil.which("chromium") or shutil.which("google-chrome")
PICTURES = pathlib.Path(os.environ.get("PICTURES", tempfile.gettempdir()))


class Browser:
    """Chromium, spoken to through a pipe: one JSON message after another, each ended by a zero byte."""

    def __init__(self, folder):
        to_browser, self.out = os.pipe()
        self.into, from_browser = os.pipe()
        arguments = [CHROMIUM, "--headless=new", "--remote-debugging-pipe", "--no-sandbox", "--disable-gpu",
                     "--no-first-run", "--disable-background-networking", f"--user-data-dir={folder}/profile"]

        def pipes():  # the browser wants them at 3 and 4
            first, second = os.dup(to_browser), os.dup(from_browser)
            os.dup2(first, 3)
            os.dup2(second, 4)

        self.process = subprocess.Popen(arguments, preexec_fn=pipes, close_fds=False, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self.buffer = b""
        self.number = 0
        self.events = []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = None
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in "Page", "Network", "Accessibility", "Runtime":
            self.call(domain + ".enable")

    def close(self):
        self.process.kill()
        self.process.wait()
        os.close(self.out)
        os.close(self.into)

    def receive(self):
        while b"\0" not in self.buffer:
            piece = os.read(self.into, 1 << 20)
            if not piece:
                raise RuntimeError("the browser is gone")
            self.buffer += piece
        message, _, self.buffer = self.buffer.partition(b"\0")
        return json.loads(message)

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if getattr(self, "session", None):
            message["sessionId"] = self.session
        data = json.dumps(message).encode() + b"\0"
        while data:
            data = data[os.write(self.out, data):]
        while True:
            answer = self.receive()
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def open(self, page):
        self.events.clear()
        self.call("Page.navigate", url=page if isinstance(page, str) else page.as_uri())
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events):
            self.events.append(self.receive())

    def requested(self):
        return [event["params"]["request"]["url"] for event in self.events
                if event.get("method") == "Network.requestWillBeSent"]

    def wait_until(self, expression):
        """Until it is true of the page, looked at whenever the page changes."""
        watch = f"""new Promise(done => {{ const look = () => ({expression}) && done(true);
            new MutationObserver(look).observe(document, {{subtree: true, childList: true, characterData: true}});
            look(); setTimeout(() => done(false), 60000); }})"""
        return self.call("Runtime.evaluate", expression=watch, awaitPromise=True, returnByValue=True)["result"]["value"]

    def evaluate(self, expression):
        return self.call("Runtime.evaluate", expression=expression, returnByValue=True)["result"].get("value")

    def screenshot(self, scheme):
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.call("Emulation.setDeviceMetricsOverride", width=1000, height=800, deviceScaleFactor=1, mobile=False)
        return base64.b64decode(self.call("Page.captureScreenshot", captureBeyondViewport=True)["data"])

    def accessible(self):
        """(role, name) of everything that a screen reader is told."""
        nodes = self.call("Accessibility.getFullAXTree")["nodes"]
        return [(node.get("role", {}).get("value"), node.get("name", {}).get("value", ""))
                for node in nodes if not node.get("ignored")]


def corner_of(png):
    """The colour of the first pixel of a PNG with eight bits for each of three or four channels."""
    at, data = 8, b""
    while at < len(png):
        size, kind = struct.unpack(">I4s", png[at:at + 8])
        if kind == b"IDAT":
            data += png[at + 8:at + 8 + size]
        at += size + 12
    row = zlib.decompress(data)
    return tuple(row[1:4])


def run_lines(identifier, day, second, result):
    time = f"2026-11-{day:02}T10:00:"
    start = '"APP":"Kit <b>&amp;","CC":"DE","L":"de-DE","OS":"OS X","OSVer":"14.2.1","Proc":"Apple M1","Ver":"1.0"'
    lines = [f'{time}00Z ci={identifier} {{"EVT":"Start",{start}}}']
    lines.append(f'{time}01Z ci={identifier} {{"EVT":"Config","RSLT":"PASS","T":{second / 10}}}')
    reason = ',"RSN":"<script>document.title=1</script>"' if result == "FAIL" else ""
    lines.append(f'{time}40Z ci={identifier} {{"EVT":"Download","RSLT":"{result}","T":{second}{reason}}}')
    lines.append(f'{time}59Z ci={identifier} {{"EVT":"End"}}')
    return "\n".join(lines) + "\n"


class Pages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # The browser's own processes may still write there for a moment.
        cls.temporary = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        cls.folder = pathlib.Path(cls.temporary.name)
        lines = cls.folder / "lines"
        lines.write_text("".join(run_lines(str(i), 1 + i % 20, 1 + i % 37, "FAIL" if i % 8 == 0 else "PASS")
                                 for i in range(400)))
        cls.report = cls.folder / "report.html"
        subprocess.run([PROGRAM, "report", lines, "--html", cls.report], check=True, stderr=subprocess.DEVNULL)
        log = cls.folder / "log"
        tail = ', "lang": "en", "country": "GB", "locale": "en-GB", "file": "F", "fn": "f", "line": "1" }\r\n'
        log.write_bytes("".join(
            f'{{ "time": "2026-01-02T03:04:0{i}Z","ci": "abc", "trace": "{level}", "message":" {text}"' + tail
            for i, (level, text) in enumerate(
                [("DEBUG", "Kit start."), ("DEBUG", "Show Connecting screen"), ("ERROR", "Empty dmg file! <img src=x>"),
                 ("DEBUG", "Show generic error screen.")])).encode())
        cls.log = cls.folder / "log.html"
        subprocess.run([PROGRAM, "log", log, "--html", cls.log], check=True)
        cls.browser = Browser(cls.folder)

    @classmethod
    def tearDownClass(cls):
        cls.browser.close()
        cls.temporary.cleanup()

    def assert_self_contained(self, page):
        self.browser.open(page)
        self.assertEqual(self.browser.requested(), [page.as_uri()])
        self.assertEqual(self.browser.evaluate("document.scripts.length"), 0)
        self.assertEqual(self.browser.evaluate("document.images.length"), 0)
        self.assertEqual(self.browser.evaluate("document.compatMode"), "CSS1Compat")
        self.assertLessEqual(self.browser.evaluate("document.documentElement.scrollWidth - innerWidth"), 0)

    def test_the_pages_ask_the_network_for_nothing_and_run_no_script(self):
        self.assert_self_contained(self.report)
        self.assertEqual(self.browser.evaluate("document.title"), "Portal report")
        self.assertEqual(self.browser.evaluate("document.querySelectorAll('b').length"), 0)
        self.assert_self_contained(self.log)
        self.assertEqual(self.browser.evaluate("document.title"), "Event log")

    def test_the_pages_are_light_and_dark_as_the_reader_has_it(self):
        for name, page in ("report", self.report), ("log", self.log):
            self.browser.open(page)
            for scheme, colour in ("light", (0xFF, 0xFF, 0xFF)), ("dark", (0x15, 0x17, 0x1A)):
                picture = self.browser.screenshot(scheme)
                (PICTURES / f"{name}-{scheme}.png").write_bytes(picture)
                self.assertEqual(corner_of(picture), colour, (name, scheme))

    def test_every_text_has_enough_contrast_in_light_and_dark(self):
        ratio = """(() => {
            const luminance = text => { const [r, g, b] = text.match(/[\\d.]+/g).slice(0, 3).map(v => v / 255)
                .map(v => v <= 0.03928 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4);
                return 0.2126 * r + 0.7152 * g + 0.0722 * b; };
            const paper = luminance(getComputedStyle(document.body).backgroundColor);
            return Math.min(...[...document.querySelectorAll('h1, h2, p, td, th, caption, summary, svg text')].map(e => {
                const style = getComputedStyle(e);
                const ink = luminance(e instanceof SVGElement ? style.fill : style.color);
                return (Math.max(ink, paper) + 0.05) / (Math.min(ink, paper) + 0.05); })); })()"""
        for page in self.report, self.log:
            self.browser.open(page)
            for scheme in "light", "dark":
                self.browser.screenshot(scheme)
                self.assertGreaterEqual(self.browser.evaluate(ratio), 4.5, (page, scheme))

    def test_a_screen_reader_is_told_the_numbers_of_every_chart(self):
        self.browser.open(self.report)
        told = self.browser.accessible()
        pictures = [name for role, name in told if role in ("image", "img", "graphics-document")]
        self.assertEqual(len(pictures), 5, told)
        for name in pictures:
            self.assertRegex(name, "^(Funnel|Runs started and finished, day by day|How long: [a-z ]+) .*[0-9]")
        self.assertIn("started 400 (100.0%), configured 400 (100.0%), downloaded 350 (87.5%), finished 350 (87.5%)",
                      pictures[0])
        for heading in "Portal report", "Funnel", "Failures", "How long: download", "By processor":
            self.assertIn(("heading", heading), told)
        for header in "reason", "product", "started":
            self.assertIn(("columnheader", header), told)
        self.assertIn(("rowheader", "Kit <b>&amp;"), told)
        self.assertIn(("rowheader", "Download: <script>document.title=1</script>"), told)

    def test_the_portal_s_page_shows_requests_as_they_come(self):
        serve = subprocess.Popen([PROGRAM, "serve"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.addCleanup(serve.stdout.close)
        self.addCleanup(serve.wait)
        self.addCleanup(serve.terminate)
        addresses = json.loads(serve.stdout.readline())
        self.browser.open(addresses["page"])
        self.assertTrue(self.browser.wait_until("document.getElementById('state').textContent === 'None yet.'"))
        base = addresses["page"].rstrip("/")
        request = urllib.request.Request(addresses["analytics"], data=b"<b>line one</b>\r\nline two", headers={"X-Kit": "7"})
        urllib.request.urlopen(request, timeout=30).close()
        with self.assertRaises(urllib.error.HTTPError) as missing:
            urllib.request.urlopen(base + "/missing", timeout=30)
        missing.exception.close()
        self.assertTrue(self.browser.wait_until("document.getElementById('list').rows.length === 2"))
        rows = self.browser.evaluate("[...document.getElementById('list').rows].map(r => [...r.cells].map(c => c.textContent))")
        self.assertEqual([row[1:3] for row in rows], [["GET /missing", "404"], ["POST /analytics", "200"]])
        self.assertIn("X-Kit: 7", rows[1][3])
        self.assertTrue(rows[1][3].endswith("<b>line one</b>\r\nline two") or
                        rows[1][3].endswith("<b>line one</b>\nline two"), rows[1][3])
        self.assertEqual(self.browser.evaluate("document.getElementById('state').textContent"), "2 so far.")
        self.assertEqual(self.browser.evaluate("document.querySelectorAll('td b').length"), 0)
        for scheme, colour in ("light", (0xFF, 0xFF, 0xFF)), ("dark", (0x15, 0x17, 0x1A)):
            picture = self.browser.screenshot(scheme)
            (PICTURES / f"serve-{scheme}.png").write_bytes(picture)
            self.assertEqual(corner_of(picture), colour, scheme)
        self.assertTrue(all(url.startswith(base) or url == "data:," for url in self.browser.requested()))

    def test_a_screen_reader_is_told_each_entry_of_a_log(self):
        self.browser.open(self.log)
        told = self.browser.accessible()
        self.assertIn(("heading", "Run 1: 2026-01-02T03:04:00Z"), told)
        self.assertIn(("cell", "Empty dmg file! <img src=x>"), told)
        self.assertTrue(any("3 s; the last screen: error. The image holds nothing." in name for _, name in told))


if __name__ == "__main__":
    unittest.main()
