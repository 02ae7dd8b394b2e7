#include "tools/faults/ReplyFaults.h"
#include "tools/faults/Scenario.h"

#include <nlohmann/json.hpp>

#include <array>

namespace faults {

using loopback::Ending;

namespace {

using A = Answers&;
using C = const Context&;

constexpr std::array kFaults{
    Scenario{"slow-analytics", "so many seconds before the answer: the program waits for it", "5",
             [](A a, C c) { delayBy(a.analytics, c.value); }},
    Scenario{"stall-analytics", "no answer to the analytics", "", [](A a, C) { stall(a.analytics); }},
    Scenario{"close-analytics", "the connection closes instead of an answer", "",
             [](A a, C) { closeAtOnce(a.analytics); }},
    Scenario{"reset-analytics", "the connection is reset instead of an answer", "",
             [](A a, C) { resetAtOnce(a.analytics); }},
    Scenario{"refuse-analytics", "nobody listens where the analytics go", "",
             [](A a, C c) {
                 auto document = nlohmann::ordered_json::parse(a.configuration.body);
                 document["analyticsUrl"] = c.refusing + "/analytics";
                 a.configuration.body = document.dump(2) + "\n";
             }},
    Scenario{"analytics-404", "the endpoint is not found", "",
             [](A a, C) { a.analytics = loopback::replyWithStatus(404, "no such page"); }},
    Scenario{"analytics-405", "the endpoint refuses POST", "",
             [](A a, C) { a.analytics = loopback::replyWithStatus(405, "no"); }},
    Scenario{"analytics-500", "the endpoint fails", "",
             [](A a, C) { a.analytics = loopback::replyWithStatus(500, "oops"); }},
    Scenario{"analytics-204", "an answer without a body", "",
             [](A a, C) { a.analytics = loopback::replyWithStatus(204); }},
    Scenario{"analytics-redirect", "a redirect that makes a GET of the POST", "",
             [](A a, C) {
                 a.more["/hop/1"] = a.analytics;
                 a.analytics = loopback::redirectTo("/hop/1", 301);
             }},
    Scenario{"analytics-huge", "so many MiB of answer", "16",
             [](A a, C c) { a.analytics.generated = static_cast<std::uint64_t>(numberOf(c.value)) * 1024 * 1024; }},
    Scenario{"analytics-half", "half an answer, then a reset", "",
             [](A a, C) { endInBody(a.analytics, Ending::kReset); }},
};

template <TlsFault fault>
void setTls(Answers& answers, const Context&) {
    answers.tls = fault;
}

constexpr std::array kTlsFaults{
    Scenario{"tls-expired", "a certificate that expired", "", setTls<TlsFault::kExpired>, true},
    Scenario{"tls-not-yet", "a certificate that is not valid yet", "", setTls<TlsFault::kNotYetValid>, true},
    Scenario{"tls-other-host", "a certificate for another host", "", setTls<TlsFault::kOtherHost>, true},
    Scenario{"tls-self-signed", "a certificate that signed itself", "", setTls<TlsFault::kSelfSigned>, true},
    Scenario{"tls-unknown-authority", "a certificate of an authority that nobody knows", "",
             setTls<TlsFault::kUnknownAuthority>, true},
    Scenario{"tls-missing-intermediate", "the certificate alone, without the one that signed it", "",
             setTls<TlsFault::kMissingIntermediate>, true},
    Scenario{"tls-old-version", "TLS 1.1 and nothing newer", "", setTls<TlsFault::kOldVersionOnly>, true},
    Scenario{"tls-garbage", "bytes that are no TLS", "", setTls<TlsFault::kGarbage>, true},
    Scenario{"tls-plain", "HTTP without TLS on an https address", "", setTls<TlsFault::kPlain>, true},
    Scenario{"tls-reset", "a reset instead of a handshake", "", setTls<TlsFault::kReset>, true},
    Scenario{"tls-close", "the connection closes instead of a handshake", "", setTls<TlsFault::kClose>, true},
    Scenario{"tls-wants-certificate", "no client without a certificate of its own", "",
             setTls<TlsFault::kWantsCertificate>, true},
    Scenario{"tls-no-farewell", "answers without a length, ended without TLS's own goodbye", "",
             [](A a, C) {
                 a.tls = TlsFault::kNoFarewell;
                 for (loopback::Reply* const reply : {&a.configuration, &a.image, &a.analytics}) {
                     reply->contentLength = "";
                     reply->ending = Ending::kClose;
                 }
             },
             true},
    Scenario{"tls-stall", "no answer to the handshake", "", setTls<TlsFault::kStall>, true},
};

} // namespace

std::span<const Scenario> analyticsFaults() {
    return kFaults;
}

std::span<const Scenario> tlsFaults() {
    return kTlsFaults;
}

} // namespace faults
