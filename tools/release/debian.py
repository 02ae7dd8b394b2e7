"""Debian's source packages, from where the machine's own package lists come from, which stay as they are."""

import glob
import hashlib
import pathlib
import re
import shutil
import subprocess

from steps import Failed, run


def _source_entries():
    """The machine's lists with sources in the place of programs."""
    entries = {}
    for path in map(pathlib.Path, sorted(glob.glob("/etc/apt/sources.list.d/*.sources"))):
        entries[path.name] = re.sub(r"^Types:.*$", "Types: deb-src", path.read_text(), flags=re.M)
    lines = [pathlib.Path("/etc/apt/sources.list")] if pathlib.Path("/etc/apt/sources.list").exists() else []
    for path in lines + [pathlib.Path(name) for name in sorted(glob.glob("/etc/apt/sources.list.d/*.list"))]:
        entries[path.name] = re.sub(r"^deb\b", "deb-src", path.read_text(), flags=re.M)
    return {name if "." in name else f"{name}.list": text for name, text in entries.items() if "deb-src" in text}


class SourceArchive:
    def __init__(self, folder):
        self.folder = folder
        self._updated = False

    def _options(self):
        return ["-o", "Dir::Etc::sourcelist=/dev/null", "-o", f"Dir::Etc::sourceparts={self.folder}/parts",
                "-o", f"Dir::State::lists={self.folder}/lists", "-o", "Dir::Cache::pkgcache=",
                "-o", "Dir::Cache::srcpkgcache=", "-o", "APT::Sandbox::User=root"]

    def _update(self):
        if self._updated:
            return
        parts = self.folder / "parts"
        shutil.rmtree(parts, ignore_errors=True)
        parts.mkdir(parents=True)
        (self.folder / "lists/partial").mkdir(parents=True, exist_ok=True)
        for name, text in _source_entries().items():
            (parts / name).write_text(text)
        run(["apt-get", *self._options(), "update"], self.folder / "apt.log")
        self._updated = True

    def version(self, package):
        """The newest one that the lists know."""
        self._update()
        known = subprocess.run(["apt-cache", *self._options(), "showsrc", "--only-source", package],
                               capture_output=True, text=True).stdout
        versions = re.findall(r"^Version: (.+)$", known, flags=re.M)
        if not versions:
            raise Failed(f"There is no source package {package} in this machine's package lists")
        newest = versions[0]
        for version in versions[1:]:
            if subprocess.run(["dpkg", "--compare-versions", version, "gt", newest]).returncode == 0:
                newest = version
        return newest

    def unpack(self, package, version, target):
        """The sources with Debian's patches, as dpkg-source lays them out; apt has checked the signatures."""
        self._update()
        downloads = self.folder / "downloads"
        downloads.mkdir(exist_ok=True)
        run(["apt-get", *self._options(), "source", "--download-only", f"{package}={version}"],
            self.folder / "apt.log", folder=downloads)
        description = downloads / f"{package}_{version.split(':')[-1]}.dsc"
        shutil.rmtree(target, ignore_errors=True)
        run(["dpkg-source", "--no-check", "-x", description, target], self.folder / "apt.log")


def text_hash(*texts):
    return hashlib.sha256("\0".join(texts).encode()).hexdigest()[:12]
