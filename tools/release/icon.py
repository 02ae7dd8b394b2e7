#!/usr/bin/env python3
"""Draws a program's icon for macOS: an .icns file with all sizes from one SVG, by rsvg-convert and png2icns.

    tools/release/icon.py SOURCE.svg TARGET.icns
"""

import pathlib
import subprocess
import sys
import tempfile

SIZES = (16, 32, 48, 128, 256, 512, 1024)  # pixels; what png2icns knows


def make_icon(source, target):
    with tempfile.TemporaryDirectory() as folder:
        pictures = []
        for size in SIZES:
            pictures.append(pathlib.Path(folder) / f"{size}.png")
            subprocess.run(["rsvg-convert", "--width", str(size), "--height", str(size), "--output", pictures[-1], source],
                           check=True)
        told = subprocess.run(["png2icns", target, *pictures], capture_output=True, text=True, check=False)
        if told.returncode != 0:
            sys.exit(f"png2icns: {told.stdout}{told.stderr}")


if __name__ == "__main__":
    make_icon(*map(pathlib.Path, sys.argv[1:]))
