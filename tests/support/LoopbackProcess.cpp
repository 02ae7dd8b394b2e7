#include "tests/support/LoopbackProcess.h"

#include "tests/support/LoopbackServer.h"
#include "tools/loopback/Certificate.h"
#include "tools/loopback/Connection.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace loopback {

namespace {

[[noreturn]] void serve(int tellPort, const Reply& reply, const TlsIdentity* identity) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::optional<LoopbackServer> server;
    if (identity) {
        server.emplace(*identity);
    } else {
        server.emplace();
    }
    server->serve("GET /", reply);
    const auto address = server->address();
    static_cast<void>(write(tellPort, address.data(), address.size()));
    close(tellPort);
    while (true) {
        pause();
    }
}

} // namespace

LoopbackProcess::LoopbackProcess(const Reply& reply) {
    start(reply, nullptr);
}

LoopbackProcess::LoopbackProcess(const Reply& reply, const TlsIdentity& identity) {
    start(reply, &identity);
}

void LoopbackProcess::start(const Reply& reply, const TlsIdentity* identity) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "no pipe");
    }
    pid_ = fork();
    if (pid_ == 0) {
        serve(ends[1], reply, identity);
    }
    close(ends[1]);
    std::array<char, 64> bytes{};
    const ssize_t count = read(ends[0], bytes.data(), bytes.size());
    close(ends[0]);
    if (count > 0) {
        address_.assign(bytes.data(), static_cast<std::size_t>(count));
    }
}

LoopbackProcess::~LoopbackProcess() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

} // namespace loopback
