#pragma once

#include "tools/loopback/Reply.h"

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

namespace loopback {

struct TlsIdentity;

// A loopback server in a process of its own, for measurements: what it takes is not the client's. It gives the one
// reply to every GET of "/". Start it before the program has threads.
class LoopbackProcess {
public:
    explicit LoopbackProcess(const Reply& reply);
    LoopbackProcess(const Reply& reply, const TlsIdentity& identity);
    ~LoopbackProcess();
    LoopbackProcess(const LoopbackProcess&) = delete;
    LoopbackProcess& operator=(const LoopbackProcess&) = delete;

    const std::string& address() const { return address_; }

private:
    void start(const Reply& reply, const TlsIdentity* identity);

    pid_t pid_ = 0;
    std::string address_;
};

} // namespace loopback
