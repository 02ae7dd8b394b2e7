#!/usr/bin/env python3
"""The rules' scripts on small trees: they say nothing for a good one, and name the line in a bad one."""

import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


class Tree(unittest.TestCase):
    script = ""

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def put(self, path, text):
        file = pathlib.Path(self.folder.name) / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")

    def run_script(self, tree=None):
        command = [ROOT / ".ci" / self.script, tree or self.folder.name]
        done = subprocess.run(command, capture_output=True, text=True, check=False)
        self.assertEqual(done.stderr, "")
        return done.returncode, done.stdout.splitlines()

    def expect_good(self):
        self.assertEqual(self.run_script(), (0, []))

    def expect_bad(self, *lines):
        self.assertEqual(self.run_script(), (1, list(lines)))


class CheckIncludes(Tree):
    script = "check-includes"

    def test_is_content_with_this_tree(self):
        self.assertEqual(self.run_script(ROOT), (0, []))

    def test_is_content_with_includes_from_above_to_below(self):
        self.put("app/a.cpp", '#include "install/x.h"\n#include "ui/x.h"\n#include "platform/base/x.h"\n')
        self.put("sysinfo/a.cpp", '#include "config/x.h"\n#include "logging/x.h"\n#include <QString>\n')
        self.put("platform/linux/a.cpp", '#include "platform/x.h"\n#include "moc_x.cpp"\n')
        self.expect_good()

    def test_lets_the_base_of_the_platform_include_no_service(self):
        self.put("platform/base/a.cpp", '#include "platform/base/b.h"\n#include "platform/Console.h"\n')
        self.put("platform/a.cpp", '#include "platform/base/b.h"\n#include "platform/Console.h"\n')
        self.expect_bad("platform/base/a.cpp:2: platform/base/ may not include platform/Console.h")

    def test_names_an_include_from_below_to_above(self):
        self.put("config/a.cpp", '#include "config/a.h"\n\n  #  include "install/QNUnmount.h"\n')
        self.expect_bad("config/a.cpp:3: config/ may not include install/QNUnmount.h")

    def test_lets_the_platform_include_nothing_but_itself(self):
        self.put("platform/macos/a.mm", '#import "logging/QNLogger.h"\n')
        self.put("platform/x.h", '#include "ui/Color.h"\n')
        self.expect_bad(
            "platform/macos/a.mm:1: platform/ may not include logging/QNLogger.h",
            "platform/x.h:1: platform/ may not include ui/Color.h",
        )

    def test_lets_a_folder_below_have_rules_of_its_own(self):
        self.put("tools/screens/a.cpp", '#include "ui/x.h"\n')
        self.put("tools/portal/a.cpp", '#include "ui/x.h"\n')
        self.expect_bad("tools/portal/a.cpp:1: tools/ may not include ui/x.h")

    def test_keeps_the_toolkit_out_of_programs_that_must_start_quickly(self):
        self.put("tools/standins/a.cpp", "#include <QString>\n")
        self.put("hdiutil/image/a.h", "#include <QtCore/QFile>\n")
        self.expect_bad(
            "hdiutil/image/a.h:1: hdiutil/image/a.h belongs to a program without Qt",
            "tools/standins/a.cpp:1: tools/standins/a.cpp belongs to a program without Qt",
        )


HEADER = """#pragma once
// void commented(int);
namespace platform {
QString realPath(const QString& plain);
/* void alsoCommented(); */
void watch(std::function<void(int)> changed, const Limits& limits = {});
} // namespace platform
class Thing {
public:
    explicit Thing(int value) : value_(value) {}
    Thing(const Thing&) = delete;
    bool works() const;
private:
    static void help(int*, char letter = ')');
    int value_ = compute(1);
};
"""

SOURCE = """#include "platform/Service.h"
namespace platform {
namespace {
void commented(int) {}
} // namespace
QString realPath(const QString& other) {
    if (other.isEmpty()) { return other; }
    return {};
}
void watch(std::function<void(int)>, const Limits&) {}
} // namespace platform
bool Thing::works() const { return "{" != nullptr; }
void Thing::help(int* number, char) {}
"""


class CheckPlatformPairs(Tree):
    script = "check-platform-pairs"

    def put_row(self, names):
        self.put("docs/macos.md", f"# A page\n\n| Header | Promise |\n|---|---|\n| {names} | all |\n| | more |\n\n| Else |\n")

    def put_service(self, linux=SOURCE, macos=SOURCE, header=HEADER):
        self.put_row("Service")
        self.put("platform/Service.h", header)
        self.put("platform/linux/Service.cpp", linux)
        self.put("platform/macos/Service.mm", macos)

    def test_is_content_with_this_tree(self):
        self.assertEqual(self.run_script(ROOT), (0, []))

    def test_is_content_when_both_files_define_all_that_is_declared(self):
        self.put_service()
        self.expect_good()

    def test_names_a_function_that_one_system_lacks(self):
        self.put_service(macos=SOURCE.replace("bool Thing::works", "bool Thing::worked"))
        self.expect_bad("platform/Service.h:12: Thing::works() is not defined in platform/macos/Service.mm")

    def test_names_a_function_with_other_parameters(self):
        self.put_service(linux=SOURCE.replace("realPath(const QString& other)", "realPath(QString other)"))
        self.expect_bad(
            "platform/Service.h:4: platform::realPath(const QString&) is not defined in platform/linux/Service.cpp"
        )

    def test_does_not_take_a_helper_for_the_declared_function(self):
        helper = SOURCE.replace("void watch", "void watched").replace(
            "void commented(int) {}", "void watch(std::function<void(int)>, const Limits&) {}"
        )
        self.put_service(linux=helper)
        self.expect_bad(
            "platform/Service.h:6: platform::watch(std::function<void(int)>, const Limits&) is not defined in "
            "platform/linux/Service.cpp"
        )

    def test_does_not_take_a_declaration_for_a_definition(self):
        self.put_service(macos=SOURCE.replace("bool Thing::works() const { return \"{\" != nullptr; }", ""))
        self.expect_bad("platform/Service.h:12: Thing::works() is not defined in platform/macos/Service.mm")

    def test_names_a_header_of_which_the_page_on_macos_says_nothing(self):
        self.put_service()
        self.put_row("Other")
        self.expect_bad(
            "platform/Service.h:1: docs/macos.md has no row for it",
            "docs/macos.md:5: there is no platform/Other.h",
        )

    def test_takes_a_row_for_several_headers(self):
        self.put_service()
        self.put("platform/Portable.h", "void portable();\n")
        self.put("platform/Portable.cpp", "void portable() {}\n")
        self.put_row("Portable, Service")
        self.expect_good()

    def test_names_a_guard_that_does_not_see_macos_exceptions(self):
        guard = "void f() {\n    try {\n        %s\n    } catch (const PlatformException& exception) {\n    }\n}\n"
        self.put("sysinfo/good.cpp", guard % "platform::translatingSystemExceptions([&] { work(); });")
        self.put("sysinfo/other.cpp", (guard % "work();").replace("PlatformException", "std::system_error"))
        self.put("ui/a.cpp", guard % "work();")
        self.expect_good()
        self.put("sysinfo/bad.cpp", guard % "platform::translatingSystemExceptions([&] { work(); });" + guard % "work();")
        self.expect_bad(
            "sysinfo/bad.cpp:8: the guard does not see macOS's exceptions: translatingSystemExceptions()"
        )

    def test_names_a_header_without_a_file_for_a_system(self):
        self.put_row("Alone")
        self.put("platform/Alone.h", "void alone();\n")
        self.put("platform/linux/Alone.cpp", "void alone() {}\n")
        self.expect_bad("platform/Alone.h:1: platform/macos/Alone.mm is missing")

    def test_reads_past_the_classes_of_objective_c(self):
        macos = "@implementation Receiver {\n    int _x;\n}\n- (void)go {\n}\n@end\n" + SOURCE
        self.put_service(macos=macos)
        self.expect_good()

    def test_leaves_alone_what_is_portable_on_top_of_services(self):
        self.put_row("Portable")
        self.put("platform/Portable.h", "void portable();\n")
        self.put("platform/Portable.cpp", "void portable() {}\n")
        self.expect_good()

    def test_leaves_headers_below_alone(self):
        self.put("platform/base/Portable.h", "void portable();\n")
        self.expect_good()

    def test_names_a_question_for_the_system(self):
        self.put("ui/a.cpp", "int a;\n#ifdef __APPLE__\n#endif\n")
        self.put("app/a.cpp", "#if defined(Q_OS_LINUX)\n#elif defined(__linux__)\n#endif\n#ifdef QT_DEBUG\n#endif\n")
        self.expect_bad(
            "app/a.cpp:1: the system is chosen by CMake, not by the preprocessor",
            "app/a.cpp:2: the system is chosen by CMake, not by the preprocessor",
            "ui/a.cpp:2: the system is chosen by CMake, not by the preprocessor",
        )


class CheckHomes(Tree):
    script = "check-homes"

    def test_is_content_with_this_tree(self):
        self.assertEqual(self.run_script(ROOT), (0, []))

    def test_is_content_with_bodies_beside_their_header_and_services_below_theirs(self):
        self.put("ui/A.h", "class A {\n    void draw();\n};\nint count();\n")
        self.put("ui/A.cpp", "void A::draw() {\n}\nint count() {\n    return 1;\n}\n")
        self.put("platform/B.h", "namespace platform {\nvoid serve();\n}\n")
        self.put("platform/linux/B.cpp", "namespace platform {\nvoid serve() {\n}\n}\n")
        self.put("platform/macos/B.mm", "namespace platform {\nvoid serve() {\n}\n}\n")
        self.expect_good()

    def test_names_a_body_in_another_folder(self):
        self.put("ui/A.h", "class A {\n    void draw();\n    void flow(int kind);\n};\n")
        self.put("ui/A.cpp", "void A::draw() {\n}\n")
        self.put("install/A.cpp", "\nvoid A::flow(int) {\n}\n")
        self.expect_bad("install/A.cpp:2: A::flow is declared in ui/A.h")

    def test_takes_a_helper_of_the_same_name_for_another_function(self):
        self.put("ui/A.h", "int count();\n")
        self.put("ui/A.cpp", "int count() {\n    return 1;\n}\n")
        self.put("app/B.cpp", "namespace {\nint count() {\n    return 2;\n}\n}\n")
        self.expect_good()


class CheckDialect(Tree):
    script = "check-dialect"

    def test_is_content_with_this_tree(self):
        self.assertEqual(self.run_script(ROOT), (0, []))

    def test_is_content_with_the_house_dialect(self):
        self.put("ui/a.cpp", """// setVisible, QStringLiteral("…") and if (a) b; are not code here; platform/ is a folder
void f() {
    if (a) {
    } else if constexpr (b) {
    } else {
    }
    do {
    } while (c);
    for (const auto& d : e) {
        widget->setHidden(u"if (a) b"_s == d);
    }
}
#if defined(X)
#endif
""")
        self.expect_good()

    def test_names_a_body_without_braces(self):
        self.put("tests/a.cpp", "void f() {\n    if (a)\n        b();\n    else\n        c();\n    while (next());\n}\n")
        self.put("ui/a.cpp", "void f() {\n    for (int i = 0; g(i); ++i) h();\n}\n")
        self.expect_bad(
            "tests/a.cpp:2: a body stands in braces",
            "tests/a.cpp:4: a body stands in braces",
            "tests/a.cpp:6: a body stands in braces",
            "ui/a.cpp:2: a body stands in braces",
        )

    def test_names_the_other_ways_to_write_a_literal_to_show_and_to_do_once(self):
        self.put("ui/a.cpp", """void f() {
    widget->setVisible(true);
    g(QStringLiteral("x"));
    static const bool once = [] { return true; }();
    static bool isSecond = false; // a state, which changes
}
""")
        self.expect_bad(
            "ui/a.cpp:2: what shows is hidden and shown with setHidden",
            'ui/a.cpp:3: a literal of Qt is written u"…"_s',
            "ui/a.cpp:4: what happens once for the process goes through std::call_once",
        )

    def test_names_a_descriptor_that_is_closed_by_hand(self):
        self.put("tools/a.cpp", "void f(int file) {\n    ::close(file);\n    close(file);\n}\n")
        self.put("platform/macos/a.mm", "Pipe::~Pipe() {\n    :: close (writing_);\n}\n")
        self.put("tools/good.cpp", "bool f(base::Descriptor file) {\n    alert->close();\n    close();\n"
                                   "    return file.close() && Reader::close(1);\n}\n")
        self.put("tests/a.cpp", "void f(int file) {\n    ::close(file);\n}\n")
        self.put("base/Descriptor.h", "inline void f(int file) {\n    ::close(file);\n}\n")
        why = "a descriptor is owned, and closed, by base::Descriptor"
        self.expect_bad(f"platform/macos/a.mm:2: {why}", f"tools/a.cpp:2: {why}", f"tools/a.cpp:3: {why}")

    def test_names_a_service_of_another_form(self):
        self.put("platform/Good.h", """namespace platform {
int good();
}
class Handle {
public:
    static Handle open();
    int read();
};
""")
        self.put("platform/base/Values.h", "int value();\nstruct Pair {\n    static Pair none() { return {}; }\n    int one;\n};\n")
        self.put("ui/QNPublished.h", "class QNPublished {\npublic:\n    static int ask();\n};\n")
        self.put("platform/Bad.h", "int bad();\nnamespace platform {\nint good();\n}\n")
        self.put("platform/linux/Bad.h", "inline int bad() {\n    return 1;\n}\n")
        self.put("ui/Asking.h", """class Asking {
public:
    Asking() = delete;
    static int ask();
    static int other() { return 1; }
};
""")
        self.expect_bad(
            "platform/Bad.h:1: a service's function stands in a namespace",
            "platform/linux/Bad.h:1: a service's function stands in a namespace",
            "ui/Asking.h:1: a service without state is a namespace of functions",
        )

    def test_names_words_that_leave_open_what_is_meant(self):
        self.put("ui/a.h", "// As the " + "platform does.\nint a;\n")
        self.put("docs/a.md", "The " + "toolkit paints.\n")
        self.expect_bad(
            "docs/a.md:1: say Qt when that is meant",
            "ui/a.h:1: say macOS, or Linux, when that is meant",
        )


class InstallPackages(Tree):
    """On systems that do not call packages as Debian does: only what is put on the PATH is there."""

    def setUp(self):
        super().setUp()
        self.bin = pathlib.Path(self.folder.name) / "bin"
        self.bin.mkdir()
        for name in ["sh", "cat", "dirname", "grep", "id", "sed", "tr"]:
            (self.bin / name).symlink_to(shutil.which(name))

    def put_program(self, name, commands):
        self.put(f"bin/{name}", f"#!/bin/sh\n{commands}\n")
        (self.bin / name).chmod(0o755)

    def install(self, *lists):
        done = subprocess.run(
            [ROOT / ".ci/install-packages", *lists], env={"PATH": str(self.bin)}, capture_output=True, text=True, check=False
        )
        return done.returncode, done.stdout, done.stderr

    def install_listed(self, text):
        self.put("list", text)
        return self.install(f"{self.folder.name}/list")

    def test_is_content_without_apt_get_when_everything_is_there(self):
        self.put_program("seven", "")
        self.put_program("pkg-config", '[ "$*" = "--exists libone" ]')
        self.put_program("c++", "grep -q '#include <one.h>'")
        self.put_program("fc-list", 'test "$*" = "One Sans" && echo "/one.ttf: One Sans:style=Regular"')
        self.put_program("python3", '[ "$*" = "-c import one.two" ]')
        listed = f"g module one.two\na program six|seven\nb library libone\nc header one.h\nd font One Sans\ne file {self.bin}\n"
        self.assertEqual(self.install_listed(listed), (0, "", ""))

    def test_says_in_one_sentence_what_is_missing_without_apt_get(self):
        for name in ["pkg-config", "c++", "fc-list"]:
            self.put_program(name, "exit 1")
        listed = "a program six|seven\nb library libone\nc header one.h\nd font One Sans\ne file /no/such\nf program cat\n"
        self.assertEqual(self.install_listed(listed), (1, "", (
            "Please install what is missing here and what apt-get does not give under Debian's names: program six or "
            "seven, library libone, header one.h, font One Sans, file /no/such.\n"
        )))

    def test_installs_nothing_when_apt_get_does_not_know_what_is_missing(self):
        self.put_program("apt-get", 'case "$*" in *unknown) exit 100 ;; "install -y"*) : >"${0%/*}/installed" ;; esac')
        self.put_program("sudo", 'exec "$@"')
        status, _, says = self.install_listed("known program six\nunknown program seven\n")
        self.assertEqual((status, says.split(": ")[1]), (1, "program seven.\n"))
        self.assertFalse((self.bin / "installed").exists())

    def test_every_line_says_what_the_package_is_needed_for(self):
        for name in ["packages", "packages-checks"]:
            for line in (ROOT / ".ci" / name).read_text(encoding="utf-8").splitlines():
                self.assertRegex(line, r"^[a-z0-9.+-]+ +(program|library|header|module|font|file) +\S")


if __name__ == "__main__":
    unittest.main()
