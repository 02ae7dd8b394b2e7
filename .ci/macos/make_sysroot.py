#!/usr/bin/env python3
"""Lays out what stands for macOS's SDK: headers and text stubs of its libraries, from Debian packages and this folder.

    .ci/macos/make_sysroot.py FOLDER

The folder is made anew. See README.md beside this file for what it can show and what not.
"""

import pathlib
import re
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
MUSL = pathlib.Path("/usr/include/x86_64-linux-musl")
LIBCXX = pathlib.Path("/usr/lib/llvm-14/include/c++/v1")
LLVM = pathlib.Path("/usr/lib/llvm-14")
QT_LIBRARIES = pathlib.Path("/usr/lib/x86_64-linux-gnu")
QT_MODULES = ["Core", "Gui", "Widgets", "Network", "Test"]
# What the frameworks bring along for whoever links them.
FRAMEWORK = "/System/Library/Frameworks/{0}.framework/Versions/A/{0}"
REEXPORTS = {"Foundation": [FRAMEWORK.format("CoreFoundation"), "/usr/lib/libobjc.A.dylib"]}

# <sys/_types.h> and <machine/_types.h> of macOS, where they differ from musl for 64 bits.
MACOS_TYPES = {
    "intmax_t": "long",
    "uintmax_t": "unsigned long",
    "time_t": "long",
    "clock_t": "unsigned long",
    "suseconds_t": "int",
    "blksize_t": "int",
    "dev_t": "int",
    "mode_t": "unsigned short",
    "nlink_t": "unsigned short",
    "sa_family_t": "unsigned char",
    "fsblkcnt_t": "unsigned int",
    "fsfilcnt_t": "unsigned int",
}


def listed(name):
    """The words of a list, without comments."""
    lines = (HERE / "lists" / name).read_text(encoding="utf-8").splitlines()
    return [word for line in lines if not line.startswith("#") for word in line.split()]


# Headers of the C library.


def macos_text(text, removed):
    """A header of musl's, with macOS's integer types and without names that only Linux has."""
    text = re.sub(r"^#define _Int64 long$", "#define _Int64 long long", text, flags=re.MULTILINE)
    for name, real in MACOS_TYPES.items():
        text = re.sub(rf"^typedef [\w ]+ {name};", f"typedef {real} {name};", text, flags=re.MULTILINE)
    text = text.replace("__errno_location", "__error")
    text = text.replace("<features.h>", "<bits/features.h>")  # macOS has no header of this name
    text = re.sub(r"#include <(?:endian|sys/sysmacros)\.h>\n", "", text)
    text = re.sub(r"^\w+ (?:new|dup|free|use)locale\b[^\n]*\n", "", text, flags=re.MULTILINE)  # in xlocale.h there
    text = re.sub(r"\bst_([acm])tim\b", r"st_\1timespec", text)  # stat(2) on macOS
    # An address begins with its length there, before the family.
    text = re.sub(r"(\n\t)sa_family_t(\s+)(sa|sin|sin6|sun|ss)_family;", r"\1unsigned char \3_len;\1sa_family_t\2\3_family;", text)
    text = re.sub(r"extern FILE \*const (std\w+);", r"extern FILE* __\1p;", text)
    text = re.sub(r"#define (std\w+) +\(\1\)", r"#define \1 __\1p", text)
    return re.sub(
        r"^[ \t]*#[ \t]*define[ \t]+(\w+)\b[^\n]*\n",
        lambda match: "" if match.group(1) in removed else match.group(),
        text,
        flags=re.MULTILINE,
    )


def copy_c_headers(include):
    removed = set(listed("linux-names"))
    internal = [f"bits/{path.name}" for path in (MUSL / "bits").glob("*.h")]
    for name in listed("libc-headers") + internal:
        target = include / name
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(macos_text((MUSL / name).read_text(encoding="utf-8"), removed), encoding="utf-8")
    features = macos_text((MUSL / "features.h").read_text(encoding="utf-8"), removed)
    # macOS shows POSIX and BSD to every dialect of C++; GNU's additions it does not have.
    asked = "#ifndef _BSD_SOURCE\n#define _BSD_SOURCE 1\n#endif\n#ifndef _XOPEN_SOURCE\n#define _XOPEN_SOURCE 700\n#endif\n"
    (include / "bits/features.h").write_text(asked + features, encoding="utf-8")
    shutil.copytree(HERE / "headers/usr", include, dirs_exist_ok=True)
    for name, addition in (("spawn.h", "spawn_apple.h"), ("stdlib.h", "stdlib_apple.h"), ("unistd.h", "unistd_apple.h"),
                           ("ctype.h", "ctype_apple.h")):
        path = include / name
        path.write_text(path.read_text(encoding="utf-8") + f"\n#include <bits/{addition}>\n", encoding="utf-8")


def copy_cxx_headers(include):
    """libc++'s own; which version of macOS brought what is switched on."""
    target = include / "c++/v1"
    shutil.copytree(LIBCXX, target)
    site = target / "__config_site"
    text = site.read_text(encoding="utf-8")
    site.write_text(text.replace("#define _LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS", ""), encoding="utf-8")


# Text stubs, version 4 of the format: https://github.com/apple-oss-distributions/ld64, doc/.


def text_stub(install_name, symbols, reexports=()):
    names = ", ".join(f"'{name}'" for name in sorted(set(symbols)))
    lines = [
        "--- !tapi-tbd",
        "tbd-version: 4",
        "targets: [ x86_64-macos, arm64-macos ]",
        f"install-name: '{install_name}'",
    ]
    if reexports:
        libraries = ", ".join(f"'{library}'" for library in reexports)
        lines += ["reexported-libraries:", "  - targets: [ x86_64-macos, arm64-macos ]", f"    libraries: [ {libraries} ]"]
    lines += ["exports:", "  - targets: [ x86_64-macos, arm64-macos ]", f"    symbols: [ {names} ]", "..."]
    return "\n".join(lines) + "\n"


def exported_by(shared_library):
    """The symbols of a Linux library, as Mach-O names them."""
    output = subprocess.run(
        [LLVM / "bin/llvm-nm", "-D", "--defined-only", "--format=posix", shared_library],
        check=True, capture_output=True, text=True,
    ).stdout
    return {"_" + line.split()[0].split("@")[0] for line in output.splitlines()}


def declared_by(header):
    """Classes, constants and functions that one of our framework headers declares."""
    text = re.sub(r"//[^\n]*", "", header.read_text(encoding="utf-8"))
    symbols = set()
    for name in re.findall(r"^(?:__attribute__\(\(\w+\)\) )?@interface (\w+)(?!\w| \()", text, re.MULTILINE):
        symbols |= {f"_OBJC_CLASS_$_{name}", f"_OBJC_METACLASS_$_{name}", f"_OBJC_EHTYPE_$_{name}"}
    for declaration in re.findall(r"^(?:\w+_EXPORT|extern \"C\")\s+([^;]*);", text, re.MULTILINE):
        name = re.search(r"(\w+)\s*(?:[([]|$)", re.sub(r"\s(?:API|NS)_\w+\([^;]*$", "", declaration))
        symbols.add("_" + name.group(1))
    return symbols


def make_frameworks(root):
    folder = root / "System/Library/Frameworks"
    for source in sorted((HERE / "headers/frameworks").iterdir()):
        name = source.name
        framework = folder / f"{name}.framework"
        shutil.copytree(source, framework / "Versions/A/Headers")
        stub = text_stub(FRAMEWORK.format(name), declared_by(source / f"{name}.h"), REEXPORTS.get(name, []))
        (framework / f"Versions/A/{name}.tbd").write_text(stub, encoding="utf-8")
        (framework / "Headers").symlink_to("Versions/A/Headers")
        (framework / f"{name}.tbd").symlink_to(f"Versions/A/{name}.tbd")


def make_libraries(root):
    library = root / "usr/lib"
    library.mkdir(parents=True)
    system = text_stub("/usr/lib/libSystem.B.dylib", listed("libc-functions"))
    for name in ("libSystem.tbd", "libc.tbd", "libm.tbd", "libpthread.tbd"):
        (library / name).write_text(system, encoding="utf-8")
    runtime = declared_by(HERE / "headers/usr/objc/NSObject.h") | set(listed("libobjc-functions"))
    (library / "libobjc.tbd").symlink_to("libobjc.A.tbd")
    (library / "libobjc.A.tbd").write_text(text_stub("/usr/lib/libobjc.A.dylib", runtime), encoding="utf-8")
    cxx = exported_by(LLVM / "lib/libc++.so.1") | exported_by(LLVM / "lib/libc++abi.so.1") | set(listed("libcxx-functions"))
    (library / "libc++.tbd").write_text(text_stub("/usr/lib/libc++.1.dylib", cxx), encoding="utf-8")


def make_qt(root):
    """Qt's own headers serve; its libraries are stubs of what the Linux ones export, and of what only macOS's do."""
    folder = root / "qt/lib"
    folder.mkdir(parents=True)
    plugin = root / "qt/plugins/platforms/libqcocoa.dylib"
    plugin.parent.mkdir(parents=True)
    plugin.write_bytes(b"")  # that it comes into the bundle is all that can be shown
    only_macos = set(listed("qt-functions"))
    for module in QT_MODULES:
        symbols = exported_by(QT_LIBRARIES / f"libQt6{module}.so.6") | (only_macos if module == "Core" else set())
        (folder / f"Qt{module}.tbd").write_text(text_stub(f"@rpath/Qt{module}", symbols), encoding="utf-8")


def main():
    root = pathlib.Path(sys.argv[1])
    shutil.rmtree(root, ignore_errors=True)
    include = root / "usr/include"
    include.mkdir(parents=True)
    copy_c_headers(include)
    copy_cxx_headers(include)
    make_frameworks(root)
    make_libraries(root)
    make_qt(root)
    shutil.copytree("/usr/include/nlohmann", root / "json/nlohmann")


if __name__ == "__main__":
    main()
