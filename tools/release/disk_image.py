#!/usr/bin/env python3
"""Makes the disk image that carries the program to a Mac: the bundle, a link to Applications beside it, and the picture
for the window's background.

    tools/release/disk_image.py --hdiutil PROGRAM --volume NAME BUNDLE IMAGE [--format ULMO]

On Linux the program is this project's own hdiutil, on a Mac the system's: both are asked in the same words. Where the
Finder puts the icons, and that it shows the picture, it keeps in a file .DS_Store whose format is nowhere documented: only
a Mac writes it (tools/release/macos.py); without it the window opens in the Finder's plain view.
"""

import argparse
import pathlib
import shutil
import subprocess
import tempfile

PICTURE = pathlib.Path(__file__).resolve().parents[2] / "resources/macos/disk_image.svg"


def lay_out(bundle, folder):
    """What the volume holds."""
    shutil.copytree(bundle, folder / bundle.name, symlinks=True)
    (folder / "Applications").symlink_to("/Applications")
    (folder / ".background").mkdir()
    for scale, ending in ((1, ""), (2, "@2x")):
        subprocess.run(["rsvg-convert", "--zoom", str(scale), "--output", folder / f".background/background{ending}.png",
                        PICTURE], check=True)


def create_command(hdiutil, volume, form, folder, image):
    return [hdiutil, "create", "-srcfolder", folder, "-volname", volume, "-fs", "HFS+", "-format", form, "-ov", image]


def make_image(options):
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name) / "volume"
        folder.mkdir()
        lay_out(options.bundle, folder)
        command = create_command(options.hdiutil, options.volume, options.format, folder, options.image)
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)


def main():
    parser = argparse.ArgumentParser(prog="tools/release/disk_image.py", description=__doc__.split("\n\n", 1)[0])
    parser.add_argument("--hdiutil", type=pathlib.Path, required=True, metavar="PROGRAM", help="what makes the image")
    parser.add_argument("--volume", required=True, metavar="NAME", help="the volume's name")
    parser.add_argument("--format", default="ULMO", help="of the image (default: ULMO, the smallest; macOS 10.15)")
    parser.add_argument("bundle", type=pathlib.Path)
    parser.add_argument("image", type=pathlib.Path)
    make_image(parser.parse_args())


if __name__ == "__main__":
    main()
