#include "tools/faults/ReplyFaults.h"
#include "tools/faults/Scenario.h"

#include <array>

namespace faults {

using loopback::Ending;

namespace {

using A = Answers&;
using C = const Context&;

// The image's bytes, changed.
template <typename Change>
void edit(Answers& answers, const Change& change) {
    holdBody(answers.image);
    change(answers.image.body);
}

// Within the list of the image's tables, where there is one: the same thing is wrong then, whatever lies in the image.
void changeOneByte(std::string& bytes) {
    const std::size_t list = bytes.rfind("<?xml");
    bytes.at(list == std::string::npos ? bytes.size() / 3 : list) ^= 1;
}

void nameIt(Answers& answers, const std::string& name) {
    setHeader(answers.image, "Content-Disposition", "attachment; filename=\"" + name + "\"");
}

void moveTo(Answers& answers, const std::string& address) {
    answers.image = loopback::redirectTo(address);
}

constexpr std::array kFaults{
    Scenario{"image-404", "the image is not found", "",
             [](A a, C) { a.image = loopback::replyWithStatus(404, "no such image"); }},
    Scenario{"image-503", "the server is busy", "",
             [](A a, C) {
                 a.image = loopback::replyWithStatus(503, "busy");
                 setHeader(a.image, "Retry-After", "120");
             }},
    Scenario{"image-status", "the image with another status", "206",
             [](A a, C c) { a.image.status = static_cast<int>(numberOf(c.value)); }},
    Scenario{"image-204", "status 204 without a body", "", [](A a, C) { a.image = loopback::replyWithStatus(204); }},
    Scenario{"image-empty", "an empty image", "", [](A a, C) { setBody(a.image, ""); }},
    Scenario{"image-noise", "bytes that are no image", "",
             [](A a, C) { setBody(a.image, loopback::generatedBytes(0, 65536)); }},
    Scenario{"image-page", "a page in the image's place", "",
             [](A a, C) {
                 setBody(a.image, "<!DOCTYPE html><title>Sign in to the network</title>\n");
                 setHeader(a.image, "Content-Type", "text/html");
             }},
    Scenario{"image-one-byte", "one byte of the image is another", "", [](A a, C) { edit(a, changeOneByte); }},
    Scenario{"image-cut", "the second half is missing, and the length agrees", "",
             [](A a, C) { edit(a, [](std::string& bytes) { bytes.resize(bytes.size() / 2); }); }},
    Scenario{"image-doubled", "the image twice, one behind the other", "",
             [](A a, C) { edit(a, [](std::string& bytes) { bytes += std::string(bytes); }); }},
    Scenario{"image-no-trailer", "the last 512 bytes are zeros", "",
             [](A a, C) {
                 edit(a, [](std::string& bytes) {
                     bytes.replace(bytes.size() - std::min<std::size_t>(bytes.size(), 512), 512, 512, '\0');
                 });
             }},
    Scenario{"reset-in-body", "the connection is reset within the image", "",
             [](A a, C) { endInBody(a.image, Ending::kReset); }},
    Scenario{"close-in-body", "the connection closes within the image", "",
             [](A a, C) { endInBody(a.image, Ending::kClose); }},
    Scenario{"stall-in-body", "within the image nothing comes any more", "",
             [](A a, C) { endInBody(a.image, Ending::kStall); }},
    Scenario{"stall-image", "no answer to the image's request", "", [](A a, C) { stall(a.image); }},
    Scenario{"close-image", "the connection closes instead of an answer", "", [](A a, C) { closeAtOnce(a.image); }},
    Scenario{"reset-image", "the connection is reset instead of an answer", "", [](A a, C) { resetAtOnce(a.image); }},
    Scenario{"cut-image-head", "the connection closes within the head", "", [](A a, C) { closeInHead(a.image); }},
    Scenario{"refuse-image", "nobody listens where the image is", "",
             [](A a, C c) { moveTo(a, c.refusing + "/Installer.dmg"); }},
    Scenario{"slow-image", "so many KiB a second", "64",
             [](A a, C c) { a.image.bytesPerSecond = static_cast<std::uint64_t>(numberOf(c.value)) * 1024; }},
    Scenario{"late-image", "so many seconds before the image", "5", [](A a, C c) { delayBy(a.image, c.value); }},
    Scenario{"image-long-length", "Content-Length promises more than comes", "",
             [](A a, C) {
                 edit(a, [](std::string&) {});
                 a.image.contentLength = std::to_string(a.image.body.size() + 4096);
                 a.image.ending = Ending::kClose;
             }},
    Scenario{"image-short-length", "Content-Length promises less than comes", "",
             [](A a, C) {
                 edit(a, [](std::string&) {});
                 a.image.contentLength = std::to_string(a.image.body.size() / 2);
                 a.image.ending = Ending::kClose;
             }},
    Scenario{"image-no-length", "the image ends with the connection", "",
             [](A a, C) {
                 a.image.contentLength = "";
                 a.image.ending = Ending::kClose;
             }},
    Scenario{"image-pieces", "the image in pieces", "", [](A a, C) { sendInPieces(a.image, false); }},
    Scenario{"image-broken-pieces", "pieces with a length that is none", "",
             [](A a, C) { sendInPieces(a.image, true); }},
    Scenario{"image-broken-gzip", "gzip that is none", "",
             [](A a, C) { setHeader(a.image, "Content-Encoding", "gzip"); }},
    Scenario{"image-redirect", "a redirect to the image", "",
             [](A a, C) {
                 a.more["/hop/1/Installer.dmg"] = a.image;
                 moveTo(a, "/hop/1/Installer.dmg");
             }},
    Scenario{"image-redirect-loop", "a redirect to itself", "", [](A a, C) { moveTo(a, "/download/Installer.dmg"); }},
    Scenario{"image-named-outside", "a name that leads out of the folder", "",
             [](A a, C) { nameIt(a, "../../../../tmp/evil.dmg"); }},
    Scenario{"image-named-nothing", "a name of dots", "", [](A a, C) { nameIt(a, ".."); }},
    Scenario{"image-named-long", "a name of so many letters", "5000",
             [](A a, C c) { nameIt(a, std::string(static_cast<std::size_t>(numberOf(c.value)), 'n') + ".dmg"); }},
    Scenario{"image-named-strangely", "a name with blanks, quotes and signs of a shell", "",
             [](A a, C) { nameIt(a, "a b'$(touch x);`id`&|.dmg"); }},
};

} // namespace

std::span<const Scenario> imageFaults() {
    return kFaults;
}

} // namespace faults
