#!/usr/bin/env python3
"""Builds, signs and packs the program on a Mac: a universal bundle with Qt inside, and the disk image that carries it.

    tools/release/macos.py --identity NAME --notary PROFILE [--qt FOLDER] [--portal BRAND] [--dry-run]

It has never run on a Mac: with --dry-run it prints each command and runs none, which is how it is tested on Linux.
"""

import argparse
import pathlib
import shlex
import subprocess
import sys

import brand
import disk_image
from steps import Failed

TOP = pathlib.Path(__file__).resolve().parents[2]
ARCHITECTURES = ("arm64", "x86_64")
FRAMEWORKS = ("QtCore", "QtDBus", "QtGui", "QtWidgets")  # what macdeployqt brings: told where there are none yet
# As the Finder keeps it: the window's size, the icons' places, the picture behind them.
ARRANGE = """tell application "Finder" to tell disk "{volume}"
    open
    set current view of container window to icon view
    set toolbar visible of container window to false
    set bounds of container window to {{200, 200, 840, 628}}
    set background picture of icon view options of container window to file ".background:background.png"
    set icon size of icon view options of container window to 96
    set position of item "{bundle}" to {{160, 190}}
    set position of item "Applications" to {{480, 190}}
    update without registering applications
    close
end tell"""


def arguments():
    parser = argparse.ArgumentParser(prog="tools/release/macos.py", description=__doc__.split("\n\n", 1)[0])
    parser.add_argument("--identity", required=True, metavar="NAME",
                        help='the certificate, such as "Developer ID Application: Sample (TEAM)"')
    parser.add_argument("--notary", required=True, metavar="PROFILE",
                        help="the credentials' name in the keychain, as notarytool store-credentials keeps them")
    parser.add_argument("--qt", type=pathlib.Path, metavar="FOLDER",
                        help="a Qt for both architectures; one that is linked statically needs no macdeployqt")
    parser.add_argument("--portal", metavar="BRAND", help="with the brand in portals/BRAND")
    parser.add_argument("--output", type=pathlib.Path, default=pathlib.Path("dist/macos"), metavar="FOLDER",
                        help="where everything is put (default: dist/macos)")
    parser.add_argument("--dry-run", action="store_true", help="print each command, and run none")
    return parser.parse_args()


class Sequence:
    """The commands in their order; each is run, or only printed."""

    def __init__(self, options):
        self.options = options
        self.output = options.output
        self.bundle = self.output / "QNInstaller.app"
        self.is_static = bool(options.qt) and (options.qt / "lib/libQt6Core.a").exists()

    def run(self, *command):
        if self.options.dry_run:
            print(shlex.join(map(str, command)))
        else:
            subprocess.run(command, check=True)

    def do(self, text, function, *words):
        """What this script does itself, told in the list as a comment."""
        if self.options.dry_run:
            print(f"# {text}")
        else:
            function(*words)

    def build(self):
        qt = [f"-DCMAKE_PREFIX_PATH={self.options.qt}"] if self.options.qt else []
        self.run("cmake", "-S", ".", "-B", "build-macos", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                 f"-DCMAKE_OSX_ARCHITECTURES={';'.join(ARCHITECTURES)}", *qt)
        self.run("cmake", "--build", "build-macos", "--target", "QNInstaller")
        self.run("cmake", "--install", "build-macos", "--prefix", self.output)
        if not self.is_static:
            # The plugins that it would add are not for this program: only the window system's is.
            self.run("macdeployqt", self.bundle, "-no-plugins", "-verbose=1",
                     f"-executable={self.bundle}/Contents/PlugIns/platforms/libqcocoa.dylib")
        if self.options.portal:
            self.do(f"the brand in portals/{self.options.portal} is put into the bundle", brand.put_brand,
                    brand.folder_of(self.options.portal, TOP), self.bundle)
        self.run("plutil", "-lint", self.bundle / "Contents/Info.plist")
        self.run("lipo", self.bundle / "Contents/MacOS/QNInstaller", "-verify_arch", *ARCHITECTURES)

    def sign(self, path):
        """With the hardened runtime and without entitlements: nothing is loaded but what is signed alike."""
        self.run("codesign", "--force", "--timestamp", "--options", "runtime", "--sign", self.options.identity, path)

    def sign_inside_out(self):
        """What lies inside first: a signature holds what it contains."""
        contents = self.bundle / "Contents"
        if not self.is_static:
            for framework in sorted(contents.glob("Frameworks/*")) or [contents / f"Frameworks/{name}.framework"
                                                                       for name in FRAMEWORKS]:
                self.sign(framework)
            self.sign(contents / "PlugIns/platforms/libqcocoa.dylib")
        self.sign(self.bundle)
        self.run("codesign", "--verify", "--deep", "--strict", "--verbose=2", self.bundle)

    def notarize(self, file):
        self.run("xcrun", "notarytool", "submit", file, "--keychain-profile", self.options.notary, "--wait")

    def notarize_bundle(self):
        """Its own ticket lets it start without a network once it has been copied out of the image."""
        archive = self.output / "QNInstaller.zip"
        self.run("ditto", "-c", "-k", "--keepParent", self.bundle, archive)
        self.notarize(archive)
        self.run("xcrun", "stapler", "staple", self.bundle)
        self.run("rm", archive)

    def make_image(self):
        volume, stage = "QNInstaller", self.output / "volume"
        draft, image = self.output / "draft.dmg", self.output / "QNInstaller.dmg"
        self.run("mkdir", stage)
        self.do(f"the bundle, the link to Applications and the picture are laid out in {stage}", disk_image.lay_out,
                self.bundle, stage)
        self.run(*disk_image.create_command("hdiutil", volume, "UDRW", stage, draft))
        self.run("hdiutil", "attach", "-readwrite", "-noverify", draft)
        self.run("osascript", "-e", ARRANGE.format(volume=volume, bundle=self.bundle.name))
        self.run("hdiutil", "detach", f"/Volumes/{volume}")
        self.run("hdiutil", "convert", draft, "-format", "ULMO", "-ov", "-o", image)
        self.run("rm", "-r", draft, stage)
        self.run("codesign", "--force", "--timestamp", "--sign", self.options.identity, image)
        self.notarize(image)
        self.run("xcrun", "stapler", "staple", image)
        self.run("spctl", "--assess", "--type", "open", "--context", "context:primary-signature", "--verbose=2", image)

    def all(self):
        self.build()
        self.sign_inside_out()
        self.notarize_bundle()
        self.make_image()


def main():
    options = arguments()
    if options.portal:
        brand.read_settings(brand.folder_of(options.portal, TOP))
    if not options.dry_run and sys.platform != "darwin":
        raise Failed("this needs a Mac; with --dry-run it prints what it would do")
    Sequence(options).all()


if __name__ == "__main__":
    try:
        main()
    except Failed as failed:
        sys.exit(f"macos.py: {failed}")
    except subprocess.CalledProcessError as failed:
        sys.exit(f"macos.py: {failed.cmd[0]} failed with status {failed.returncode}")
