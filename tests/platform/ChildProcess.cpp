#include "tests/platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

ChildProcess::ChildProcess(std::vector<std::string> command) {
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    EXPECT_EQ(::pipe2(input.data(), O_CLOEXEC), 0);
    EXPECT_EQ(::pipe2(output.data(), O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string& word : command) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    EXPECT_EQ(::posix_spawnp(&process_, arguments[0], &actions, nullptr, arguments.data(), environ), 0) << command[0];
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    ::close(output[1]);
    input_ = input[1];
    output_ = output[0];
}

ChildProcess::~ChildProcess() {
    if (process_ > 0) {
        ::kill(process_, SIGKILL);
        finish();
    }
    ::close(output_);
}

std::string ChildProcess::readLine() {
    std::string line;
    char character = 0;
    while (::read(output_, &character, 1) == 1 && character != '\n') {
        line += character;
    }
    return line;
}

int ChildProcess::finish() {
    if (process_ <= 0) {
        return -1;
    }
    ::close(input_);
    int status = 0;
    ::waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
