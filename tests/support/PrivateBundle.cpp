#include "tests/support/PrivateBundle.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

fs::path makeFolder() {
    std::string pattern = (fs::temp_directory_path() / "case-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) {
        std::abort();
    }
    return pattern;
}

// A hard link keeps this cheap; a copy serves where the folder lies on another file system.
void placeExecutable(const fs::path& target) {
    const fs::path self = fs::read_symlink("/proc/self/exe");
    std::error_code error;
    fs::create_hard_link(self, target, error);
    if (error) {
        fs::copy_file(self, target);
    }
}

void linkTo(const fs::path& built, const fs::path& link) {
    if (fs::exists(built)) {
        fs::create_directory_symlink(built, link);
    }
}

void fill(const fs::path& folder) {
    const fs::path contents = folder / "Test.app/Contents";
    fs::create_directories(contents / "MacOS");
    placeExecutable(contents / "MacOS/QNInstaller");
    const fs::path built = BUILT_BUNDLE "/Contents";
    if (fs::exists(built / "Info.plist")) {
        fs::copy_file(built / "Info.plist", contents / "Info.plist");
    }
    linkTo(built / "Resources", contents / "Resources");
    linkTo(built / "SystemRoot", contents / "SystemRoot");
    linkTo(built / "PlugIns", contents / "PlugIns");
    for (const char* own : {"home", "tmp", "runtime"}) {
        fs::create_directory(folder / own);
        fs::permissions(folder / own, fs::perms::owner_all);
    }
}

void setSurroundings(const fs::path& folder) {
    const auto set = [](const char* name, const std::string& value) { ::setenv(name, value.c_str(), 1); };
    set("QN_TEST_FOLDER", folder.string());
    set("HOME", (folder / "home").string());
    set("TMPDIR", (folder / "tmp").string());
    set("XDG_RUNTIME_DIR", (folder / "runtime").string());
    set("LANG", "en_US.UTF-8");
    set("TZ", "UTC");
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANGUAGE", "QN_SYSTEM_ROOT", "SSL_CERT_FILE", "http_proxy",
                             "https_proxy", "no_proxy", "HTTP_PROXY", "HTTPS_PROXY", "NO_PROXY", "all_proxy",
                             "ALL_PROXY", "WAYLAND_DISPLAY", "QT_SCALE_FACTOR"}) {
        ::unsetenv(name);
    }
    // As in the program: without any address Qt forks to start a bus, which AddressSanitizer does not survive
    // in every case.
    set("DBUS_SESSION_BUS_ADDRESS", "none:");
}

int runInside(const fs::path& folder, int argc, char** argv) {
    std::string program = (folder / "Test.app/Contents/MacOS/QNInstaller").string();
    const pid_t child = ::fork();
    if (child == 0) {
        setSurroundings(folder);
        std::vector<char*> arguments(argv, argv + argc);
        arguments[0] = program.data(); // where a death test finds the program again
        arguments.push_back(nullptr);
        ::execv(program.c_str(), arguments.data());
        std::_Exit(127);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

std::optional<int> runInPrivateBundle(int argc, char** argv) {
    for (int index = 1; index < argc; ++index) {
        if (std::string_view(argv[index]).starts_with("--gtest_list_tests")) {
            return std::nullopt;
        }
    }
    if (std::getenv("QN_TEST_FOLDER")) {
        return std::nullopt;
    }
    const fs::path folder = makeFolder();
    fill(folder);
    const int status = runInside(folder, argc, argv);
    std::error_code ignored; // a case may have left something mounted; its own failure tells
    fs::remove_all(folder, ignored);
    return status;
}

void runCasesAndEnd() {
    const int status = RUN_ALL_TESTS();
#ifdef __SANITIZE_ADDRESS__
    __lsan_do_leak_check();
#endif
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(status);
}
