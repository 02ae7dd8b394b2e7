#!/usr/bin/env python3
"""Makes mistakes on purpose and fails when one of them is not caught: a check that lets everything pass is none.

    .ci/macos/check_mistakes.py BUILD

Each source is compiled as the files of platform/macos in BUILD are, and linked with Foundation alone. The first has no
mistake and has to pass.
"""

import json
import pathlib
import shlex
import subprocess
import sys
import tempfile

FOUNDATION = "#import <Foundation/Foundation.h>\n"
MAIN = "\nint main() { return 0; }\n"
RIGHT = FOUNDATION + "int main() { @autoreleasepool { NSLog(@\"%@\", NSHomeDirectory()); } return 0; }\n"
# What is wrong, the source, and what the compiler or linker says of it.
MISTAKES = [
    (
        "a selector that the class does not have",
        FOUNDATION + "NSString* f(NSBundle* bundle) { return [bundle pathOfResource:@\"a\" ofType:nil]; }" + MAIN,
        "no visible @interface for 'NSBundle' declares the selector 'pathOfResource:ofType:'",
    ),
    (
        "a Core Foundation type without a bridge",
        FOUNDATION + "CFTypeRef f(NSNumber* number) { return (CFTypeRef)number; }" + MAIN,
        "requires a bridged cast",
    ),
    (
        "a constant that does not exist",
        FOUNDATION + "id f() { return [[NSLocale currentLocale] objectForKey:NSLocaleTerritoryCode]; }" + MAIN,
        "use of undeclared identifier 'NSLocaleTerritoryCode'",
    ),
    (
        "a method that a protocol requires and the class does not have",
        FOUNDATION + "@interface D : NSObject <NSURLSessionDownloadDelegate>\n@end\n@implementation D\n@end" + MAIN,
        "method 'URLSession:downloadTask:didFinishDownloadingToURL:' in protocol",
    ),
    (
        "a function that is declared and never defined",
        FOUNDATION + "void nowhere();\nint main() { nowhere(); return 0; }\n",
        "undefined symbol: nowhere()",
    ),
    (
        "an argument of a wrong type",
        FOUNDATION + "NSURL* f(NSNumber* number) { return [NSURL URLWithString:number]; }" + MAIN,
        "cannot initialize a parameter of type 'NSString * _Nonnull' with an lvalue of type 'NSNumber *",
    ),
    (
        "a @selector that no class has",
        FOUNDATION + "SEL f() { return @selector(getAddress:withReplyEvent:); }" + MAIN,
        "undeclared selector 'getAddress:withReplyEvent:'",
    ),
    (
        "nothing given where something is required",
        FOUNDATION + "NSURL* f() { return [NSURL URLWithString:nil]; }" + MAIN,
        "null passed to a callee that requires a non-null argument",
    ),
    (
        "a call that is deprecated since the oldest macOS that is supported",
        "#import <AppKit/AppKit.h>\n"
        "NSString* f(NSWorkspace* space, NSString* name) { return [space fullPathForApplication:name]; }" + MAIN,
        "'fullPathForApplication:' is deprecated: first deprecated in macOS 11.0",
    ),
    (
        "a call that the oldest macOS does not have",
        FOUNDATION + "void f(NSURLSessionTask* task) { task.delegate = nil; }" + MAIN,
        "'setDelegate:' is only available on macOS 12.0 or newer",
    ),
    (
        "a class of a framework that is not linked",
        "#import <AppKit/AppKit.h>\nint main() { return [NSScreen mainScreen] != nil; }\n",
        "undefined symbol: _OBJC_CLASS_$_NSScreen",
    ),
    (
        "a function of the C library that only Linux has",
        "extern \"C\" int pipe2(int*, int);\nint main() { int ends[2]; return pipe2(ends, 0); }\n",
        "undefined symbol: _pipe2",
    ),
    (
        "a constant that only Linux has",
        "#include <sys/socket.h>\nint main() { return SOCK_CLOEXEC; }\n",
        "use of undeclared identifier 'SOCK_CLOEXEC'",
    ),
    (
        "a 64-bit integer taken for a long",
        "#include <cstdint>\nvoid f(long*);\nvoid g(std::int64_t* number) { f(number); }" + MAIN,
        "no matching function for call to 'f'",
    ),
] + [
    (
        f"<{header}>, which only Linux has",
        f"#include <{header}>\n" + MAIN,
        f"'{header}' file not found",
    )
    for header in (
        "sys/epoll.h", "sys/eventfd.h", "sys/fanotify.h", "sys/inotify.h", "sys/prctl.h", "sys/sendfile.h",
        "sys/signalfd.h", "sys/sysinfo.h", "sys/timerfd.h", "endian.h", "features.h", "linux/close_range.h",
        "linux/netlink.h", "malloc.h",
    )
]


def compile_words(build):
    """The command that compiles platform/macos/Console.mm, without its files and the precompiled header."""
    for entry in json.loads((build / "compile_commands.json").read_text(encoding="utf-8")):
        if entry["file"].endswith("platform/macos/Console.mm"):
            words = [word for word in shlex.split(entry["command"]) if not word.endswith("ccache")]
            return words[: words.index("-o")]
    sys.exit("platform/macos/Console.mm is not compiled")


def without_precompiled(words):
    """-Xclang -include-pch -Xclang FILE -Xclang -include -Xclang FILE are what CMake adds for it."""
    kept, index = [], 0
    while index < len(words):
        if words[index] == "-Xclang" and words[index + 1] in ("-include-pch", "-include"):
            index += 4
        elif words[index] == "-Winvalid-pch":
            index += 1
        else:
            kept.append(words[index])
            index += 1
    return kept


def link_words(words, build):
    """Driver, target, and the flags of BUILD's cache, with Foundation alone."""
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    flags = next(line.split("=", 1)[1] for line in cache.splitlines() if line.startswith("CMAKE_EXE_LINKER_FLAGS:"))
    target = [word for word in words if word.startswith(("--target", "-mmacosx-version-min"))]
    root = words[words.index("-isysroot") : words.index("-isysroot") + 2]
    return [words[0], *target, *root, "-stdlib=libc++", *shlex.split(flags), "-framework", "Foundation"]


def outcome(source, folder, compiling, linking):
    """What the tools say; None when they are content."""
    file, target = folder / "source.mm", folder / "source.o"
    file.write_text(source, encoding="utf-8")
    for command in ([*compiling, "-o", target, "-c", file], [*linking, target, "-o", folder / "program"]):
        result = subprocess.run(command, capture_output=True, text=True)
        if result.returncode != 0:
            return result.stdout + result.stderr
    return None


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    compiling = without_precompiled(compile_words(build))
    linking = link_words(compiling, build)
    failures = 0
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        said = outcome(RIGHT, folder, compiling, linking)
        if said is not None:
            print(f"a source without a mistake does not pass:\n{said}")
            return 1
        for what, source, expected in MISTAKES:
            said = outcome(source, folder, compiling, linking)
            if said is None or expected not in said:
                print(f"not caught: {what}\n{said or ''}")
                failures += 1
    print(f"  caught:   {len(MISTAKES) - failures} of {len(MISTAKES)} mistakes")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
