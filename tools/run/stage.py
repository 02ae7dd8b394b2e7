"""Everything around the installer: its bundle's copy, the portal, the disk image, the user's folders."""

import contextlib
import json
import os
import pathlib
import plistlib
import shutil
import subprocess
import sys

IDENTIFIER = "com.example.qninstaller.run"
ARGUMENT = "--portal sample --locale en"
DATA_PATH = "/Library/Application Support/Sample"

# What the sample installer does: it tells its progress and notes what it was given.
SAMPLE_INSTALLER = """#!/bin/sh
for part in 25 50 75 100; do
    echo "PROGRESS: $part/100"
done
{ echo "$#"; for argument; do echo "$argument"; done; } >"$HOME/installer-arguments"
"""

# Notes the address instead of bothering the user's browser.
FAKE_OPENER = """#!/bin/sh
echo "$1" >>"$HOME/opened-addresses"
"""

NO_ROUTES = "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\n"
SOME_ROUTE = NO_ROUTES + "eth0\t00000000\t0100000A\t0003\t0\t0\t0\t00000000\n"


def write_executable(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)
    path.chmod(0o755)


class Portal:
    """The portal program while it runs."""

    def __init__(self, process, addresses):
        self.process = process
        self.addresses = addresses


class Stage:
    def __init__(self, build, folder, options):
        self.build = build
        self.folder = folder
        self.options = options
        self.home = folder / "home"
        self.bundle = folder / "Sample Installer.app"
        self.record = folder / "requests.jsonl"
        self.log_path = pathlib.Path(f"{self.home}{DATA_PATH}/Logs/install.log")
        for name in ("home", "tmp", "runtime"):
            (folder / name).mkdir(mode=0o700)
        self.console = open(folder / "console", "wb")
        write_executable(folder / "bin/xdg-open", FAKE_OPENER)

    @property
    def executable(self):
        return self.bundle / "Contents/MacOS/QNInstaller"

    @property
    def image_tool(self):
        if sys.platform == "darwin":
            return pathlib.Path("/usr/bin/hdiutil")
        return self.build / "QNInstaller.app/Contents/SystemRoot/usr/bin/hdiutil"

    def environment(self):
        environment = dict(os.environ)
        environment.update({
            "HOME": str(self.home),
            "CFFIXED_USER_HOME": str(self.home),  # what macOS's own libraries go by
            "TMPDIR": str(self.folder / "tmp"),
            "XDG_RUNTIME_DIR": str(self.folder / "runtime"),
            "QN_SYSTEM_ROOT": str(self.folder / "system"),
            "PATH": f"{self.folder}/bin:{os.environ.get('PATH', '/usr/bin:/bin')}",
            "no_proxy": "127.0.0.1",
            "NO_PROXY": "127.0.0.1",
        })
        if self.options.language:
            for name in ("LC_ALL", "LC_MESSAGES", "LANGUAGE"):
                environment.pop(name, None)
            environment["LANG"] = self.options.language
        return environment

    def make_bundle(self, configuration, ending):
        """A copy of the built bundle that asks our portal, on a machine with or without a route to the internet."""
        shutil.copytree(self.options.bundle or self.build / "QNInstaller.app", self.bundle, symlinks=True)
        path = self.bundle / "Contents/Info.plist"
        info = plistlib.loads(path.read_bytes())
        info.update({"CFBundleIdentifier": IDENTIFIER, "QNEnv": "dev1"})
        info["QNConfig"].update({"DEV1_URL": configuration, "kQNApplicationDataPathDev1": DATA_PATH})
        path.write_bytes(plistlib.dumps(info))
        routes = self.folder / "system/proc/net/route"
        routes.parent.mkdir(parents=True)
        routes.write_text(SOME_ROUTE if ending.online else NO_ROUTES)
        (routes.parent / "ipv6_route").write_text("")

    def make_image(self, applications):
        """A real HFS+ image that holds the sample installer once for each name."""
        source = self.folder / "image"
        for name in applications:
            contents = source / f"{name}.app/Contents"
            write_executable(contents / "MacOS/Setup", SAMPLE_INSTALLER)
            (contents / "Info.plist").write_bytes(plistlib.dumps(
                {"CFBundleIdentifier": "com.example.sample-setup", "CFBundleExecutable": "Setup"}))
        image = self.folder / "Sample.dmg"
        subprocess.run([self.image_tool, "create", "-srcfolder", source, "-volname", "Sample Setup", "-format", "UDZO",
                        image], check=True, stdout=subprocess.DEVNULL)
        return image

    @contextlib.contextmanager
    def portal(self, ending):
        command = [self.build / "tools/portal/portal", "--record", self.record, "--command-line-args", ARGUMENT,
                   *ending.portal_options]
        if ending.applications:
            command += ["--image", self.make_image(ending.applications)]
        with open(self.folder / "portal.log", "wb") as log:
            process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=log)
            try:
                yield Portal(process, json.loads(process.stdout.readline()))
            finally:
                process.terminate()
                process.wait()

    def detach_volumes(self):
        """What a failed run leaves mounted would keep our folder busy."""
        volumes = self.folder / "system/Volumes"
        for volume in volumes.iterdir() if volumes.is_dir() else ():
            if not volume.name.startswith("."):
                subprocess.run([self.image_tool, "detach", f"/Volumes/{volume.name}"], env=self.environment(),
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
