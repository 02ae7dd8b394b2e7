#pragma once

#include "tools/loopback/Reply.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Everything that a portal, or the network before it, can do wrong, each under a name. `qn-portal serve --fault NAME`
// shows them to a person, and the tests start the installer against them: both take them from this table.
namespace faults {

// A host that only a proxy can find.
inline constexpr const char* kBehindProxy = "behind.the.proxy.invalid";

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
    kGarbage,          // bytes that are no TLS
    kPlain,            // HTTP without TLS
    kReset,            // the connection is reset instead of an answer
    kClose,            // it is closed in order instead
    kStall,            // nothing comes
    kWantsCertificate, // of the client
    kNoFarewell,       // the end of the connection is not announced
};

// What a portal has to answer.
enum class Target { kConfiguration, kImage, kAnalytics };
inline constexpr std::size_t kTargets = 3;

// What a portal answers; without a fault, what a good one does.
struct Answers {
    loopback::Reply configuration;
    loopback::Reply image;
    loopback::Reply analytics;
    std::map<std::string, loopback::Reply> more; // by path: where redirects lead
    TlsFault tls = TlsFault::kNone;
    // Where each is to be asked for, by Target, when not here: the beginning of an address up to the path.
    std::array<std::string, kTargets> places;
    // For clients that take the server for their proxy: what they get when they ask for a tunnel, instead of one; and
    // when they ask for an address, instead of what this server has at that path.
    std::optional<loopback::Reply> tunnel;
    std::optional<loopback::Reply> proxied;

    loopback::Reply& of(Target target);
};

struct Context {
    std::string base;     // "http://127.0.0.1:PORT"
    std::string refusing; // the same of a port where nobody listens
    std::string six;      // the same of this server on ::1, and "http://localhost:PORT" where only that listens
    std::string sixByName;
    std::string value; // what follows = in the fault's name, else its default
};

struct Scenario {
    std::string_view name;
    std::string_view meaning; // for --list-faults
    std::string_view value;   // the default of what may follow =; empty: nothing may
    // Changes what is answered. Pure. Null where `spoil` is not.
    void (*apply)(Answers&, const Context&);
    bool needsTls = false;
    // Of what can go wrong with each answer alike: does it to this one.
    void (*spoil)(Answers&, Target, const Context&) = nullptr;
    bool isOfProxy = false; // shows to clients whose proxy is this server
};

// A row of what can go wrong with each answer alike.
constexpr Scenario ofEach(std::string_view name, std::string_view meaning, std::string_view value,
                          void (*spoil)(Answers&, Target, const Context&)) {
    return {name, meaning, value, nullptr, false, spoil};
}
constexpr Scenario ofProxy(std::string_view name, std::string_view meaning,
                           void (*spoil)(Answers&, Target, const Context&)) {
    return {name, meaning, "", nullptr, false, spoil, true};
}

struct ChosenFault {
    const Scenario* scenario;
    std::string value;                 // as Context::value
    std::optional<Target> target = {}; // of a fault that each answer can have: the only one
};

// `context.value` is of no account.
void apply(const ChosenFault& fault, Answers& answers, Context context);

std::span<const Scenario> configurationFaults();
std::span<const Scenario> imageFaults();
std::span<const Scenario> analyticsFaults();
std::span<const Scenario> tlsFaults();
// What can go wrong with each of the three answers: the connection, the framing, the status and the body, redirects,
// the place where it is, the proxy before it.
std::span<const Scenario> connectionFaults();
std::span<const Scenario> framingFaults();
std::span<const Scenario> headFaults();
std::span<const Scenario> bodyFaults();
std::span<const Scenario> redirectFaults();
std::span<const Scenario> placeFaults();

// All of them, in the order above.
std::vector<const Scenario*> scenarios();
const Scenario* scenarioCalled(std::string_view name); // null when there is none

} // namespace faults
