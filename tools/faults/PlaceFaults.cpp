#include "tools/faults/ReplyFaults.h"
#include "tools/faults/Scenario.h"

#include <array>

namespace faults {

using loopback::Ending;
using loopback::Reply;

namespace {

using A = Answers&;
using T = Target;
using C = const Context&;

void moveTo(Answers& answers, Target target, std::string place) {
    answers.places.at(static_cast<std::size_t>(target)) = std::move(place);
}

// An address that only a proxy can find: this server, to those who take it for one.
void moveBehindProxy(Answers& answers, Target target, const char* scheme) {
    moveTo(answers, target, std::string(scheme) + "://" + kBehindProxy);
}

Reply closed(std::string bytes, Ending ending) {
    Reply reply;
    reply.raw = std::move(bytes);
    reply.ending = ending;
    return reply;
}

constexpr const char* kTunnel = "HTTP/1.1 200 Connection established\r\n\r\n";

template <int status>
void refuseAsProxy(Answers& answers, Target target, const Context&) {
    moveBehindProxy(answers, target, "http");
    answers.proxied = loopback::replyWithStatus(status, "<!DOCTYPE html><title>The proxy</title>");
}

template <int status>
void refuseTunnel(Answers& answers, Target target, const Context&) {
    moveBehindProxy(answers, target, "https");
    answers.tunnel = loopback::replyWithStatus(status, "<!DOCTYPE html><title>The proxy</title>");
    answers.tunnel->ending = Ending::kClose;
}

void openTunnel(Answers& answers, Target target, Reply instead) {
    moveBehindProxy(answers, target, "https");
    answers.tunnel = std::move(instead);
}

constexpr std::array kFaults{
    ofEach("refused", "nobody listens where it is", "", [](A a, T t, C c) { moveTo(a, t, c.refusing); }),
    ofEach("unreachable", "no way leads there", "", [](A a, T t, C) { moveTo(a, t, "http://255.255.255.255"); }),
    ofEach("name-unknown", "a host that does not exist", "",
           [](A a, T t, C) { moveTo(a, t, "http://no-such-host.invalid"); }),
    ofEach("name-too-long", "a host's name that no name server takes", "",
           [](A a, T t, C) { moveTo(a, t, "http://" + std::string(300, 'n') + ".invalid"); }),
    ofEach("name-missing", "an address without a host", "", [](A a, T t, C) { moveTo(a, t, "http://"); }),
    ofEach("port-zero", "port 0", "", [](A a, T t, C) { moveTo(a, t, "http://127.0.0.1:0"); }),
    ofEach("port-beyond", "a port beyond 65535", "", [](A a, T t, C) { moveTo(a, t, "http://127.0.0.1:70000"); }),
    ofEach("user-in-address", "a user and a password in the address", "",
           [](A a, T t, C c) { moveTo(a, t, "http://user:word@" + c.base.substr(c.base.find("//") + 2)); }),
    ofEach("ipv6-only", "reachable by IPv6 alone, its address written out", "",
           [](A a, T t, C c) { moveTo(a, t, c.six); }),
    ofEach("ipv6-only-by-name", "reachable by IPv6 alone, by a name that has both kinds of address", "",
           [](A a, T t, C c) { moveTo(a, t, c.sixByName); }),
    ofEach("ipv6-broken", "an address of IPv6 that is none", "", [](A a, T t, C) { moveTo(a, t, "http://[::zz]"); }),
    ofProxy("proxy", "behind a proxy, which this server is", [](A a, T t, C) { moveBehindProxy(a, t, "http"); }),
    ofProxy("proxy-407", "the proxy wants a password", refuseAsProxy<407>),
    ofProxy("proxy-502", "the proxy gets no answer", refuseAsProxy<502>),
    ofProxy("proxy-504", "the proxy waited in vain", refuseAsProxy<504>),
    ofProxy("proxy-close", "the proxy closes the connection",
            [](A a, T t, C) {
                moveBehindProxy(a, t, "http");
                a.proxied = closed("", Ending::kClose);
            }),
    ofProxy("proxy-reset", "the proxy resets the connection",
            [](A a, T t, C) {
                moveBehindProxy(a, t, "http");
                a.proxied = closed("", Ending::kReset);
            }),
    ofProxy("proxy-garbage", "the proxy answers with what is no HTTP",
            [](A a, T t, C) {
                moveBehindProxy(a, t, "http");
                a.proxied = closed("220 no proxy\r\n", Ending::kClose);
            }),
    ofProxy("tunnel", "behind a proxy's tunnel", [](A a, T t, C) { moveBehindProxy(a, t, "https"); }),
    ofProxy("tunnel-403", "the proxy forbids the tunnel", refuseTunnel<403>),
    ofProxy("tunnel-407", "the proxy wants a password for the tunnel", refuseTunnel<407>),
    ofProxy("tunnel-502", "the proxy cannot build the tunnel", refuseTunnel<502>),
    ofProxy("tunnel-close", "the proxy closes the connection instead of a tunnel",
            [](A a, T t, C) { openTunnel(a, t, closed("", Ending::kClose)); }),
    ofProxy("tunnel-reset", "the proxy resets the connection instead of a tunnel",
            [](A a, T t, C) { openTunnel(a, t, closed("", Ending::kReset)); }),
    ofProxy("tunnel-dies", "the tunnel closes as soon as it is there",
            [](A a, T t, C) { openTunnel(a, t, closed(kTunnel, Ending::kClose)); }),
    ofProxy("tunnel-dies-by-reset", "the tunnel is reset as soon as it is there",
            [](A a, T t, C) { openTunnel(a, t, closed(kTunnel, Ending::kReset)); }),
    ofProxy("tunnel-garbage", "no TLS comes through the tunnel",
            [](A a, T t, C) { openTunnel(a, t, closed(kTunnel + loopback::generatedBytes(0, 500), Ending::kClose)); }),
    ofProxy("tunnel-stall", "nothing comes through the tunnel",
            [](A a, T t, C) { openTunnel(a, t, closed(kTunnel, Ending::kStall)); }),
};

} // namespace

std::span<const Scenario> placeFaults() {
    return kFaults;
}

} // namespace faults
