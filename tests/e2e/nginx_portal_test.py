#!/usr/bin/env python3
"""The installer built in $BUILD against a real server: nginx with the configuration that the repository ships."""

import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import types
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tools/run"))

import account  # noqa: E402  (found by the path above)
import stage  # noqa: E402

BUILD = pathlib.Path(os.environ["BUILD"])
SHIPPED = ROOT / "tools/qn-portal/nginx/portal.conf"
NGINX = shutil.which("nginx") or "/usr/sbin/nginx"
LONGEST_WAIT = 60  # seconds


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def wait_until(condition, what):
    deadline = time.monotonic() + LONGEST_WAIT
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.02)


class Nginx:
    """nginx with the shipped configuration, in a folder of its own."""

    def __init__(self, folder):
        self.folder = folder
        self.port = free_port()
        self.base = f"https://127.0.0.1:{self.port}"
        self.root = folder / "portal"
        self.analytics = folder / "analytics.log"
        (self.root / "download").mkdir(parents=True)
        self.make_certificates()
        self.write_configuration()
        with open(folder / "nginx.console", "wb") as console:
            self.process = subprocess.Popen([NGINX, "-p", folder, "-c", folder / "nginx.conf"], stderr=console)
        wait_until(self.answers, "nginx")

    def answers(self):
        if self.process.poll() is not None:
            raise AssertionError((self.folder / "nginx.console").read_text() + (self.folder / "error.log").read_text())
        with socket.socket() as probe:
            return probe.connect_ex(("127.0.0.1", self.port)) == 0

    def make_certificates(self):
        """An authority, and a certificate that it signed."""
        def openssl(*words):
            subprocess.run(["openssl", *words], cwd=self.folder, check=True, capture_output=True)
        curve = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes"]
        openssl("req", "-x509", *curve, "-keyout", "authority.key", "-out", "authority.pem", "-days", "90",
                "-subj", "/CN=authority", "-addext", "basicConstraints=critical,CA:TRUE")
        openssl("req", *curve, "-keyout", "privkey.pem", "-out", "request.pem", "-subj", "/CN=portal")
        (self.folder / "names").write_text("subjectAltName=IP:127.0.0.1\n")
        openssl("x509", "-req", "-in", "request.pem", "-CA", "authority.pem", "-CAkey", "authority.key",
                "-CAcreateserial", "-out", "fullchain.pem", "-days", "90", "-extfile", "names")

    def write_configuration(self):
        """The shipped file, word for word but for its places and its port."""
        text = SHIPPED.read_text()
        for theirs, ours in {
            "listen 443 ssl;": f"listen 127.0.0.1:{self.port} ssl;",
            "portal.example.com": "127.0.0.1",
            "root /srv/portal;": f"root {self.root};",
            "/etc/ssl/portal/fullchain.pem": f"{self.folder}/fullchain.pem",
            "/etc/ssl/portal/privkey.pem": f"{self.folder}/privkey.pem",
            "access_log /var/log/nginx/analytics.log": f"access_log {self.analytics}",
            "/run/portal-analytics.sock": f"{self.folder}/analytics.sock",
        }.items():
            assert theirs in text, theirs
            text = text.replace(theirs, ours)
        (self.folder / "portal.conf").write_text(text)
        places = "".join(f"{name}_temp_path {self.folder}/{name}; "
                         for name in ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
        user = "user root;\n" if os.geteuid() == 0 else ""
        (self.folder / "nginx.conf").write_text(
            f"{user}daemon off;\npid {self.folder}/nginx.pid;\nerror_log {self.folder}/error.log;\nevents {{}}\n"
            f"http {{\n{places}\naccess_log off;\ninclude {self.folder}/portal.conf;\n}}\n")

    def publish(self, image, argument):
        """Rolls a configuration out as the page says: under another name first, then with a rename."""
        document = {"analyticsUrl": f"{self.base}/analytics",
                    "userAction": [{"action": "install", "isActive": "1"}],
                    "software": [{"IsActive": "1", "macUrl": f"{self.base}/download/{image}", "appName": "Sample",
                                  "commandLineArgs": argument}]}
        (self.root / "config.new").write_text(json.dumps(document))
        os.replace(self.root / "config.new", self.root / "config.json")

    def stop(self):
        self.process.send_signal(signal.SIGQUIT)
        self.process.wait(timeout=LONGEST_WAIT)


class NginxPortal(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="nginx-portal-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.nginx = Nginx(self.folder)
        self.addCleanup(self.nginx.stop)
        self.stage = stage.Stage(BUILD, self.folder, types.SimpleNamespace(language="en_US.UTF-8", bundle=None))
        self.addCleanup(self.stage.console.close)
        self.addCleanup(self.stage.detach_volumes)
        self.stage.make_bundle(f"{self.nginx.base}/config.json", types.SimpleNamespace(online=True))

    def make_image(self, name):
        shutil.move(self.stage.make_image(["Setup"]), self.nginx.root / "download" / name)
        shutil.rmtree(self.folder / "image")

    def environment(self):
        return dict(self.stage.environment(), SSL_CERT_FILE=str(self.folder / "authority.pem"))

    def messages(self):
        return list(account.log_messages(self.stage.log_path))

    def install(self, screen=None):
        """One run to its end; a screen that waits for the user is ended as soon as it is logged."""
        process = subprocess.Popen([self.stage.executable], env=self.environment(), stderr=self.stage.console)
        self.addCleanup(process.kill)
        if screen:
            wait_until(lambda: process.poll() is not None or any(screen in line for line in self.messages()), screen)
            process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(timeout=LONGEST_WAIT), 0)

    def installer_arguments(self):
        note = self.stage.home / "installer-arguments"
        return note.read_text().splitlines()[1:] if note.exists() else None

    def qn_portal(self, *words):
        return subprocess.run([BUILD / "qn-portal", *words], env=self.environment(), capture_output=True, text=True,
                              check=False, timeout=LONGEST_WAIT)

    def funnel(self):
        report = self.qn_portal("report", "--json", self.nginx.analytics)
        self.assertEqual(report.returncode, 0, report.stderr)
        return json.loads(report.stdout)["funnel"]

    def test_installs_over_tls_and_logs_what_was_sent(self):
        self.make_image("Sample-1.dmg")
        self.nginx.publish("Sample-1.dmg", "--first")
        self.install()
        self.assertEqual(self.installer_arguments(), ["--first"])
        funnel = self.funnel()
        self.assertEqual([funnel[name] for name in ("started", "configured", "downloaded", "finished")], [1, 1, 1, 1])

    def test_is_a_portal_without_a_mistake(self):
        self.make_image("Sample-1.dmg")
        self.nginx.publish("Sample-1.dmg", "--first")
        check = self.qn_portal("check", "--local", "--strict", f"{self.nginx.base}/config.json")
        self.assertEqual((check.returncode, check.stderr), (0, ""), check.stdout)
        self.assertIn("0 errors, 0 warnings, 0 notes; 3 things checked.", check.stdout)

    def test_installs_at_the_second_try_once_the_image_is_there(self):
        self.nginx.publish("Sample-1.dmg", "--first")
        self.install(screen="HTTP Response with status code 404")
        self.assertIsNone(self.installer_arguments())
        self.make_image("Sample-1.dmg")
        self.install()
        self.assertEqual(self.installer_arguments(), ["--first"])
        funnel = self.funnel()
        self.assertEqual([funnel[name] for name in ("started", "configured", "downloaded", "finished")], [2, 2, 1, 1])

    def test_installs_the_new_image_after_an_update_and_the_old_one_after_a_roll_back(self):
        for image, argument in (("Sample-1.dmg", "--first"), ("Sample-2.dmg", "--second")):
            self.make_image(image)
            self.nginx.publish(image, argument)
            self.install()
            self.assertEqual(self.installer_arguments(), [argument])
        self.nginx.publish("Sample-1.dmg", "--first")
        self.install()
        self.assertEqual(self.installer_arguments(), ["--first"])
        self.assertEqual([line for line in self.messages() if line.startswith("Download started: ")],
                         [f"Download started: {self.nginx.base}/download/{name}"
                          for name in ("Sample-1.dmg", "Sample-2.dmg", "Sample-1.dmg")])


if __name__ == "__main__":
    unittest.main()
