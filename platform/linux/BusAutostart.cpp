#include "platform/BusAutostart.h"

#include "platform/linux/BusGreeting.h"
#include "platform/linux/OwnEnvironment.h"
#include "platform/linux/SessionBus.h"

#include <chrono>

namespace platform {

void keepQtFromStartingABus() {
    constexpr const char* kAccessibilityVariable = "AT_SPI_BUS_ADDRESS";
    constexpr std::chrono::milliseconds kLimit(250); // a bus that is alive answers within one
    const BusAnswers answers = askBuses(sessionBusAddress(), qEnvironmentVariable(kAccessibilityVariable), kLimit);
    if (!answers.session) {
        setForThisProcessOnly(kBusAddressVariable, kNoBusAddress);
    }
    if (!answers.accessibility) {
        setForThisProcessOnly(kAccessibilityVariable, kNoBusAddress);
    }
}

} // namespace platform
