#pragma once

namespace platform {

// Keeps Qt, which looks for assistive technology on the session's bus, from starting a bus where there is
// none: it would fork this process while its threads run, keep the first picture waiting, and leave a daemon behind.
// And from waiting for a bus that takes connections and says nothing: within a quarter of a second, usually within one
// millisecond, it is found out whether the buses answer, and Qt goes on without those that do not.
// Changes this process's environment, but not that of the programs it starts. Before any thread.
void keepQtFromStartingABus();

} // namespace platform
