#pragma once

#include <sys/prctl.h>
#include <unistd.h>

namespace test {

// While it lives, a process of the superuser has the rights of the user "nobody": limits and permissions bind it.
class AsNobody {
public:
    AsNobody() : changed_(geteuid() == 0 && setresuid(kNobody, kNobody, 0) == 0) {}
    ~AsNobody() {
        if (!changed_ || setresuid(0, 0, 0) != 0) {
            return;
        }
        // The change took this away, and leak checkers need it.
        prctl(PR_SET_DUMPABLE, 1);
    }
    AsNobody(const AsNobody&) = delete;
    AsNobody& operator=(const AsNobody&) = delete;

private:
    static constexpr uid_t kNobody = 65534;
    bool changed_;
};

} // namespace test
