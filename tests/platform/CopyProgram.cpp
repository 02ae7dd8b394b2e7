#include "platform/Bundle.h"
#include "platform/linux/CopyRegistry.h"

#include <unistd.h>

#include <cstdio>

// A copy of the application for the tests of the single-instance rule: prints the processes that it sees, newest first,
// then stays until its standard input ends if it is alone, as the application does, and ends otherwise.
int main() {
    const auto identifier = Bundle::mainBundle().bundleIdentifier();
    const auto copies = platform::registerAndListCopies(identifier.value_or(QString()));
    for (const pid_t copy : copies) {
        std::printf("%d ", static_cast<int>(copy));
    }
    std::printf("\n");
    std::fflush(stdout);
    char unused = 0;
    while (copies.size() < 2 && ::read(STDIN_FILENO, &unused, 1) > 0) {
    }
    return 0;
}
