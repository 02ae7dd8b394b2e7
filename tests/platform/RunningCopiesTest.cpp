#include "platform/RunningApplications.h"

#include "platform/Bundle.h"
#include "tests/support/TestEnvironment.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

namespace {

// Of this case alone: cases run side by side, and processes are looked for in the whole machine.
const QString kIdentifier = QStringLiteral("com.example.copies.") + QFileInfo(test::folder()).fileName();

// The small program as the executable of a bundle with that identifier.
std::string putProgram() {
    namespace fs = std::filesystem;
    const QString contents = test::folder() + QStringLiteral("/Copy.app/Contents");
    test::writeFile(contents + QStringLiteral("/Info.plist"),
                    "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" + kIdentifier.toUtf8() +
                        "</string></dict></plist>");
    const fs::path target = (contents + QStringLiteral("/MacOS/Copy")).toStdString();
    fs::create_directories(target.parent_path());
    std::error_code error;
    fs::create_hard_link(COPY_PROGRAM, target, error);
    if (error) {
        fs::copy_file(COPY_PROGRAM, target);
    }
    return target.string();
}

// A running copy; it stays as long as its standard input is open.
class Copy {
public:
    explicit Copy(const std::string& program) {
        std::array<int, 2> input{};
        std::array<int, 2> output{};
        EXPECT_EQ(::pipe2(input.data(), O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(output.data(), O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        std::string name = program;
        std::array<char*, 2> arguments{name.data(), nullptr};
        EXPECT_EQ(::posix_spawn(&process_, name.c_str(), &actions, nullptr, arguments.data(), environ), 0);
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(input[0]);
        ::close(output[1]);
        input_ = input[1];
        output_ = output[0];
    }
    ~Copy() { end(); }
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;

    pid_t process() const { return process_; }

    // The processes that it printed; waits for them.
    std::vector<pid_t> seen() {
        std::string line;
        char character = 0;
        while (line.find('\n') == std::string::npos && ::read(output_, &character, 1) == 1) {
            line += character;
        }
        std::vector<pid_t> processes;
        for (const QString& number : QString::fromStdString(line).split(u' ', Qt::SkipEmptyParts)) {
            if (number != QStringLiteral("\n")) {
                processes.push_back(number.toInt());
            }
        }
        return processes;
    }

    void kill() {
        ::kill(process_, SIGKILL);
        end();
    }

    void end() {
        if (process_ > 0) {
            ::close(input_);
            ::close(output_);
            ::waitpid(process_, nullptr, 0);
            process_ = -1;
        }
    }

private:
    pid_t process_ = -1;
    int input_ = -1;
    int output_ = -1;
};

using Processes = std::vector<pid_t>;

} // namespace

TEST(RunningCopies, AreListedNewestFirstWithTheCallerAtTheFront) {
    const std::string program = putProgram();
    Copy first(program);
    EXPECT_EQ(first.seen(), Processes({first.process()}));
    Copy second(program);
    EXPECT_EQ(second.seen(), Processes({second.process(), first.process()}));
}

TEST(RunningCopies, LeaveTheListWhenTheyEndHoweverThatHappens) {
    const std::string program = putProgram();
    Copy killed(program);
    killed.seen();
    killed.kill();
    Copy ended(program);
    EXPECT_EQ(ended.seen(), Processes({ended.process()}));
    ended.end();
    Copy last(program);
    EXPECT_EQ(last.seen(), Processes({last.process()}));
}

TEST(RunningCopies, OfOtherIdentifiersAreOthers) {
    const std::string program = putProgram();
    Copy copy(program);
    copy.seen();
    test::setInfo(QStringLiteral("CFBundleIdentifier"), QStringLiteral("com.example.other"));
    const auto own = RunningApplication::withBundleIdentifier(QStringLiteral("com.example.other"));
    ASSERT_EQ(own.size(), 1U);
    EXPECT_EQ(own[0].processIdentifier(), ::getpid());
}

TEST(RunningCopies, ListThisProcessOnceHoweverOftenItAsks) {
    test::setInfo(QStringLiteral("CFBundleIdentifier"), QStringLiteral("com.example.self"));
    for (int count = 0; count < 3; ++count) {
        const auto own = RunningApplication::withBundleIdentifier(QStringLiteral("com.example.self"));
        ASSERT_EQ(own.size(), 1U);
        EXPECT_EQ(own[0].processIdentifier(), ::getpid());
    }
}

TEST(RunningCopies, AreNotInheritedByChildren) {
    const std::string program = putProgram();
    test::setInfo(QStringLiteral("CFBundleIdentifier"), kIdentifier);
    ASSERT_EQ(RunningApplication::withBundleIdentifier(kIdentifier).size(), 1U);
    Copy child(program); // of this registered process
    EXPECT_EQ(child.seen(), Processes({child.process(), ::getpid()}));
}

// Looking for others first and registering after it would let both of a pair stay or both end.
TEST(RunningCopies, OfWhichTwoStartAtOnceExactlyOneStays) {
    const std::string program = putProgram();
    constexpr int kPairs = 200;
    for (int pair = 0; pair < kPairs; ++pair) {
        Copy one(program);
        Copy other(program);
        const Processes seenByOne = one.seen();
        const Processes seenByOther = other.seen();
        const bool oneStays = seenByOne.size() == 1;
        ASSERT_NE(oneStays, seenByOther.size() == 1) << "pair " << pair;
        const Copy& earlier = oneStays ? one : other;
        const Processes& seenByLater = oneStays ? seenByOther : seenByOne;
        ASSERT_EQ(seenByLater.size(), 2U) << "pair " << pair;
        EXPECT_EQ(seenByLater[1], earlier.process()) << "pair " << pair;
    }
}

TEST(RunningCopies, StandAloneWithAConsoleLineWhenTheirListCannotBeOpened) {
    test::setInfo(QStringLiteral("CFBundleIdentifier"), QStringLiteral("com.example.alone"));
    const QString registry = test::folder() + QStringLiteral("/runtime/com.example.alone.copies");
    ASSERT_TRUE(std::filesystem::create_directory(registry.toStdString()));
    std::size_t count = 0;
    const QStringList lines = test::consoleLinesOf(
        [&count] { count = RunningApplication::withBundleIdentifier(QStringLiteral("com.example.alone")).size(); });
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(lines, QStringList(QStringLiteral("Other copies cannot be found: the list in the runtime folder cannot be opened.")));
}

TEST(RunningApplications, OfAnotherIdentifierAreFoundByTheirExecutableNewestFirst) {
    const std::string program = putProgram();
    Copy first(program);
    first.seen();
    test::setEnvironment("XDG_RUNTIME_DIR", test::home().toUtf8()); // a list of its own, so that the next stays too
    Copy second(program);
    second.seen();
    const auto found = RunningApplication::withBundleIdentifier(kIdentifier);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].processIdentifier(), second.process());
    EXPECT_EQ(found[1].processIdentifier(), first.process());
}

TEST(RunningApplications, AreFoundByTheScriptThatAnInterpreterRuns) {
    const QString contents = test::folder() + QStringLiteral("/Script.app/Contents");
    test::writeFile(contents + QStringLiteral("/Info.plist"),
                    "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>com.example.script</string>"
                    "</dict></plist>");
    const QString script = contents + QStringLiteral("/MacOS/Script");
    test::writeFile(script, "#!/bin/sh\necho ready\nread -r line\n");
    QFile::setPermissions(script, QFile::ReadOwner | QFile::ExeOwner);
    Copy running(script.toStdString());
    running.seen();
    const auto found = RunningApplication::withBundleIdentifier(QStringLiteral("com.example.script"));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].processIdentifier(), running.process());
    running.end();
    EXPECT_TRUE(RunningApplication::withBundleIdentifier(QStringLiteral("com.example.script")).empty());
}

TEST(RunningApplications, OfAnUnknownIdentifierAreNone) {
    EXPECT_TRUE(RunningApplication::withBundleIdentifier(QStringLiteral("com.example.nobody")).empty());
}
