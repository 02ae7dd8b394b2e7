#pragma once

#include <gtest/gtest.h>

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace hdi::test {

struct Outcome {
    int status = -1; // 128 + signal for a killed program
    std::string out;
    std::string err;
    bool sawEnd = false; // of both pipes, within the limit
};

using Words = std::vector<std::string>;

// A program that runs beside the test; killed with the object.
class Running {
public:
    explicit Running(const Words& words);
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running();

    pid_t pid() const { return pid_; }
    // Reads both outputs to their end, at most `limit`, then ends it.
    Outcome finish(std::chrono::seconds limit = std::chrono::seconds(60));

private:
    struct Pipes;
    std::unique_ptr<Pipes> pipes_;
    pid_t pid_ = -1;
};

// Runs a program and reads both of its outputs to their end, at most `limit`.
Outcome runProgram(const Words& words, std::chrono::seconds limit = std::chrono::seconds(60));

// Looks again until it holds or the limit is over; the last answer.
bool holdsWithin(std::chrono::milliseconds limit, const std::function<bool()>& condition);

bool isRoot();

// The child of a process that runs our tool, once there is one.
pid_t toolBelow(pid_t parent);

// The command line that runs `words` and all its children under strace with this injection, such as
// "mount:delay_enter=1000000": what happens in between can then be looked at, and interrupted, without luck.
Words withInjection(const std::string& injection, const Words& words);

// The command line that runs `words` in a mount namespace of its own, in which it may mount.
Words inMountNamespace(const Words& words);

// The command line that runs `words` where FUSE is not to be had: in a mount namespace of its own whose /dev/fuse is a
// plain file. What is extracted there shows everywhere.
Words withoutFuse(const Words& words);

// The two ways of attaching, and the command line whose `words` attach in that way.
enum class Way { kFuse, kExtracted };
Words inWay(Way way, const Words& words);
std::string nameOf(Way way);
std::string nameOfWay(const testing::TestParamInfo<Way>& instance);
void PrintTo(Way way, std::ostream* out);

// Makes `folder`/source with one file of noise, and of that an image, stored as it is, with the volume "Noise"; its
// path.
std::string noiseImage(const std::string& folder, std::size_t mebibytes);

std::string shellWord(const std::string& text);

// Each case has a QN_SYSTEM_ROOT and a TMPDIR of its own; at its end everything is detached, and nothing may be left.
class FrontWorld : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    static std::string image(const std::string& name) { return std::string(TEST_IMAGES) + "/" + name; }
    std::string base() const { return base_; }
    std::string volumes() const { return base_ + "/root/Volumes"; }
    std::string temporary() const { return base_ + "/tmp"; }

    static Words command(const Words& words);
    static Outcome hdiutil(const Words& words) { return runProgram(command(words)); }
    static Outcome hdiutil(Way way, const Words& words) { return runProgram(inWay(way, command(words))); }
    // A copy in the case's own folder, so that two cases never attach the same file.
    std::string copyOf(const std::string& name, const std::string& as = "");
    // What is in the volumes and the temporary folder, hidden entries included.
    Words leftovers() const;

private:
    std::string base_;
};

// The same with both ways of attaching.
class BothWays : public FrontWorld, public testing::WithParamInterface<Way> {
protected:
    static Outcome mount(const Words& words) { return hdiutil(GetParam(), words); }
};

} // namespace hdi::test
