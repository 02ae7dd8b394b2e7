#include "hdiutil/tests/front/FrontWorld.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

struct Pipe {
    std::array<int, 2> ends{-1, -1};
    Pipe() { EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0); }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    void closeEnd(std::size_t end) {
        if (ends.at(end) >= 0) {
            close(std::exchange(ends.at(end), -1));
        }
    }
};

pid_t start(const Words& words, const Pipe& out, const Pipe& err) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out.ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err.ends[1], STDERR_FILENO);
    Words copies = words;
    std::vector<char*> pointers;
    for (std::string& word : copies) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    pid_t pid = -1;
    EXPECT_EQ(posix_spawnp(&pid, pointers.front(), &actions, nullptr, pointers.data(), environ), 0) << words.front();
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

// False at the end of the pipe.
bool readSome(int fd, std::string& text) {
    std::array<char, 65536> buffer{};
    const ssize_t count = read(fd, buffer.data(), buffer.size());
    text.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count > 0;
}

void readToEnd(Pipe& out, Pipe& err, Clock::time_point until, Outcome& outcome) {
    while (out.ends[0] >= 0 || err.ends[0] >= 0) {
        std::array<pollfd, 2> waiting{pollfd{out.ends[0], POLLIN, 0}, pollfd{err.ends[0], POLLIN, 0}};
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
        if (left <= 0 || poll(waiting.data(), waiting.size(), static_cast<int>(left)) <= 0) {
            return;
        }
        if (waiting[0].revents != 0 && !readSome(out.ends[0], outcome.out)) {
            out.closeEnd(0);
        }
        if (waiting[1].revents != 0 && !readSome(err.ends[0], outcome.err)) {
            err.closeEnd(0);
        }
    }
    outcome.sawEnd = true;
}

} // namespace

struct Running::Pipes {
    Pipe out;
    Pipe err;
};

Running::Running(const Words& words) : pipes_(std::make_unique<Pipes>()) {
    pid_ = start(words, pipes_->out, pipes_->err);
    pipes_->out.closeEnd(1);
    pipes_->err.closeEnd(1);
}

Running::~Running() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

Outcome Running::finish(std::chrono::seconds limit) {
    Outcome outcome;
    readToEnd(pipes_->out, pipes_->err, Clock::now() + limit, outcome);
    if (!outcome.sawEnd) {
        kill(pid_, SIGKILL);
    }
    int status = 0;
    waitpid(std::exchange(pid_, -1), &status, 0);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}

Outcome runProgram(const Words& words, std::chrono::seconds limit) {
    return Running(words).finish(limit);
}

bool holdsWithin(std::chrono::milliseconds limit, const std::function<bool()>& condition) {
    const auto until = Clock::now() + limit;
    while (!condition()) {
        if (Clock::now() > until) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

bool isRoot() {
    return geteuid() == 0;
}

pid_t toolBelow(pid_t parent) {
    const std::string path = "/proc/" + std::to_string(parent) + "/task/" + std::to_string(parent) + "/children";
    pid_t found = -1;
    const auto isTool = [](pid_t pid) {
        std::error_code error;
        return fs::read_symlink("/proc/" + std::to_string(pid) + "/exe", error) == fs::canonical(HDIUTIL_PROGRAM);
    };
    EXPECT_TRUE(holdsWithin(std::chrono::seconds(20), [&] {
        std::ifstream children(path);
        for (pid_t child = -1; found < 0 && children >> child;) {
            found = isTool(child) ? child : -1;
        }
        return found > 0;
    }));
    return found;
}

Words withInjection(const std::string& injection, const Words& words) {
    const char* options = std::getenv("ASAN_OPTIONS");
    // The leak checker cannot work under a tracer.
    const std::string withoutLeakCheck =
        "ASAN_OPTIONS=" + (options != nullptr ? options + std::string(":") : std::string()) + "detect_leaks=0";
    const std::string name = injection.substr(0, injection.find(':'));
    Words all = {"env", withoutLeakCheck, "strace", "-f", "-qq", "-o", "/dev/null"};
    for (const std::string& word : {std::string("-e"), "trace=" + name, std::string("-e"), "inject=" + injection}) {
        all.push_back(word);
    }
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

std::string noiseImage(const std::string& folder, std::size_t mebibytes) {
    fs::create_directories(folder + "/source");
    std::mt19937_64 random(5);
    std::ofstream file(folder + "/source/noise", std::ios::binary);
    std::vector<std::uint64_t> piece((std::size_t{1} << 20) / sizeof(std::uint64_t));
    for (std::size_t i = 0; i < mebibytes; ++i) {
        std::generate(piece.begin(), piece.end(), random);
        file.write(reinterpret_cast<const char*>(piece.data()), std::streamsize{1} << 20);
    }
    file.close();
    const std::string image = folder + "/noise.dmg";
    const Outcome made = runProgram(
        {HDIUTIL_PROGRAM, "create", "-srcfolder", folder + "/source", "-volname", "Noise", "-format", "UDRO", image});
    EXPECT_EQ(made.status, 0) << made.err;
    return image;
}

std::string shellWord(const std::string& text) {
    std::string word = "'";
    for (const char c : text) {
        word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return word + "'";
}

Words inMountNamespace(const Words& words) {
    Words all = isRoot() ? Words{"unshare", "-m"} : Words{"unshare", "-Urm"};
    all.insert(all.end(), {"--propagation", "slave"});
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

Words withoutFuse(const Words& words) {
    const std::string file = std::string(std::getenv("TMPDIR")) + "/../no-fuse";
    const std::ofstream made(file);
    Words all = {"sh", "-c", "mount --bind " + shellWord(file) + " /dev/fuse && exec \"$@\"", "sh"};
    all.insert(all.end(), words.begin(), words.end());
    return inMountNamespace(all);
}

void FrontWorld::SetUp() {
    std::string pattern = "/tmp/front-test-XXXXXX";
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    base_ = pattern;
    fs::create_directories(base_ + "/root");
    fs::create_directories(temporary());
    setenv("QN_SYSTEM_ROOT", (base_ + "/root").c_str(), 1);
    setenv("TMPDIR", temporary().c_str(), 1);
}

void FrontWorld::TearDown() {
    for (int disk = 2; disk < 30; ++disk) {
        if (!fs::exists(volumes() + "/.hdiutil/disk" + std::to_string(disk))) {
            continue;
        }
        hdiutil({"detach", "-force", "disk" + std::to_string(disk)});
    }
    EXPECT_EQ(leftovers(), Words{});
    fs::remove_all(base_);
}

Words FrontWorld::command(const Words& words) {
    Words all = {HDIUTIL_PROGRAM};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

std::string FrontWorld::copyOf(const std::string& name, const std::string& as) {
    const std::string copy = base_ + "/" + (as.empty() ? name : as);
    fs::copy_file(image(name), copy);
    return copy;
}

Words FrontWorld::leftovers() const {
    Words names;
    for (const std::string& folder : {volumes(), temporary()}) {
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(folder, error)) {
            names.push_back(entry.path().string());
        }
    }
    return names;
}

Words inWay(Way way, const Words& words) {
    return way == Way::kFuse ? words : withoutFuse(words);
}

std::string nameOf(Way way) {
    return way == Way::kFuse ? "ThroughFuse" : "Extracted";
}

std::string nameOfWay(const testing::TestParamInfo<Way>& instance) {
    return nameOf(instance.param);
}

void PrintTo(Way way, std::ostream* out) {
    *out << nameOf(way);
}

} // namespace hdi::test
