#include "platform/BusAutostart.h"

namespace platform {

void keepQtFromStartingABus() {} // there is none

} // namespace platform
