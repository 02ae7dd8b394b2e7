#!/usr/bin/env python3
"""Compares the methods that our stub headers declare with an independent listing: Free Pascal's translation of the
frameworks' headers of the OS X 10.10 era, which Debian's package fpc-source carries (211 MB).

    .ci/macos/check_selectors.py SYSROOT      compares, and records that it was done
    .ci/macos/check_selectors.py --recorded   fails when a stub has changed since

What came later stands in lists/newer-methods, each with the version that its documentation names.
"""

import hashlib
import json
import pathlib
import re
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
LISTING = pathlib.Path("/usr/share/fpcsrc/3.2.2/packages/cocoaint/src")
RECORD = HERE / "lists/compared"
HEADERS = [HERE / "headers/frameworks" / path for path in ("Foundation/Foundation.h", "AppKit/AppKit.h")]
SCOPE = re.compile(r"^\s*(\w+) = objc(?:class|category|protocol) external(?: name '\w+')?(?: \((\w+)[^)]*\))?", re.MULTILINE)
METHOD = re.compile(r"^\s*(class )?(?:function|procedure)[^\n]* message '([^']+)';", re.MULTILINE)


def digest():
    text = b"".join(path.read_bytes() for path in HEADERS + [HERE / "lists/newer-methods"])
    return hashlib.sha256(text).hexdigest() + "\n"


def listed_methods():
    """From class to methods, written as +name or -name, and from class to what it inherits from."""
    methods, parents = {}, {}
    for file in sorted(LISTING.glob("foundation/*.inc")) + sorted(LISTING.glob("appkit/*.inc")):
        text = file.read_text(encoding="latin-1")
        scopes = list(SCOPE.finditer(text))
        for number, scope in enumerate(scopes):
            end = scopes[number + 1].start() if number + 1 < len(scopes) else len(text)
            is_category = "objccategory" in scope.group()
            name = scope.group(2) if is_category else scope.group(1).removesuffix("Protocol")
            if not is_category and scope.group(2):
                parents.setdefault(name, scope.group(2))
            for method in METHOD.finditer(text, scope.end(), end):
                methods.setdefault(name, set()).add(("+" if method.group(1) else "-") + method.group(2))
    return methods, parents


def declared_methods(root):
    """(class, +name or -name) of every method that our headers declare, those of properties included."""
    source = "#import <AppKit/AppKit.h>\n"
    clang = ["clang++-14", "--target=arm64-apple-macos11.0", "-isysroot", root, "-nostdinc++", "-std=c++20", "-fobjc-arc"]
    clang += ["-isystem", f"{root}/usr/include/c++/v1", "-x", "objective-c++", "-fsyntax-only", "-Xclang", "-ast-dump=json", "-"]
    tree = json.loads(subprocess.run(clang, input=source, check=True, capture_output=True, text=True).stdout)
    for node in tree["inner"]:
        if node["kind"] not in ("ObjCInterfaceDecl", "ObjCProtocolDecl", "ObjCCategoryDecl"):
            continue
        name = node["interface"]["name"] if node["kind"] == "ObjCCategoryDecl" else node["name"]
        for member in node.get("inner", []):
            if member["kind"] == "ObjCMethodDecl" and name != "NSObject":
                yield name, ("-" if member["instance"] else "+") + member["name"]


def is_listed(name, method, methods, parents):
    while name:
        if method in methods.get(name, set()):
            return True
        name = parents.get(name)
    return False


def main():
    if sys.argv[1] == "--recorded":
        if RECORD.read_text(encoding="utf-8") == digest():
            return 0
        print("the stub headers have changed: install fpc-source and run .ci/macos/check_selectors.py SYSROOT")
        return 1
    methods, parents = listed_methods()
    newer = set()
    for line in (HERE / "lists/newer-methods").read_text(encoding="utf-8").splitlines():
        if not line.startswith("#"):
            newer.add(tuple(line.split()[:2]))
    declared = sorted(set(declared_methods(sys.argv[1])))
    unknown = [pair for pair in declared if pair not in newer and not is_listed(*pair, methods, parents)]
    for name, method in unknown:
        print(f"{name} {method} is neither in the listing nor in lists/newer-methods")
    print(f"compared {len(declared)} methods, {len(newer)} of them newer than the listing")
    if not unknown:
        RECORD.write_text(digest(), encoding="utf-8")
    return 1 if unknown else 0


if __name__ == "__main__":
    sys.exit(main())
