#include "base/Files.h"
#include "hdiutil/front/AttachRecord.h"
#include "hdiutil/tests/front/FrontWorld.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kApplication = "apfs-gpt-lzfse-app-encrypted.dmg";

// The command line that gives `words` this standard input.
Words withInput(const std::string& input, const Words& words) {
    Words all = {"sh", "-c", "printf %s \"$0\" | \"$@\"", input};
    all.insert(all.end(), words.begin(), words.end());
    return all;
}

class Encrypted : public BothWays {
protected:
    static Outcome withPassword(const std::string& password, const Words& words) {
        return runProgram(withInput(password, inWay(GetParam(), command(words))));
    }
};
INSTANTIATE_TEST_SUITE_P(Both, Encrypted, testing::Values(Way::kFuse, Way::kExtracted), nameOfWay);

TEST_P(Encrypted, IsMountedWithThePasswordOnStandardInput) {
    const Outcome outcome = withPassword("testpass", {"attach", "-stdinpass", copyOf(kApplication)});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "/dev/disk2          \tGUID_partition_scheme          \t\n"
                           "/dev/disk2s1        \tApple_APFS                     \t/Volumes/SparkleTest\n");
    const fs::path app = volumes() + "/SparkleTest/SparkleTestCodeSignApp.app";
    EXPECT_EQ(fs::file_size(app / "Contents/MacOS/Sparkle Test App"), 45844U);
    EXPECT_EQ(fs::read_symlink(app / "Contents/Frameworks/Sparkle.framework/Versions/Current"), "A");
}

TEST_P(Encrypted, SaysThatThePasswordIsWrong) {
    const std::string path = copyOf(kApplication);
    for (const char* const wrong : {"", "testpas", "testpass "}) {
        const Outcome outcome = withPassword(wrong, {"attach", "-stdinpass", path});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "hdiutil: attach failed - wrong password\n");
        EXPECT_THAT(leftovers(), IsEmpty());
    }
}

TEST_P(Encrypted, NeedsNoPasswordWhenItIsAttachedAlready) {
    const std::string path = copyOf(kApplication);
    const Outcome first = withPassword("testpass", {"attach", "-stdinpass", path});
    const Outcome second = mount({"attach", path});
    EXPECT_EQ(second.status, 0) << second.err;
    EXPECT_EQ(second.out, first.out);
}

class EncryptedVerbs : public FrontWorld {
protected:
    static Outcome withPassword(const std::string& password, const Words& words) {
        return runProgram(withInput(password, command(words)));
    }
};

TEST_F(EncryptedVerbs, CheckAndDescribeTheImageInside) {
    const Outcome checked = withPassword("test123\n", {"verify", "-stdinpass", image("encrypted.dmg")});
    EXPECT_EQ(checked.status, 0);
    EXPECT_THAT(checked.err, EndsWith("are VALID\n"));
    const Outcome described = withPassword("test123", {"imageinfo", "-stdinpass", image("encrypted.dmg")});
    EXPECT_THAT(described.out, HasSubstr("Format: UDZO\n"));
    EXPECT_THAT(described.out, HasSubstr("\tEncrypted: true\n"));
}

TEST_F(EncryptedVerbs, TakeNoPasswordFromTheArguments) {
    EXPECT_EQ(hdiutil({"attach", "-passphrase", "testpass", image(kApplication)}).status, 64);
}

// What -stdinpass would read is left for others when the image needs none.
TEST_F(EncryptedVerbs, LeaveStandardInputAloneForAPlainImage) {
    const Outcome outcome = runProgram({"sh", "-c", "echo kept | { \"$0\" verify -stdinpass \"$1\"; cat; }",
                                        HDIUTIL_PROGRAM, image("hfsplus-gpt-zlib-links.dmg")});
    EXPECT_EQ(outcome.out, "kept\n");
    EXPECT_EQ(outcome.status, 0);
}

// Looking up the symbols of one more library would lengthen every start.
TEST_F(EncryptedVerbs, OnlyAnEncryptedImageLoadsTheModuleForCryptography) {
    const auto isLoaded = [this] {
        const AttachRecord record = parseRecord(base::readSmallFile(volumes() + "/.hdiutil/disk2").value()).value();
        const std::string maps =
            base::readSmallFile("/proc/" + std::to_string(record.process.pid) + "/maps").value_or("");
        EXPECT_THAT(maps, HasSubstr("hdiutil"));
        return maps.find("libhdiutil_cryptography") != std::string::npos || maps.find("nettle") != std::string::npos;
    };
    ASSERT_EQ(hdiutil({"attach", copyOf("hfsplus-gpt-zlib-links.dmg")}).status, 0);
    EXPECT_FALSE(isLoaded());
    ASSERT_EQ(hdiutil({"detach", "disk2"}).status, 0);
    ASSERT_EQ(withPassword("testpass", {"attach", "-stdinpass", copyOf(kApplication)}).status, 0);
    EXPECT_TRUE(isLoaded());
}

TEST_F(EncryptedVerbs, KeepNoPasswordInTheMemoryOfTheDaemon) {
    prctl(PR_SET_CHILD_SUBREAPER, 1); // whoever may not look into any process may look into its children
    const std::string password = "a password that stands nowhere else";
    fs::create_directories(base() + "/source");
    std::ofstream(base() + "/source/file") << "contents";
    ASSERT_EQ(withPassword(password, {"create", "-srcfolder", base() + "/source", "-volname", "Secret", "-encryption",
                                      "AES-256", "-stdinpass", base() + "/made.dmg"})
                  .status,
              0);
    ASSERT_EQ(withPassword(password, {"attach", "-stdinpass", base() + "/made.dmg"}).status, 0);
    const AttachRecord record = parseRecord(base::readSmallFile(volumes() + "/.hdiutil/disk2").value()).value();
    const std::string process = "/proc/" + std::to_string(record.process.pid);
    std::ifstream maps(process + "/maps");
    const base::Descriptor memory(open((process + "/mem").c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(memory);
    std::size_t looked = 0;
    bool sawContents = false;
    for (std::string line; std::getline(maps, line);) {
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
        char dash = 0;
        std::istringstream(line) >> std::hex >> begin >> dash >> end;
        if (line.find(" rw") == std::string::npos || end - begin > (std::size_t{256} << 20)) {
            continue;
        }
        std::string bytes(end - begin, '\0');
        const auto count = base::readAt(memory.get(), std::as_writable_bytes(std::span(bytes)), begin);
        looked += static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0));
        EXPECT_EQ(bytes.find(password.substr(0, 12)), std::string::npos) << line;
        sawContents = sawContents || bytes.find(base() + "/made.dmg") != std::string::npos;
    }
    EXPECT_GT(looked, 100000U);
    EXPECT_TRUE(sawContents); // the path is there, so that the search finds what is there
}

class CreatedEncrypted : public EncryptedVerbs, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(All, CreatedEncrypted, testing::Values("AES-128", "AES-256"),
                         [](const auto& instance) { return "Bits" + std::string(instance.param).substr(4); });

TEST_P(CreatedEncrypted, IsReadBackByItselfAndByAnIndependentReader) {
    const std::string plain = noiseImage(base(), 3);
    const std::string path = base() + "/made.dmg";
    const Outcome made = withPassword("pass word", {"create", "-srcfolder", base() + "/source", "-volname", "Noise",
                                                    "-format", "UDRO", "-encryption", GetParam(), "-stdinpass", path});
    ASSERT_EQ(made.status, 0) << made.err;
    EXPECT_EQ(made.out, "created: " + path + "\n");
    const Outcome read = runProgram({"sh", "-c", "printf 'pass word' | python3 \"$0\" \"$1\" > \"$2\"", DECRYPT_IMAGE,
                                     path, base() + "/inside.dmg"});
    ASSERT_EQ(read.status, 0) << read.err;
    EXPECT_EQ(runProgram({SEVEN_ZIP, "t", base() + "/inside.dmg"}).status, 0);
    EXPECT_THAT(hdiutil({"verify", base() + "/inside.dmg"}).err, EndsWith("are VALID\n"));
    ASSERT_EQ(withPassword("pass word\n", {"attach", "-stdinpass", path}).status, 0);
    EXPECT_EQ(runProgram({"cmp", base() + "/source/noise", volumes() + "/Noise/noise"}).status, 0);
}

TEST_F(EncryptedVerbs, RealImagesAreTheSameToAnIndependentReader) {
    for (const auto& [name, password] : {std::pair{"encrypted.dmg", "test123"}, std::pair{kApplication, "testpass"}}) {
        const Outcome read = runProgram({"sh", "-c", "printf %s \"$0\" | python3 \"$1\" \"$2\" > \"$3\"", password,
                                         DECRYPT_IMAGE, image(name), base() + "/inside.dmg"});
        ASSERT_EQ(read.status, 0) << read.err;
        EXPECT_THAT(hdiutil({"verify", base() + "/inside.dmg"}).err, EndsWith("are VALID\n"));
    }
}

TEST_F(EncryptedVerbs, NoImageIsMadeWithoutAPassword) {
    fs::create_directories(base() + "/source");
    const Words words = {"create", "-srcfolder",  base() + "/source", "-volname",
                         "V",      "-encryption", "AES-128",          base() + "/made.dmg"};
    EXPECT_EQ(hdiutil(words).err, "hdiutil: create failed - -encryption needs a password (-stdinpass)\n");
    Words fromInput = words;
    fromInput.insert(fromInput.begin() + 1, "-stdinpass");
    EXPECT_EQ(withPassword("", fromInput).err, "hdiutil: create failed - the password is empty\n");
    EXPECT_FALSE(fs::exists(base() + "/made.dmg"));
}

// hdiutil at a terminal of its own; `redirection` is a piece of shell that follows the command.
class AtTerminal : public EncryptedVerbs {
protected:
    void start(const Words& words, const std::string& redirection = "") {
        pid_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
        ASSERT_GE(pid_, 0);
        if (pid_ == 0) {
            std::string line = "exec";
            for (const std::string& word : command(words)) {
                line += " " + shellWord(word);
            }
            execl("/bin/sh", "sh", "-c", (line + redirection).c_str(), nullptr);
            _exit(127);
        }
    }
    void TearDown() override {
        close(terminal_);
        EncryptedVerbs::TearDown();
    }

    // Everything up to `text`.
    std::string readUntil(const std::string& text) {
        std::string all;
        char byte = 0;
        while (!all.ends_with(text) && read(terminal_, &byte, 1) == 1) {
            all += byte;
        }
        return all;
    }
    std::string readToEnd() { return readUntil("\nnever\n"); }
    void type(const std::string& text) const {
        ASSERT_EQ(write(terminal_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    bool echoes() const {
        termios settings{};
        EXPECT_EQ(tcgetattr(terminal_, &settings), 0);
        return (settings.c_lflag & ECHO) != 0;
    }
    int end() const {
        int status = 0;
        EXPECT_EQ(waitpid(pid_, &status, 0), pid_);
        return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }

    int terminal_ = -1;
    pid_t pid_ = -1;
};

TEST_F(AtTerminal, ThePasswordIsAskedForWithoutEcho) {
    start({"verify", image("encrypted.dmg")});
    EXPECT_EQ(readUntil(": "), "Password of \"encrypted.dmg\": ");
    EXPECT_FALSE(echoes());
    type("test123\n");
    const std::string rest = readToEnd();
    EXPECT_THAT(rest, testing::Not(HasSubstr("test123\r")));
    EXPECT_THAT(rest, HasSubstr("are VALID\r\n"));
    EXPECT_EQ(end(), 0);
}

TEST_F(AtTerminal, ANewPasswordIsAskedForTwice) {
    fs::create_directories(base() + "/source");
    start(
        {"create", "-srcfolder", base() + "/source", "-volname", "V", "-encryption", "AES-128", base() + "/made.dmg"});
    readUntil("New password: ");
    type("one\n");
    readUntil("The same again: ");
    type("other\n");
    EXPECT_THAT(readToEnd(), HasSubstr("create failed - the passwords differ\r\n"));
    EXPECT_EQ(end(), 1);
    EXPECT_FALSE(fs::exists(base() + "/made.dmg"));
}

TEST_F(AtTerminal, ASignalLeavesTheTerminalAsItWas) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        const int keptOpen = terminal_;
        start({"verify", image("encrypted.dmg")});
        // A second descriptor keeps the settings when the program's side is closed.
        const base::Descriptor other(open(ptsname(terminal_), O_RDWR | O_NOCTTY | O_CLOEXEC));
        readUntil(": ");
        ASSERT_FALSE(echoes());
        kill(pid_, signal);
        EXPECT_EQ(end(), 128 + signal);
        EXPECT_TRUE(echoes()) << signal;
        close(keptOpen);
    }
}

TEST_F(AtTerminal, AfterBeingStoppedTheQuestionComesAgain) {
    start({"verify", image("encrypted.dmg")});
    readUntil(": ");
    kill(pid_, SIGTSTP);
    int status = 0;
    // The session's leader is an orphan among process groups, which the kernel does not stop this way: it goes on at
    // once.
    EXPECT_EQ(waitpid(pid_, &status, WNOHANG), 0);
    EXPECT_THAT(readUntil(": "), EndsWith("Password of \"encrypted.dmg\": "));
    EXPECT_FALSE(echoes());
    type("test123\n");
    EXPECT_THAT(readToEnd(), HasSubstr("are VALID\r\n"));
    EXPECT_EQ(end(), 0);
}

// As the installer runs it, perhaps itself started at a terminal: nobody would see the question.
TEST_F(AtTerminal, NobodyIsAskedWhenAProgramTakesTheOutput) {
    start({"mount", image("encrypted.dmg")}, " > " + shellWord(base() + "/out"));
    EXPECT_EQ(readToEnd(), "hdiutil: attach failed - the image is encrypted; -stdinpass reads its password\r\n");
    EXPECT_EQ(end(), 1);
    EXPECT_EQ(fs::file_size(base() + "/out"), 0U);
}

} // namespace
} // namespace hdi::test
