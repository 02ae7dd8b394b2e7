"""The static libraries that Debian has no archive of, built from Debian's source packages.

They are built once and kept: the folder's name carries what went into it, so that a changed recipe or a newer version in
Debian makes a new one. No path of the building machine gets into what is built.
"""

import os
import pathlib
import re
import shutil

from debian import SourceArchive, text_hash
from steps import run, step

HERE = pathlib.Path(__file__).resolve().parent
# Where the libraries believe to lie: the same on every machine. Nothing is installed there.
PREFIX = "/opt/qninstaller-toolkit"
FLAGS = "-Os -fPIC -ffunction-sections -fdata-sections"

CURL_OPTIONS = """--disable-shared --enable-static --with-openssl --with-zlib --with-brotli --without-zstd
    --without-nghttp2 --without-libidn2 --without-libpsl --without-librtmp --without-libssh2 --without-gssapi
    --disable-dict --disable-ftp --disable-gopher --disable-imap --disable-ldap --disable-manual --disable-mqtt
    --disable-pop3 --disable-rtsp --disable-smb --disable-smtp --disable-telnet --disable-tftp --disable-docs
    --disable-libcurl-option --disable-alt-svc --disable-hsts --with-ca-bundle=/etc/ssl/certs/ca-certificates.crt""".split()
XKB_OPTIONS = ["-Ddefault_library=static", "-Denable-docs=false", "-Denable-wayland=false", "-Denable-tools=false",
               "-Denable-xkbregistry=false", "-Dxkb-config-root=/usr/share/X11/xkb", "-Dx-locale-root=/usr/share/X11/locale"]
QT_OPTIONS = (HERE / "toolkit/qt6-base.options").read_text()
PLIST_OPTIONS = ["--disable-shared", "--enable-static", "--without-cython"]


def _flags(source, build):
    return f"{FLAGS} -ffile-prefix-map={source}={source.name} -ffile-prefix-map={build}=build"


def _variables(source, build):
    flags = _flags(source, build)
    return {"CFLAGS": flags, "CXXFLAGS": flags, "SOURCE_DATE_EPOCH": "0", "ZERO_AR_DATE": "1"}


def _with_configure(options):
    def build(source, folder, target, log, jobs):
        variables = _variables(source, folder)
        if not (source / "configure").exists():
            run(["autoreconf", "-fi"], log, source)
        run([source / "configure", f"--prefix={PREFIX}", *options], log, folder, variables)
        run(["make", f"-j{jobs}"], log, folder, variables)
        run(["make", "install", f"DESTDIR={target}"], log, folder, variables)
    return build


def _with_meson(options):
    def build(source, folder, target, log, jobs):
        variables = _variables(source, folder)
        run(["meson", "setup", "--buildtype=plain", f"--prefix={PREFIX}", "--libdir=lib", *options, source, folder], log,
            environment=variables)
        run(["ninja", "-C", folder, f"-j{jobs}"], log, environment=variables)
        run(["meson", "install", "-C", folder], log, environment={**variables, "DESTDIR": str(target)})
    return build


def _qt(source, folder, target, log, jobs):
    variables = _variables(source, folder)
    run(["cmake", "-S", source, "-B", folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
         f"-DCMAKE_INSTALL_PREFIX={PREFIX}", *QT_OPTIONS.split()], log, environment=variables)
    run(["ninja", "-C", folder, f"-j{jobs}"], log, environment=variables)
    run(["cmake", "--install", folder], log, environment={**variables, "DESTDIR": str(target)})


# Source package and how it is built. Qt comes last: it takes as long as all others ten times.
LIBRARIES = {
    "libplist": _with_configure(PLIST_OPTIONS),
    "libxkbcommon": _with_meson(XKB_OPTIONS),
    "curl": _with_configure(CURL_OPTIONS),
    "qt6-base": _qt,
}


def _recipe():
    return "\n".join([FLAGS, *CURL_OPTIONS, *XKB_OPTIONS, *PLIST_OPTIONS, QT_OPTIONS])


def _forget_build_paths(folder):
    """pkg-config's and CMake's files name the prefix relative to themselves, so that the folder can lie anywhere."""
    for path in (folder / PREFIX.lstrip("/")).glob("lib/pkgconfig/*.pc"):
        path.write_text(re.sub(f"^prefix={re.escape(PREFIX)}$", "prefix=${pcfiledir}/../..", path.read_text(), flags=re.M))


def make_toolkit(cache, jobs=None):
    """The folder with lib/, include/ and Qt's tools."""
    jobs = jobs or os.cpu_count()
    archive = SourceArchive(cache / "apt")
    with step("Looking up Debian's sources"):
        versions = {package: archive.version(package) for package in LIBRARIES}
    key = text_hash(_recipe(), *(f"{package}={version}" for package, version in versions.items()))
    folder = cache / f"toolkit-{key}"
    for package, build in LIBRARIES.items():
        _make_library(package, versions[package], build, archive, folder, jobs)
    return folder / PREFIX.lstrip("/")


def _make_library(package, version, build, archive, folder, jobs):
    done = folder / f"{package}.done"
    if done.exists():
        return
    with step(f"Building {package} {version}"):
        source, work, log = folder / f"work/{package}", folder / f"work/{package}-build", folder / f"{package}.log"
        shutil.rmtree(work, ignore_errors=True)
        work.parent.mkdir(parents=True, exist_ok=True)
        archive.unpack(package, version, source)
        work.mkdir()
        build(source, work, folder, log, jobs)
        _forget_build_paths(folder)
        shutil.copy(source / "debian/copyright", folder / f"{package}.copyright")
        shutil.rmtree(source)
        shutil.rmtree(work)
        done.write_text(version + "\n")
