#!/usr/bin/env python3
"""What tools/release/macos.py would do on a Mac, command by command: it prints them and runs none."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

TREE = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = TREE / "tools/release/macos.py"

BUILD = """\
cmake -S . -B build-macos -G Ninja -DCMAKE_BUILD_TYPE=Release '-DCMAKE_OSX_ARCHITECTURES=arm64;x86_64'{qt}
cmake --build build-macos --target QNInstaller
cmake --install build-macos --prefix out
"""
DEPLOY = """\
macdeployqt out/QNInstaller.app -no-plugins -verbose=1 \
-executable=out/QNInstaller.app/Contents/PlugIns/platforms/libqcocoa.dylib
"""
LOOK = """\
plutil -lint out/QNInstaller.app/Contents/Info.plist
lipo out/QNInstaller.app/Contents/MacOS/QNInstaller -verify_arch arm64 x86_64
"""
SIGN = "codesign --force --timestamp --options runtime --sign 'Developer ID Application: Sample (T)' out/QNInstaller.app"
SIGN_QT = "".join(f"{SIGN}/Contents/{part}\n" for part in (
    "Frameworks/QtCore.framework", "Frameworks/QtDBus.framework", "Frameworks/QtGui.framework",
    "Frameworks/QtWidgets.framework", "PlugIns/platforms/libqcocoa.dylib"))
NOTARIZE = f"""\
{SIGN}
codesign --verify --deep --strict --verbose=2 out/QNInstaller.app
ditto -c -k --keepParent out/QNInstaller.app out/QNInstaller.zip
xcrun notarytool submit out/QNInstaller.zip --keychain-profile sample --wait
xcrun stapler staple out/QNInstaller.app
rm out/QNInstaller.zip
"""
IMAGE = """\
mkdir out/volume
# the bundle, the link to Applications and the picture are laid out in out/volume
hdiutil create -srcfolder out/volume -volname QNInstaller -fs HFS+ -format UDRW -ov out/draft.dmg
hdiutil attach -readwrite -noverify out/draft.dmg
osascript -e 'tell application "Finder" to tell disk "QNInstaller"
    open
    set current view of container window to icon view
    set toolbar visible of container window to false
    set bounds of container window to {200, 200, 840, 628}
    set background picture of icon view options of container window to file ".background:background.png"
    set icon size of icon view options of container window to 96
    set position of item "QNInstaller.app" to {160, 190}
    set position of item "Applications" to {480, 190}
    update without registering applications
    close
end tell'
hdiutil detach /Volumes/QNInstaller
hdiutil convert out/draft.dmg -format ULMO -ov -o out/QNInstaller.dmg
rm -r out/draft.dmg out/volume
codesign --force --timestamp --sign 'Developer ID Application: Sample (T)' out/QNInstaller.dmg
xcrun notarytool submit out/QNInstaller.dmg --keychain-profile sample --wait
xcrun stapler staple out/QNInstaller.dmg
spctl --assess --type open --context context:primary-signature --verbose=2 out/QNInstaller.dmg
"""


def run(*words):
    command = [sys.executable, "-B", SCRIPT, "--identity", "Developer ID Application: Sample (T)", "--notary", "sample",
               "--output", "out", *words]
    done = subprocess.run(command, capture_output=True, text=True, check=False, cwd=TREE)
    return done.returncode, done.stdout, done.stderr


class ReleaseForMacos(unittest.TestCase):
    maxDiff = None

    def test_prints_each_command_with_shared_qt(self):
        expected = BUILD.format(qt="") + DEPLOY + LOOK + SIGN_QT + NOTARIZE + IMAGE
        self.assertEqual(run("--dry-run"), (0, expected, ""))
        self.assertFalse((TREE / "out").exists())

    def test_needs_neither_macdeployqt_nor_signatures_inside_with_static_qt(self):
        with tempfile.TemporaryDirectory() as folder:
            qt = pathlib.Path(folder)
            (qt / "lib").mkdir()
            (qt / "lib/libQt6Core.a").touch()
            expected = BUILD.format(qt=f" -DCMAKE_PREFIX_PATH={qt}") + LOOK + NOTARIZE + IMAGE
            self.assertEqual(run("--dry-run", "--qt", qt), (0, expected, ""))

    def test_puts_a_brand_in_before_anything_is_signed(self):
        brand = "# the brand in portals/midnight is put into the bundle\n"
        expected = BUILD.format(qt="") + DEPLOY + brand + LOOK + SIGN_QT + NOTARIZE + IMAGE
        self.assertEqual(run("--dry-run", "--portal", "midnight"), (0, expected, ""))

    def test_stops_at_a_brand_that_there_is_not(self):
        self.assertEqual(run("--dry-run", "--portal", "none"), (1, "", "macos.py: portals/none: there is no such portal\n"))

    @unittest.skipIf(sys.platform == "darwin", "there it would begin")
    def test_runs_nothing_where_there_is_no_mac(self):
        self.assertEqual(run(), (1, "", "macos.py: this needs a Mac; with --dry-run it prints what it would do\n"))


if __name__ == "__main__":
    unittest.main()
