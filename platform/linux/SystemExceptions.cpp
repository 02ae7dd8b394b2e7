#include "platform/SystemExceptions.h"

namespace platform {

void translatingSystemExceptions(const std::function<void()>& body) {
    body();
}

void reportUncaughtSystemExceptions() {
    // There are none.
}

} // namespace platform
