#!/usr/bin/env python3
"""A portal's brand in a bundle: that all of it gets there, nothing of another one, and that mistakes are told."""

import os
import pathlib
import plistlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools/release"))
import brand  # noqa: E402

BUILD = pathlib.Path(os.environ["BUILD"])
PORTALS = sorted(path.name for path in (ROOT / "portals").iterdir())


class BrandTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="brand-")
        self.addCleanup(folder.cleanup)
        self.path = pathlib.Path(folder.name)

    def bundle(self, name):
        bundle = self.path / name / "QNInstaller.app"
        shutil.copytree(BUILD / "QNInstaller.app/Contents/Resources", bundle / "Contents/Resources")
        shutil.copy(BUILD / "QNInstaller.app/Contents/Info.plist", bundle / "Contents")
        return bundle

    def branded(self, name):
        bundle = self.bundle(name)
        brand.put_brand(ROOT / "portals" / name, bundle)
        return bundle

    def portal(self, **changes):
        """A copy of a portal with other settings; None takes one away."""
        folder = self.path / f"portal-{len(list(self.path.iterdir()))}"
        shutil.copytree(ROOT / "portals/midnight", folder)
        settings = plistlib.loads((folder / "Info.plist").read_bytes())
        for key, value in changes.items():
            place = settings if key in brand.TOP else settings["QNConfig"]
            place[key] = value
            if value is None:
                del place[key]
        (folder / "Info.plist").write_bytes(plistlib.dumps(settings))
        return folder

    def assert_stops(self, folder, sentence):
        with self.assertRaises(brand.Failed) as stopped:
            brand.put_brand(folder, self.bundle(f"bundle-{folder.name}"))
        self.assertEqual(str(stopped.exception), f"{folder}/{sentence}")

    def test_puts_settings_identifier_name_scheme_texts_and_icon(self):
        bundle = self.branded("midnight")
        info = plistlib.loads((bundle / "Contents/Info.plist").read_bytes())
        self.assertEqual(info["CFBundleIdentifier"], "com.example.midnight.installer")
        self.assertEqual(info["CFBundleName"], "Midnight Installer")
        self.assertEqual(info["CFBundleURLTypes"], [{"CFBundleTypeRole": "Viewer",
                                                     "CFBundleURLName": "com.example.midnight.installer",
                                                     "CFBundleURLSchemes": ["midnightd"]}])
        self.assertEqual(info["QNConfig"]["BG_COLOR"], "#101418")
        self.assertEqual(info["CFBundleExecutable"], "QNInstaller")
        english = (bundle / "Contents/Resources/en.lproj/Localizable.strings").read_text()
        self.assertIn('"MessageConnecting" = "Calling Midnight…";\n', english)
        self.assertNotIn('"Connecting…"', english)
        for ending in ("", "@2x", "@3x"):
            name = f"Contents/Resources/application_icon{ending}.png"
            self.assertNotEqual((bundle / name).read_bytes(), (BUILD / "QNInstaller.app" / name).read_bytes())

    def test_leaves_nothing_of_the_sample_or_of_another_portal(self):
        foreign = {name: [other.encode() for portal in PORTALS if portal != name
                          for other in (portal, portal.capitalize())] + [b"com.example.qninstaller", b">qnd<", b"Sample"]
                   for name in PORTALS}
        self.assertEqual(PORTALS, ["midnight", "shemesh"])
        for name in PORTALS:
            bundle = self.branded(name)
            for path in (each for each in bundle.rglob("*") if each.is_file()):
                for word in foreign[name]:
                    self.assertNotIn(word, path.read_bytes(), f"{word} in {path}")

    def test_takes_the_folder_that_qn_portal_makes(self):
        subprocess.run([BUILD / "qn-portal", "brand", "new", "kit"], cwd=self.path, check=True, stdout=subprocess.DEVNULL)
        bundle = self.bundle("kit-bundle")
        brand.put_brand(self.path / "kit", bundle)
        info = plistlib.loads((bundle / "Contents/Info.plist").read_bytes())
        self.assertEqual(info["CFBundleIdentifier"], "com.example.kit.installer")

    def test_tells_file_key_and_sentence_of_a_wrong_setting(self):
        table = (
            ({"BG_COLOR": None}, "Info.plist: BG_COLOR: missing"),
            ({"BG_COLOR": "#12"}, 'Info.plist: BG_COLOR: "#12" is no colour such as #1A1A1A'),
            ({"BG_COLOUR": "#121212"}, "Info.plist: BG_COLOUR: unknown; is it BG_COLOR?"),
            ({"kAPP_NAME": 7}, "Info.plist: kAPP_NAME: has to be a text"),
            ({"kAPP_NAME": ""}, 'Info.plist: kAPP_NAME: "" is empty, or begins or ends with a blank'),
            ({"PRODUCTION_URL": "ftp://x"}, 'Info.plist: PRODUCTION_URL: "ftp://x" is no address such as '
                                            "https://portal.example.com/config.json"),
            ({"kQNApplicationDataPathProd": "Library"}, 'Info.plist: kQNApplicationDataPathProd: "Library" is no path below '
                                                        "the home such as /Library/Application Support/Kit"),
            ({"CFBundleIdentifier": "kit"}, 'Info.plist: CFBundleIdentifier: "kit" is no identifier such as '
                                            "com.example.installer"),
            ({"CFBundleIdentifier": "com." + "x" * 76}, "Info.plist: CFBundleIdentifier: longer than 79 letters"),
            ({"QNEnv": "live"}, 'Info.plist: QNEnv: "live" is none of dev1, qa1, beta and prod'),
        )
        for changes, sentence in table:
            self.assert_stops(self.portal(**changes), sentence)

    def test_tells_file_and_line_of_a_wrong_text(self):
        folder = self.portal()
        table = folder / "en.lproj/Localizable.strings"
        table.write_text('/* one\n two */\n"MessageConnecting" = "a"\n')
        self.assert_stops(folder, 'en.lproj/Localizable.strings: line 3: not of the form "KEY" = "text";')
        table.write_text('"MessageConecting" = "a";\n')
        shutil.rmtree(self.path / f"bundle-{folder.name}")
        self.assert_stops(folder, 'en.lproj/Localizable.strings: "MessageConecting": the installer has no '
                                                   "such text")

    def test_tells_of_a_picture_that_nobody_shows(self):
        folder = self.portal()
        (folder / "images/icon.svg").write_text("<svg/>")
        self.assert_stops(folder, "images/icon.svg: the installer has no such picture")

    def test_tells_of_a_portal_that_is_not_there(self):
        for name in ("nobody", "../portals", ""):
            with self.assertRaisesRegex(brand.Failed, "there is no such portal"):
                brand.folder_of(name, ROOT)


if __name__ == "__main__":
    unittest.main()
