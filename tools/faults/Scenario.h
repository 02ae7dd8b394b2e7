#pragma once

#include "tools/loopback/Reply.h"

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>

// Everything that a portal, or the network before it, can do wrong, each under a name. `qn-portal serve --fault NAME`
// shows them to a person, and the tests start the installer against them: both take them from this table.
namespace faults {

// How TLS begins.
enum class TlsFault {
    kNone,
    kExpired,
    kNotYetValid,
    kOtherHost,
    kSelfSigned,
    kUnknownAuthority,
    kMissingIntermediate,
    kOldVersionOnly,
    kGarbage, // bytes that are no TLS
    kPlain,   // HTTP without TLS
    kReset,   // the connection is reset instead of an answer
    kStall,   // nothing comes
};

// What a portal answers; without a fault, what a good one does.
struct Answers {
    loopback::Reply configuration;
    loopback::Reply image;
    loopback::Reply analytics;
    std::map<std::string, loopback::Reply> more; // by path: where redirects lead
    TlsFault tls = TlsFault::kNone;
};

struct Context {
    std::string base;     // "http://127.0.0.1:PORT"
    std::string refusing; // the same of a port where nobody listens
    std::string value;    // what follows = in the fault's name, else its default
};

struct Scenario {
    std::string_view name;
    std::string_view meaning; // for --list-faults
    std::string_view value;   // the default of what may follow =; empty: nothing may
    // Changes what is answered. Pure.
    void (*apply)(Answers&, const Context&);
    bool needsTls = false;
};

std::span<const Scenario> configurationFaults();
std::span<const Scenario> imageFaults();
std::span<const Scenario> analyticsFaults();
std::span<const Scenario> tlsFaults();

// All of them, in the order above.
std::vector<const Scenario*> scenarios();
const Scenario* scenarioCalled(std::string_view name); // null when there is none

} // namespace faults
