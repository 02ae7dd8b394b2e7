#!/usr/bin/env python3
""".ci/find-unused on small programs. Run by .ci/run alone: it needs libclang, which building and testing do not."""

import json
import pathlib
import tempfile
import unittest

from check_scripts_test import Tree


class FindUnused(Tree):
    """Beside main() there is a class whose functions are called in several ways; each test adds one that is not."""

    script = "find-unused"

    def setUp(self):
        super().setUp()
        self.put("ui/A.h", """#pragma once
struct Base {
    virtual ~Base() = default;
    virtual void overridden() = 0;
};
struct A : Base {
    void overridden() override { byOverride(); }
    void byOverride() {}
    void byAddress() {}
    void published() {}
};
template <typename T>
void inTemplate(T& value) {
    value.byNameInTemplate();
}
struct B {
    void byNameInTemplate() {}
};
void forMacOS();
""")
        self.put("ui/A.cpp", '#include "ui/A.h"\nvoid forMacOS() {}\n')
        self.put("ui/A.mm", "forMacOS();\n")
        self.put("app/main.cpp", """#include "ui/A.h"
int main() {
    auto address = &A::byAddress;
    A a;
    (a.*address)();
    Base& base = a;
    base.overridden();
    B b;
    inTemplate(b);
}
""")
        self.put(".ci/kept-functions", "# why\n\n[Published]\nA: published\n")
        self.compile("app/main.cpp", "ui/A.cpp")

    def compile(self, *files):
        folder = self.folder.name
        commands = [{"directory": folder, "file": f"{folder}/{file}",
                     "arguments": ["c++", "-std=c++20", "-I", folder, "-o", "x.o", "-c", f"{folder}/{file}"]}
                    for file in files]
        self.put("build/compile_commands.json", json.dumps(commands))

    def test_is_content_when_everything_is_run_or_kept(self):
        self.expect_good()

    def test_names_a_function_that_only_a_test_calls(self):
        self.put("ui/C.h", "#pragma once\nint onlyTested();\n")
        self.put("ui/C.cpp", '#include "ui/C.h"\nint onlyTested() { return 1; }\n')
        self.put("tests/ui/CTest.cpp", '#include "ui/C.h"\nint test() { return onlyTested(); }\n')
        self.compile("app/main.cpp", "ui/A.cpp", "ui/C.cpp", "tests/ui/CTest.cpp")
        self.expect_bad("ui/C.h:2: onlyTested is called by nothing, or by tests alone")

    def test_names_what_only_an_unused_function_calls_and_what_calls_itself(self):
        self.put("ui/C.cpp", "namespace {\nvoid inner() {}\n}\nvoid outer() { inner(); }\nvoid self() { self(); }\n")
        self.compile("app/main.cpp", "ui/A.cpp", "ui/C.cpp")
        self.expect_bad(
            "ui/C.cpp:2: inner is called by functions that are not run themselves",
            "ui/C.cpp:4: outer is called by nothing, or by tests alone",
            "ui/C.cpp:5: self is called by nothing, or by tests alone",
        )

    def test_knows_that_a_library_calls_what_its_header_declares(self):
        with tempfile.TemporaryDirectory() as library:
            header = pathlib.Path(library, "library.h")
            header.write_text("void hook();\nstruct Listener {\n    virtual void told() {}\n};\n", encoding="utf-8")
            self.put("ui/C.cpp", f"""#include "{header}"
namespace {{
void byHook() {{}}
void byListener() {{}}
}}
void hook() {{ byHook(); }}
struct Ours : Listener {{
    void told() override {{ byListener(); }}
}};
struct OursOfOurs : Ours {{
    void told() override {{ byListener(); }}
}};
""")
            self.compile("app/main.cpp", "ui/A.cpp", "ui/C.cpp")
            self.expect_good()
            header.write_text("struct Listener {};\n", encoding="utf-8")
            self.put("ui/C.cpp", "void byHook() {}\nvoid hook() { byHook(); }\n")
            self.expect_bad(
                "ui/C.cpp:1: byHook is called by functions that are not run themselves",
                "ui/C.cpp:2: hook is called by nothing, or by tests alone",
            )

    def test_names_an_override_of_a_function_of_ours_that_nobody_calls(self):
        self.put("ui/C.cpp", """struct Shape {
    virtual int sides() const = 0;
};
struct Square : Shape {
    int sides() const override { return 4; }
};
""")
        self.compile("app/main.cpp", "ui/A.cpp", "ui/C.cpp")
        self.expect_bad("ui/C.cpp:5: Square::sides is called by nothing, or by tests alone")

    def test_tells_functions_of_one_name_apart(self):
        self.put("ui/C.cpp", "struct C {\n    void byAddress();\n};\nvoid C::byAddress() {}\n")
        self.compile("app/main.cpp", "ui/A.cpp", "ui/C.cpp")
        self.expect_bad("ui/C.cpp:2: C::byAddress is called by nothing, or by tests alone")

    def test_names_what_is_kept_without_need(self):
        self.put(".ci/kept-functions", "A: published\nA: byAddress\nGone: away\n")
        self.expect_bad(
            ".ci/kept-functions:2: byAddress need not be listed",
            ".ci/kept-functions:3: away need not be listed",
        )

    def test_says_so_when_a_file_cannot_be_read(self):
        self.put("ui/C.cpp", "int broken( {\n")
        self.compile("app/main.cpp", "ui/A.cpp", "ui/C.cpp")
        status, lines = self.run_script()
        self.assertEqual(status, 1)
        self.assertIn("ui/C.cpp", lines[0])


if __name__ == "__main__":
    unittest.main()
