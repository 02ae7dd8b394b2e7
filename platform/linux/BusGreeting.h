#pragma once

#include <QString>

#include <chrono>
#include <optional>

// Asks a D-Bus server, with a limit, whether it is there at all. QtDBus cannot: it connects without one, and one thread
// does all of its connecting, so that a bus which takes the connection and then says nothing holds up everybody.
// Facts from the D-Bus standard, "Message Protocol" and "Authentication Protocol". Any thread; needs no event loop.
namespace platform {

// Whether a bus at one of these addresses takes this user and answers within the limit; an absent limit waits for ever.
// Only addresses of the kind "unix:" are asked; all others count as silent.
bool busAnswers(const QString& addresses, std::optional<std::chrono::milliseconds> limit);

struct BusAnswers {
    bool session = false;
    bool accessibility = false; // nothing that Qt does for assistive technology would wait
};

// Asks the session bus and, when that knows one, the accessibility bus and its owner. `accessibilityBus`, when not
// empty, is the address at which Qt looks instead.
BusAnswers askBuses(const std::optional<QString>& sessionBus, const QString& accessibilityBus,
                    std::chrono::milliseconds limit);

} // namespace platform
