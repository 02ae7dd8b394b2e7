#!/usr/bin/env python3
"""A portal's folder with twenty mistakes, and the same folder once they are mended: checked, served by nginx, and installed
from by the bundle that lies in it."""

import json
import os
import pathlib
import plistlib
import re
import shutil
import subprocess
import sys
import tempfile
import types
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
sys.path[:0] = [str(ROOT / "tools/run"), str(ROOT / "tests/e2e")]

import account  # noqa: E402  (found by the path above)
import stage  # noqa: E402
from nginx_portal_test import LONGEST_WAIT, Nginx  # noqa: E402

BUILD = pathlib.Path(os.environ["BUILD"])

CONFIGURATION = """{
  "analyticsUrl": "@/analytics",
  "userAction": [
    {"action": "install", "isActive": "1", "actionDescription": "Installs the kit"}
  ],
  "software": [
    {"IsActive": "1", "macUrl": "@/download/Kit-1.dmg", "appName": "Kit", "appShortName": "K",
     "commandLineArgs": "--quiet"}
  ]
}
"""
# What is right, what somebody made of it, and what `check` has to say. Each right text stands there once.
IN_CONFIGURATION = (
    ('"analyticsUrl"', '"analyticsURL"', "config-misspelt-key"),
    ('"commandLineArgs": "--quiet"}', '"commandLineArgs": "--quiet"},', "json-trailing-comma"),
    ('"--quiet"', '["--quiet"]', "config-argument-list"),
    ('"appName": "Kit"', '"appName": "Kit "', "config-blanks-around"),
    ('"appShortName": "K"', "\"appShortName\": 'K'", "json-quotes"),
    ('"actionDescription": "Installs the kit"}', '"actionDescription": "TODO"}', "config-placeholder"),
    ('"userAction": [\n', '"userAction": [ // the first one counts\n', "json-comment"),
    ('\n  ],\n  "software"', ',\n    {"action": "openLink", "isActive": "1"}\n  ],\n  "software"', "config-two-active-actions"),
)
IN_APPLICATION = (
    ("CFBundleIdentifier", "CFBundleIdentifer", "image-no-identifier"),
    ("#!/bin/sh", "!/bin/sh", "image-not-a-program"),
)
IN_SETTINGS = (
    ("<string>prod</string>", "<string>Prod</string>", "bundle-environment"),
    ("<key>SECONDARY_COLOR</key>", "<key>SECONDARY_COLOUR</key>", "bundle-misspelt-setting"),
    ("<string>#1F3FBB</string>", "<string>#1F3FB</string>", "bundle-color"),
    ("<string>/Library/Kit</string>", "<string>Library/Kit</string>", "bundle-data-path"),
    ("<string>/Library/Kit QA1</string>", "<string>/Library/Kit Dev1</string>", "bundle-shared-path"),
    ("<string>kitd</string>", "<string>kit</string>", "bundle-scheme"),
    ("<string>@/help</string>", "<string>@/help page</string>", "address-malformed"),
)
IN_TEXTS = (  # German
    ('"MessageRetry"', '"MessageRety"', "bundle-text-unknown"),
    ('"QNYes" = "Ja";', '"QNYes" = "";', "bundle-text-empty"),
)
MISSING_PICTURE = "bundle-missing-resource"
PLANTED = sorted([code for table in (IN_CONFIGURATION, IN_APPLICATION, IN_SETTINGS, IN_TEXTS) for _, _, code in table] +
                 [MISSING_PICTURE])


def planted(text, table):
    for right, wrong, _ in table:
        assert text.count(right) == 1, (right, text)
        text = text.replace(right, wrong)
    return text


class PortalFolder(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="planted-mistakes-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.nginx = Nginx(self.folder)
        self.addCleanup(self.nginx.stop)
        self.stage = stage.Stage(BUILD, self.folder, types.SimpleNamespace(language="de_DE.UTF-8", bundle=None))
        self.addCleanup(self.stage.console.close)
        self.addCleanup(self.stage.detach_volumes)

    def fill(self, is_bad):
        """The folder of the portal, nginx's own, as somebody made it in a hurry or as it should be."""
        text = planted if is_bad else (lambda text, table: text)
        config = text(CONFIGURATION, IN_CONFIGURATION).replace("@", self.nginx.base)
        (self.nginx.root / "config.json").write_text(config)
        (self.nginx.root / "help").write_text("Help.\n")
        self.make_image(text)
        self.make_bundle(text)
        if is_bad:
            (self.bundle / "Contents/Resources/no_internet.png").unlink()

    def make_image(self, text):
        contents = self.folder / "volume/Kit.app/Contents"
        stage.write_executable(contents / "MacOS/Kit", text(stage.SAMPLE_INSTALLER, IN_APPLICATION[1:]))
        info = plistlib.dumps({"CFBundleExecutable": "Kit", "CFBundleIdentifier": "net.kit-portal.kit"}).decode()
        (contents / "Info.plist").write_text(text(info, IN_APPLICATION[:1]))
        subprocess.run([self.stage.image_tool, "create", "-srcfolder", self.folder / "volume", "-volname", "Kit", "-format",
                        "UDZO", self.nginx.root / "download/Kit-1.dmg"], check=True, stdout=subprocess.DEVNULL)
        shutil.rmtree(self.folder / "volume")

    def make_bundle(self, text):
        self.bundle = self.nginx.root / "Kit Installer.app"
        shutil.copytree(BUILD / "QNInstaller.app", self.bundle, symlinks=True)
        path = self.bundle / "Contents/Info.plist"
        info = plistlib.loads(path.read_bytes())
        info.update({"CFBundleIdentifier": "net.kit-portal.installer", "CFBundleName": "Kit Installer", "CFBundleURLTypes": [
            {"CFBundleTypeRole": "Viewer", "CFBundleURLName": "net.kit-portal.installer", "CFBundleURLSchemes": ["kitd"]}]})
        settings = info["QNConfig"]
        for environment, key in (("Dev1", "DEV1_URL"), ("QA1", "QA1_URL"), ("Beta", "BETA_URL"), ("Prod", "PRODUCTION_URL")):
            behind = "" if environment == "Prod" else f" {environment}"
            settings[key] = "@/config.json" + behind.replace(" ", "?for=")
            settings[f"kQNApplicationDataPath{environment}"] = "/Library/Kit" + behind
            settings[f"kQNInstallBinaryPath{environment}"] = "Kit Installer" + behind
        settings.update({"QNPortalType": "kit", "kAPP_NAME": "Kit", "AnalyticsProductName": "KitInstaller",
                         "PRIMARY_COLOR": "#1F3FBB", "visitOnlineHelpSiteUrl": "@/help",
                         "downloadAndInstallLatestVersionUrl": "@/help?page=download", "clickHereUrl": "@/help?page=click"})
        path.write_text(text(plistlib.dumps(info).decode(), IN_SETTINGS).replace("@/", self.nginx.base + "/"))
        table = self.bundle / "Contents/Resources/de.lproj/Localizable.strings"
        table.write_text(text(table.read_text(), IN_TEXTS))
        routes = self.folder / "system/proc/net/route"
        routes.parent.mkdir(parents=True)
        routes.write_text(stage.SOME_ROUTE)
        (routes.parent / "ipv6_route").write_text("")

    def environment(self):
        return dict(self.stage.environment(), SSL_CERT_FILE=str(self.folder / "authority.pem"))

    def check(self, *words):
        return subprocess.run([BUILD / "qn-portal", "check", "--local", *words, self.nginx.root], env=self.environment(),
                              capture_output=True, text=True, check=False, timeout=LONGEST_WAIT)

    def test_has_all_of_its_twenty_mistakes_found_and_nothing_else(self):
        self.fill(is_bad=True)
        done = self.check("--offline", "--json")
        self.assertEqual((done.returncode, done.stderr), (1, ""))
        findings = json.loads(done.stdout)["findings"]
        self.assertEqual(len(PLANTED), 20)
        self.assertEqual(sorted(finding["code"] for finding in findings), PLANTED)
        for finding in findings:
            self.assertTrue(all(finding[key] for key in ("severity", "where", "what", "user_sees", "fix")), finding)

    def test_is_clean_and_installs_once_they_are_mended(self):
        self.fill(is_bad=False)
        done = self.check("--strict")
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        self.assertRegex(done.stdout, re.compile(r"^0 errors, 0 warnings, 0 notes;", re.MULTILINE))
        installer = subprocess.run([self.bundle / "Contents/MacOS/QNInstaller"], env=self.environment(),
                                   stderr=self.stage.console, check=False, timeout=LONGEST_WAIT)
        log = account.log_messages(self.stage.home / "Library/Kit/Logs/install.log")
        self.assertEqual(installer.returncode, 0, log)
        self.assertEqual((self.stage.home / "installer-arguments").read_text().splitlines(), ["1", "--quiet"])
        report = subprocess.run([BUILD / "qn-portal", "report", "--json", self.nginx.analytics], capture_output=True,
                                check=True, timeout=LONGEST_WAIT)
        self.assertEqual(json.loads(report.stdout)["funnel"],
                         {"started": 1, "configured": 1, "downloaded": 1, "finished": 1})


if __name__ == "__main__":
    unittest.main()
