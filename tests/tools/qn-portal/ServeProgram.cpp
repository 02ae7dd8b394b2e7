#include "tests/tools/qn-portal/ServeProgram.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <stdexcept>

namespace {

struct Started {
    int process;
    int output;
};

// In `folder`, with its standard output on a pipe.
Started start(const std::string& folder, const std::vector<std::string>& words) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    const int process = ::fork();
    if (process == 0) {
        ::dup2(ends[1], STDOUT_FILENO);
        ::close(ends[0]);
        ::close(ends[1]);
        std::vector<char*> arguments{const_cast<char*>(QN_PORTAL)};
        for (const std::string& word : words) {
            arguments.push_back(const_cast<char*>(word.c_str()));
        }
        arguments.push_back(nullptr);
        if (::chdir(folder.c_str()) == 0) {
            ::execv(QN_PORTAL, arguments.data());
        }
        ::_exit(127);
    }
    ::close(ends[1]);
    return {process, ends[0]};
}

int statusOf(int process) {
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Up to a line end, or to the end.
std::string read(int descriptor, bool oneLine) {
    std::string text;
    char byte = 0;
    while (::read(descriptor, &byte, 1) == 1) {
        text.push_back(byte);
        if (oneLine && byte == '\n') {
            break;
        }
    }
    return text;
}

std::string newFolder() {
    std::string name = std::filesystem::temp_directory_path() / "serve-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no folder");
    }
    return name;
}

std::vector<std::string> wordsOf(const std::string& verb, const std::vector<std::string>& arguments) {
    std::vector<std::string> words{verb};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

} // namespace

ServeProgram::ServeProgram(const std::vector<std::string>& arguments) : folder_(newFolder()) {
    const Started started = start(folder_, wordsOf("serve", arguments));
    process_ = started.process;
    output_ = started.output;
    const std::string line = read(output_, true);
    if (line.empty()) {
        throw std::runtime_error("the program ended with status " + std::to_string(end()));
    }
    addresses_ = nlohmann::json::parse(line);
}

ServeProgram::~ServeProgram() {
    static_cast<void>(end());
    ::close(output_);
    std::filesystem::remove_all(folder_);
}

std::string ServeProgram::request(const std::string& bytes, const std::string& last) const {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(addresses_["port"].get<std::uint16_t>());
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::string answer;
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size())) {
        char byte = 0;
        while (!answer.ends_with(last) && ::recv(socket, &byte, 1, 0) == 1) {
            answer.push_back(byte);
        }
    }
    ::close(socket);
    return answer;
}

int ServeProgram::end() {
    if (process_ < 0) {
        return -1;
    }
    ::kill(process_, SIGTERM);
    const int status = statusOf(process_);
    process_ = -1;
    return status;
}

ServeProgram::Outcome ServeProgram::run(const std::vector<std::string>& arguments) {
    return runVerb("serve", arguments);
}

ServeProgram::Outcome ServeProgram::runVerb(const std::string& verb, const std::vector<std::string>& arguments) {
    const Started started = start("/", wordsOf(verb, arguments));
    const std::string output = read(started.output, false);
    ::close(started.output);
    return {statusOf(started.process), output};
}
