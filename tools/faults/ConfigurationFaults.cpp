#include "tools/faults/ReplyFaults.h"
#include "tools/faults/Scenario.h"

#include <nlohmann/json.hpp>

#include <array>

namespace faults {

using loopback::Ending;
using Json = nlohmann::ordered_json;

namespace {

// Changes the document as a value.
template <typename Change>
void edit(Answers& answers, const Change& change) {
    Json document = Json::parse(answers.configuration.body);
    change(document);
    answers.configuration.body = document.dump(2) + "\n";
}

template <typename Change>
void editSoftware(Answers& answers, const Change& change) {
    edit(answers, [&](Json& document) { change(document["software"][0]); });
}

void setImage(Answers& answers, const std::string& address) {
    editSoftware(answers, [&](Json& software) { software["macUrl"] = address; });
}

void replaceBody(Answers& answers, std::string body) {
    answers.configuration.body = std::move(body);
}

std::string inUtf16(const std::string& ascii) {
    std::string text = "\xff\xfe";
    for (const char byte : ascii) {
        text.push_back(byte);
        text.push_back('\0');
    }
    return text;
}

// A chain of redirects that ends at the document.
void redirect(Answers& answers, long count) {
    answers.more["/hop/0"] = answers.configuration;
    for (long at = 1; at < count; ++at) {
        answers.more["/hop/" + std::to_string(at)] = loopback::redirectTo("/hop/" + std::to_string(at - 1));
    }
    answers.configuration = loopback::redirectTo("/hop/" + std::to_string(count - 1));
}

// gzip's head, and nothing that can be unpacked behind it.
void breakOffGzip(Answers& answers) {
    answers.configuration.body = std::string("\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03", 10);
    setHeader(answers.configuration, "Content-Encoding", "gzip");
}

using A = Answers&;
using C = const Context&;

constexpr std::array kFaults{
    Scenario{"config-404", "the configuration is not found; a page says so", "",
             [](A a, C) { a.configuration = loopback::replyWithStatus(404, "<!DOCTYPE html><title>404</title>"); }},
    Scenario{"config-500", "a good configuration with status 500", "", [](A a, C) { a.configuration.status = 500; }},
    Scenario{"config-empty", "an empty body", "", [](A a, C) { replaceBody(a, ""); }},
    Scenario{"config-html", "a page instead of a configuration", "",
             [](A a, C) { replaceBody(a, "<!DOCTYPE html><title>Sign in to the network</title>\n"); }},
    Scenario{"config-noise", "bytes that are no text", "",
             [](A a, C) { replaceBody(a, loopback::generatedBytes(0, 5000)); }},
    Scenario{"config-cut", "the document ends in its middle, and the length agrees", "",
             [](A a, C) { replaceBody(a, a.configuration.body.substr(0, a.configuration.body.size() / 2)); }},
    Scenario{"config-byte-order-mark", "a byte order mark before the document", "",
             [](A a, C) { replaceBody(a, "\xEF\xBB\xBF" + a.configuration.body); }},
    Scenario{"config-utf16", "the document in UTF-16", "",
             [](A a, C) { replaceBody(a, inUtf16(a.configuration.body)); }},
    Scenario{"config-not-utf8", "a byte in it that is no UTF-8", "",
             [](A a, C) { replaceBody(a, "{\"x\": \"\xff\"," + a.configuration.body.substr(1)); }},
    Scenario{"config-trailing-comma", "a comma behind the last entry", "",
             [](A a, C) {
                 std::string& body = a.configuration.body;
                 body.insert(body.rfind('}'), ",");
             }},
    Scenario{"config-comment", "a comment in the document", "",
             [](A a, C) { replaceBody(a, "// the portal\n" + a.configuration.body); }},
    Scenario{"config-duplicate-key", "userAction twice, the second one different", "",
             [](A a, C) {
                 std::string& body = a.configuration.body;
                 body.insert(body.rfind('}'), ",\"userAction\": [{\"action\": \"openLink\", \"isActive\": \"1\"}]");
             }},
    Scenario{"config-deep", "100,000 lists in each other", "",
             [](A a, C) {
                 constexpr std::size_t kDeep = 100000;
                 replaceBody(a, std::string(kDeep, '[') + std::string(kDeep, ']'));
             }},
    Scenario{"config-huge", "so many MiB of document", "8",
             [](A a, C c) {
                 const auto size = static_cast<std::size_t>(numberOf(c.value)) * 1024 * 1024;
                 edit(a, [&](Json& document) { document["more"] = std::string(size, 'x'); });
             }},
    Scenario{"config-list", "a list around the document", "",
             [](A a, C) { replaceBody(a, "[" + a.configuration.body + "]"); }},
    Scenario{"config-number", "a number instead of a document", "", [](A a, C) { replaceBody(a, "42\n"); }},
    Scenario{"config-nulls", "null wherever a text belongs", "",
             [](A a, C) {
                 editSoftware(a, [](Json& software) {
                     for (auto& value : software) {
                         value = value == "1" ? value : Json();
                     }
                 });
             }},
    Scenario{"config-active-number", "isActive is the number 1", "",
             [](A a, C) { edit(a, [](Json& document) { document["userAction"][0]["isActive"] = 1; }); }},
    Scenario{"config-wrong-mark", "software is marked with isActive", "",
             [](A a, C) {
                 editSoftware(a, [](Json& software) {
                     software.erase("IsActive");
                     software["isActive"] = "1";
                 });
             }},
    Scenario{"config-unknown-action", "an action that nobody handles: the spinner turns for ever", "",
             [](A a, C) { edit(a, [](Json& document) { document["userAction"][0]["action"] = "update"; }); }},
    Scenario{"config-no-action", "no active action", "",
             [](A a, C) { edit(a, [](Json& document) { document["userAction"][0]["isActive"] = "0"; }); }},
    Scenario{"config-no-software", "nothing to install", "",
             [](A a, C) { edit(a, [](Json& document) { document.erase("software"); }); }},
    Scenario{"config-no-image", "no address of an image", "",
             [](A a, C) { editSoftware(a, [](Json& software) { software.erase("macUrl"); }); }},
    Scenario{"config-not-dmg", "the image's address ends in .pkg", "",
             [](A a, C c) { setImage(a, c.base + "/download/Installer.pkg"); }},
    Scenario{"config-bad-image-address", "the image's address holds a blank", "",
             [](A a, C c) { setImage(a, c.base + "/down load/Installer.dmg"); }},
    Scenario{"config-image-over-ftp", "the image's address begins with ftp", "",
             [](A a, C) { setImage(a, "ftp://127.0.0.1/Installer.dmg"); }},
    Scenario{"config-arguments-list", "commandLineArgs is a list", "",
             [](A a, C) {
                 editSoftware(a, [](Json& software) { software["commandLineArgs"] = Json::array({"--a", "--b"}); });
             }},
    Scenario{"config-no-analytics", "no analytics address", "",
             [](A a, C) { edit(a, [](Json& document) { document.erase("analyticsUrl"); }); }},
    Scenario{"config-bad-analytics-address", "an analytics address that is none", "",
             [](A a, C) { edit(a, [](Json& document) { document["analyticsUrl"] = "http://a b/"; }); }},
    Scenario{"slow-config", "so many seconds before the configuration", "5",
             [](A a, C c) { delayBy(a.configuration, c.value); }},
    Scenario{"stall-config", "no answer to the configuration's request", "", [](A a, C) { stall(a.configuration); }},
    Scenario{"trickle-config", "one byte of the body in so many milliseconds", "50",
             [](A a, C c) { a.configuration.pause = std::chrono::milliseconds(numberOf(c.value)); }},
    Scenario{"close-config", "the connection closes instead of an answer", "",
             [](A a, C) { closeAtOnce(a.configuration); }},
    Scenario{"reset-config", "the connection is reset instead of an answer", "",
             [](A a, C) { resetAtOnce(a.configuration); }},
    Scenario{"cut-config-head", "the connection closes within the head", "",
             [](A a, C) { closeInHead(a.configuration); }},
    Scenario{"config-long-length", "Content-Length promises more than comes", "",
             [](A a, C) {
                 a.configuration.contentLength = std::to_string(a.configuration.body.size() + 100);
                 a.configuration.ending = Ending::kClose;
             }},
    Scenario{"config-short-length", "Content-Length promises less than comes", "",
             [](A a, C) {
                 a.configuration.contentLength = std::to_string(a.configuration.body.size() / 2);
                 a.configuration.ending = Ending::kClose;
             }},
    Scenario{"config-no-length", "the body ends with the connection", "",
             [](A a, C) {
                 a.configuration.contentLength = "";
                 a.configuration.ending = Ending::kClose;
             }},
    Scenario{"config-pieces", "the body in pieces", "", [](A a, C) { sendInPieces(a.configuration, false); }},
    Scenario{"config-broken-pieces", "pieces with a length that is none", "",
             [](A a, C) { sendInPieces(a.configuration, true); }},
    Scenario{"config-flooded-head", "so many KiB of header fields", "400",
             [](A a, C c) { floodHead(a.configuration, static_cast<std::size_t>(numberOf(c.value)) * 1024); }},
    Scenario{"config-no-http", "an answer that is no HTTP", "",
             [](A a, C) {
                 a.configuration.raw = "220 mail.portal.net ESMTP\r\n";
                 a.configuration.ending = Ending::kClose;
             }},
    Scenario{"config-unknown-encoding", "the body in an encoding that nobody asked for", "",
             [](A a, C) { setHeader(a.configuration, "Content-Encoding", "compress-o-mat"); }},
    Scenario{"config-broken-gzip", "gzip that is none", "",
             [](A a, C) { setHeader(a.configuration, "Content-Encoding", "gzip"); }},
    Scenario{"config-damaged-gzip", "gzip that breaks off", "", [](A a, C) { breakOffGzip(a); }},
    Scenario{"config-redirects", "so many redirects before the configuration", "16",
             [](A a, C c) { redirect(a, numberOf(c.value)); }},
    Scenario{"config-redirect-loop", "a redirect to itself", "",
             [](A a, C) { a.configuration = loopback::redirectTo("/config.json"); }},
    Scenario{"config-redirect-nowhere", "a redirect to a port where nobody listens", "",
             [](A a, C c) { a.configuration = loopback::redirectTo(c.refusing + "/config.json"); }},
};

} // namespace

std::span<const Scenario> configurationFaults() {
    return kFaults;
}

} // namespace faults
