#include "tools/qn-portal/check/Rules.h"

#include <array>

namespace portal::check {

namespace {

using enum Severity;

constexpr std::string_view kNoTls = "The screen \"Installation failed\"; the log says Code=-1202 or -1200.";

constexpr std::array kTransfers{
    Rule{"transfer-failed", kError, "%1 did not answer (%2).",
         "The screen \"Installation failed\"; the log says \"%2\".", "See to it that the server answers."},
    Rule{"transfer-config-status", kWarning, "The configuration came with status %1.",
         "Nothing: the status is never looked at. A cache or a firewall may keep such an answer back.",
         "Answer with 200."},
    Rule{"transfer-image-status", kError, "The image came with status %1; only 200 counts.",
         "The screen \"Installation failed\"; the log says \"HTTP Response with status code %1\".", "Answer with 200."},
    Rule{"transfer-redirects", kWarning, "%1 redirects lead to %2.", "\"Connecting…\" for longer.",
         "Name the last address at once."},
    Rule{"transfer-redirect-loop", kError, "More than 16 redirects, the last to %1.",
         "The screen \"Installation failed\"; the log says Code=-1007 \"too many HTTP redirects\".",
         "Break the circle."},
    Rule{"transfer-redirect-to-http", kError, "A redirect leads from https to %1, which is not followed.",
         "The screen \"Installation failed\"; the log says Code=-1002.", "Redirect to https, or not at all."},
    Rule{"transfer-encoding", kError, "The body is encoded as \"%1\", which the installer did not ask for.",
         "The bytes are taken as they come, and are no JSON or no image: the screen \"Installation failed\".",
         "Send it with gzip, deflate or br, or plain."},
    Rule{"transfer-image-encoded", kWarning, "The image is sent with Content-Encoding %1.",
         "Nothing, but the server packs what is packed already, and no length is known.", "Send images plain."},
    Rule{"transfer-length", kError, "Content-Length says %1 bytes, %2 came.",
         "The screen \"Installation failed\"; the log says Code=-1005 \"The network connection was lost.\".",
         "Mend the length, or the proxy that cuts the body."},
    Rule{"transfer-no-length", kNote, "The image comes without Content-Length.",
         "Nothing. A body that is cut off is not noticed before its checksum is.", "Send Content-Length."},
    Rule{"transfer-name-changed", kNote, "The image is saved as \"%1\", not as \"%2\".",
         "Nothing; the log shows that name.", "Serve it as application/x-apple-diskimage under a plain name."},
    Rule{"transfer-config-type", kWarning, "The configuration is served as \"%1\".",
         "Nothing. Proxies that judge by the type may block it.", "Serve it as application/json."},
    Rule{"transfer-image-type", kWarning, "The image is served as \"%1\".",
         "Nothing. Proxies that judge by the type may block or change it.",
         "Serve it as application/x-apple-diskimage or application/octet-stream."},
    Rule{"transfer-config-cached", kWarning, "The configuration may be kept for %1 seconds.",
         "After a roll-back, the old configuration for that long.",
         "Send Cache-Control: max-age=60 or less, or no-cache with an ETag."},
    Rule{"transfer-config-cache-unsaid", kNote, "The configuration's answer does not say how long it may be kept.",
         "Each cache on the way decides for itself.", "Send Cache-Control: max-age=60."},
    Rule{"transfer-image-uncacheable", kWarning, "The image may not be kept by caches: \"%1\".",
         "A slow download: every copy comes from your own server.",
         "Send Cache-Control: public, max-age=31536000, and a new name for each image."},
    Rule{"transfer-image-unlabelled", kNote, "The image has neither ETag nor Last-Modified.",
         "Nothing. A CDN cannot ask whether its copy is still good.", "Send an ETag or Last-Modified."},
    Rule{"transfer-cookie", kWarning, "The answer sets a cookie.",
         "Nothing: the installer keeps none. CDNs do not keep such answers.", "Send none."},
    Rule{"transfer-vary", kWarning, "The answer varies by \"%1\".",
         "Slower starts: a CDN keeps one copy for each value, or none at all.",
         "Vary by no more than locale and Accept-Encoding."},
    Rule{"transfer-missing-vary", kError, "The configuration depends on the header %1 and does not say so.",
         "Behind a CDN, what the one before was to see.", "Send Vary: %1."},
    Rule{"transfer-slow", kWarning, "%1 took %2 seconds to answer.", "\"Connecting…\" for longer.",
         "Serve it as a file, near the users."},
    Rule{"tls-untrusted", kError, "The certificate of %1 comes from an authority that nobody knows: %2.", kNoTls,
         "Use a certificate of a public authority."},
    Rule{"tls-missing-intermediate", kError, "%1 does not send the certificate of \"%2\", which signed its own.",
         "The screen \"Installation failed\" on every machine that has not met that certificate elsewhere.",
         "Send the whole chain (nginx: ssl_certificate with the intermediate behind your own)."},
    Rule{"tls-other-host", kError, "The certificate of %1 is for %2.", kNoTls, "Get one for %1."},
    Rule{"tls-expired", kError, "The certificate of %1 expired on %2.", kNoTls, "Renew it."},
    Rule{"tls-not-yet", kError, "The certificate of %1 is not valid before %2.", kNoTls,
         "Look at the server's clock; wait, or get another."},
    Rule{"tls-expires-soon", kWarning, "The certificate of %1 expires in %2 days.", "Nothing yet.",
         "Renew it, and see to it that renewal runs by itself."},
    Rule{"tls-old-versions", kWarning, "%1 accepts %2.", "Nothing. An attacker may force the old version.",
         "Allow TLS 1.2 and 1.3 only."},
    Rule{"tls-too-old", kError, "%1 speaks no TLS 1.2 or newer.", kNoTls, "Allow TLS 1.2 and 1.3."},
    Rule{"tls-weak-key", kWarning, "The certificate of %1 has a key of %2 bits.",
         "Nothing yet: macOS wants 2048 bits of RSA, or 256 of an elliptic curve.", "Renew it with a longer key."},
    Rule{"analytics-unreachable", kError, "The analytics endpoint did not take a POST: %1.",
         "The program stays for up to a minute after its end; the log says \"Analytics send error\".",
         "See to it that the server answers."},
    Rule{"analytics-slow", kError, "The analytics endpoint took %1 seconds to answer an empty POST.",
         "The program waits for that answer before it ends, however long it takes.",
         "Answer at once, and work on the lines afterwards."},
    Rule{"analytics-refused", kError, "The analytics endpoint answers a POST with status %1.",
         "Nothing; the lines are lost.", "Accept POST with any body and answer 200 or 204."},
    Rule{"analytics-redirects", kError, "The analytics endpoint redirects a POST to %1 with status %2.",
         "Nothing; the next request is a GET without the lines, which are lost.",
         "Name the last address in the configuration, or redirect with 307 or 308."},
};

} // namespace

std::span<const Rule> transferRules() {
    return kTransfers;
}

} // namespace portal::check
