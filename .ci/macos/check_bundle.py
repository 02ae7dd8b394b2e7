#!/usr/bin/env python3
"""Looks through the bundle that `cmake --install` has laid out for macOS, and through the disk image that carries it.

    .ci/macos/check_bundle.py BUNDLE --hdiutil PROGRAM --brand NAME

The image is read by 7-Zip and mounted by our own hdiutil; both have to show the very files of the bundle.
"""

import argparse
import filecmp
import os
import pathlib
import plistlib
import subprocess
import sys
import tempfile

TREE = pathlib.Path(__file__).resolve().parent.parent.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(TREE / "tools/release"))
import brand as brands  # noqa: E402

PICTURES = ("application_icon", "connecting_Spinner", "dl", "install_failed_block_img", "no_internet", "window_close")
FORMS = ("MainMenu", "QNAlertController", "QNErrorController", "QNMainController")
ICON_SIZES = ("16x16", "32x32", "48x48", "128x128", "256x256", "512x512", "1024x1024")
TEXTS = ("CFBundleExecutable", "CFBundleIconFile", "CFBundleIdentifier", "CFBundleName", "CFBundlePackageType",
         "CFBundleShortVersionString", "CFBundleVersion", "LSMinimumSystemVersion", "NSPrincipalClass")
VOLUME = "QNInstaller"


class Wrong(Exception):
    """What the bundle or the image lacks."""


def need(condition, sentence):
    if not condition:
        raise Wrong(sentence)


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def expected_files():
    resources = {f"{name}{scale}.png" for name in PICTURES for scale in ("", "@2x", "@3x")}
    resources |= {f"Base.lproj/{form}.ui" for form in FORMS}
    resources |= {table.relative_to(TREE / "resources").as_posix() for table in TREE.glob("resources/*.lproj/*.strings")}
    resources |= {"application_icon.icns", "qt.conf", "unmount.sh"}
    return {f"Contents/Resources/{name}" for name in resources} | {
        "Contents/Info.plist", "Contents/MacOS/QNInstaller", "Contents/PlugIns/platforms/libqcocoa.dylib"}


def files_in(folder):
    return {path.relative_to(folder).as_posix() for path in folder.rglob("*") if not path.is_dir()}


def check_icon(icon):
    listed = output_of("icns2png", "-l", icon)
    for size in ICON_SIZES:
        need(f" {size} 32-bit icon" in listed, f"{icon.name} has no picture of {size}")


def check_information(bundle):
    """As plutil would: libplist has to read it; then what Launch Services goes by."""
    read = subprocess.run(["plistutil", "-i", bundle / "Contents/Info.plist"], capture_output=True, check=False)
    need(read.returncode == 0, "libplist cannot read Info.plist")
    info = plistlib.loads(read.stdout)
    for key in TEXTS:
        need(isinstance(info.get(key), str) and info[key] and "@" not in info[key], f"Info.plist: {key}")
    need(info["CFBundlePackageType"] == "APPL", "Info.plist: CFBundlePackageType is not APPL")
    need((bundle / "Contents/MacOS" / info["CFBundleExecutable"]).exists(), "Info.plist: there is no such executable")
    need((bundle / f"Contents/Resources/{info['CFBundleIconFile']}.icns").exists(), "Info.plist: there is no such icon")
    need(info["NSAppTransportSecurity"] == {"NSAllowsLocalNetworking": True}, "Info.plist: NSAppTransportSecurity")


def check_bundle(bundle):
    found = files_in(bundle)
    need(found == expected_files(), f"too many or missing: {sorted(found ^ expected_files())}")
    program = bundle / "Contents/MacOS/QNInstaller"
    need(os.access(program, os.X_OK) and program.read_bytes()[:4] == b"\xcf\xfa\xed\xfe", "the program is not one of macOS")
    check_information(bundle)
    check_icon(bundle / "Contents/Resources/application_icon.icns")


def check_brand(bundle, name):
    """A brand's own icon takes the place of ours."""
    before = (bundle / "Contents/Resources/application_icon.icns").read_bytes()
    brands.put_brand(brands.folder_of(name, TREE), bundle)
    icon = bundle / "Contents/Resources/application_icon.icns"
    need(icon.read_bytes() != before, f"portals/{name}: the icon is still ours")
    check_icon(icon)
    check_information(bundle)


def same(first, second):
    names = files_in(first)
    need(files_in(second) == names, f"not the same names: {sorted(files_in(second) ^ names)}")
    _, different, unread = filecmp.cmpfiles(first, second, sorted(names), shallow=False)
    need(not different and not unread, f"not the same: {different + unread}")


def check_volume(volume, bundle):
    need(os.readlink(volume / "Applications") == "/Applications", "the link to Applications leads elsewhere")
    need((volume / ".background/background.png").read_bytes()[:4] == b"\x89PNG", "the background is no picture")
    same(bundle, volume / bundle.name)
    need(os.access(volume / bundle.name / "Contents/MacOS/QNInstaller", os.X_OK), "the program is not executable there")


def check_image(bundle, hdiutil, folder):
    image = folder / "QNInstaller.dmg"
    subprocess.run([sys.executable, TREE / "tools/release/disk_image.py", "--hdiutil", hdiutil, "--volume", VOLUME, bundle,
                    image], check=True)
    seven = next(name for name in ("7zz", "7z") if subprocess.run(["which", name], capture_output=True).returncode == 0)
    output_of(seven, "t", image)
    subprocess.run([seven, "x", f"-o{folder}/seven", image, f"{VOLUME}/{bundle.name}"], check=True, capture_output=True)
    same(bundle, folder / "seven" / VOLUME / bundle.name)
    mounted = folder / "mounted"
    output_of(hdiutil, "attach", "-mountpoint", mounted, image)
    try:
        check_volume(mounted, bundle)
    finally:
        output_of(hdiutil, "detach", mounted)
    return image.stat().st_size


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("bundle", type=pathlib.Path)
    parser.add_argument("--hdiutil", type=pathlib.Path, required=True)
    parser.add_argument("--brand", required=True)
    options = parser.parse_args()
    try:
        check_bundle(options.bundle)
        with tempfile.TemporaryDirectory() as folder:
            size = check_image(options.bundle, options.hdiutil, pathlib.Path(folder))
        check_brand(options.bundle, options.brand)
    except Wrong as wrong:
        print(f"{options.bundle}: {wrong}")
        return 1
    total = sum(path.stat().st_size for path in options.bundle.rglob("*") if path.is_file())
    print(f"  bundle:   {total // 1024} KiB without Qt, {size // 1024} KiB as a disk image")
    return 0


if __name__ == "__main__":
    sys.exit(main())
