#!/usr/bin/env python3
"""Says what the build in a folder has compiled and linked, and fails when a file of the program is not among it.

    .ci/macos/check_build.py BUILD
"""

import json
import pathlib
import shlex
import subprocess
import sys

TREE = pathlib.Path(__file__).resolve().parent.parent.parent
# Everything that the program is made of; of the services, macOS's side.
PORTABLE = ["app", "config", "install", "logging", "sysinfo", "ui"]
READOBJ = "/usr/lib/llvm-14/bin/llvm-readobj"


def program_files():
    files = [file for folder in PORTABLE for file in (TREE / folder).rglob("*.cpp")]
    return files + sorted((TREE / "platform/macos").glob("*.mm"))


def main():
    build = pathlib.Path(sys.argv[1])
    commands = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    compiled = {}
    for entry in commands:
        words = shlex.split(entry["command"])
        target = pathlib.Path(entry["directory"], words[words.index("-o") + 1])
        if target.exists():
            compiled[pathlib.Path(entry["file"])] = target
    missing = [file for file in program_files() if file not in compiled]
    for file in missing:
        print(f"{file.relative_to(TREE)}:1: is not compiled for macOS")
    without_arc = [
        entry["file"] for entry in commands if entry["file"].endswith(".mm") and "-fobjc-arc" not in entry["command"]
    ]
    for file in without_arc:
        print(f"{pathlib.Path(file).relative_to(TREE)}:1: is compiled without -fobjc-arc")
    program = build / "QNInstaller.app/Contents/MacOS/QNInstaller"
    header = subprocess.run([READOBJ, "--file-headers", program], check=True, capture_output=True, text=True).stdout
    if "Executable" not in header:
        print(f"{program} is no Mach-O executable")
        return 1
    if not (build / "QNInstaller.app/Contents/PlugIns/platforms/libqcocoa.dylib").exists():
        print("the bundle has no plugin for windows")
        return 1
    objective = sum(1 for file in compiled if file.suffix == ".mm")
    print(f"  compiled: {len(compiled) - objective} files of C++, {objective} of Objective-C++")
    print(f"  linked:   QNInstaller, {program.stat().st_size // 1024} KiB")
    return 1 if missing or without_arc else 0


if __name__ == "__main__":
    sys.exit(main())
