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

// The image keeps the ending of its name.
std::string pathOf(Target target, long number) {
    return "/hop/" + std::to_string(number) + (target == Target::kImage ? "/Installer.dmg" : "");
}

// So many redirects, the first in the answer's place, the last one to the answer. Each ends as told.
void redirect(Answers& answers, Target target, long count, int status, Ending ending) {
    answers.more[pathOf(target, 1)] = answers.of(target);
    for (long at = 1; at <= count; ++at) {
        Reply hop = loopback::redirectTo(pathOf(target, at), status);
        hop.ending = ending;
        (at == count ? answers.of(target) : answers.more[pathOf(target, at + 1)]) = hop;
    }
}

template <int status>
void redirectOnce(Answers& answers, Target target, const Context&) {
    redirect(answers, target, 1, status, Ending::kKeepConnection);
}

void leadTo(Answers& answers, Target target, std::string address) {
    answers.of(target) = loopback::redirectTo(std::move(address));
}

constexpr std::array kFaults{
    ofEach("redirect-301", "moved for good", "", redirectOnce<301>),
    ofEach("redirect-302", "moved for now", "", redirectOnce<302>),
    ofEach("redirect-303", "see another address", "", redirectOnce<303>),
    ofEach("redirect-307", "moved for now, to be asked for in the same way", "", redirectOnce<307>),
    ofEach("redirect-308", "moved for good, to be asked for in the same way", "", redirectOnce<308>),
    ofEach("redirects", "so many redirects", "16",
           [](A a, T t, C c) { redirect(a, t, numberOf(c.value), 302, Ending::kKeepConnection); }),
    ofEach("redirects-closing", "so many redirects that say nothing of ending their connections, and do", "15",
           [](A a, T t, C c) { redirect(a, t, numberOf(c.value), 302, Ending::kClose); }),
    ofEach("redirects-resetting", "the same with resets", "15",
           [](A a, T t, C c) { redirect(a, t, numberOf(c.value), 302, Ending::kReset); }),
    ofEach("redirect-loop", "two redirects to each other", "",
           [](A a, T t, C) {
               a.more[pathOf(t, 1)] = loopback::redirectTo(pathOf(t, 2));
               a.more[pathOf(t, 2)] = loopback::redirectTo(pathOf(t, 1));
               leadTo(a, t, pathOf(t, 1));
           }),
    ofEach("redirect-nowhere", "a redirect to a port where nobody listens", "",
           [](A a, T t, C c) { leadTo(a, t, c.refusing + pathOf(t, 1)); }),
    ofEach("redirect-unknown-host", "a redirect to a host that does not exist", "",
           [](A a, T t, C) { leadTo(a, t, "http://no-such-host.invalid" + pathOf(t, 1)); }),
    ofEach("redirect-ftp", "a redirect to an address of FTP", "",
           [](A a, T t, C) { leadTo(a, t, "ftp://127.0.0.1" + pathOf(t, 1)); }),
    ofEach("redirect-file", "a redirect to a file of the machine", "",
           [](A a, T t, C) { leadTo(a, t, "file:///etc/passwd"); }),
    ofEach("redirect-script", "a redirect to a script", "", [](A a, T t, C) { leadTo(a, t, "javascript:alert(1)"); }),
    ofEach("redirect-without-scheme", "a redirect that leaves the scheme out", "",
           [](A a, T t, C c) {
               a.more[pathOf(t, 1)] = a.of(t);
               leadTo(a, t, c.base.substr(c.base.find("//")) + pathOf(t, 1));
           }),
    ofEach("redirect-dots", "a redirect by dots", "",
           [](A a, T t, C) {
               a.more[pathOf(t, 1)] = a.of(t);
               leadTo(a, t, "../a/b/../.." + pathOf(t, 1));
           }),
    ofEach("redirect-query", "a redirect with a query and a fragment", "",
           [](A a, T t, C) {
               a.more[pathOf(t, 1)] = a.of(t);
               leadTo(a, t, pathOf(t, 1) + "?x=1&y=%20#part");
           }),
    ofEach("redirect-blank", "a redirect to an address with a blank", "",
           [](A a, T t, C) { leadTo(a, t, "/a b" + pathOf(t, 1)); }),
    ofEach("redirect-no-utf8", "a redirect to bytes that are no UTF-8", "",
           [](A a, T t, C) { leadTo(a, t, "/\xff\xfe" + pathOf(t, 1)); }),
    ofEach("redirect-without-place", "a redirect that does not say where to", "",
           [](A a, T t, C) { a.of(t).status = 302; }),
    ofEach("redirect-empty-place", "a redirect to an empty address", "",
           [](A a, T t, C) {
               a.of(t).status = 302;
               setHeader(a.of(t), "Location", "");
           }),
    ofEach("redirect-long-place", "a redirect to an address of so many letters", "100000",
           [](A a, T t, C c) {
               leadTo(a, t, "/" + std::string(static_cast<std::size_t>(numberOf(c.value)), 'a') + pathOf(t, 1));
           }),
    ofEach("redirect-stalling", "a redirect whose body never comes", "",
           [](A a, T t, C c) {
               redirectOnce<302>(a, t, c);
               a.of(t).contentLength = "1000";
               a.of(t).ending = Ending::kStall;
           }),
    ofEach("redirect-unpacked", "a redirect with a body that claims to be gzip", "",
           [](A a, T t, C c) {
               redirectOnce<302>(a, t, c);
               a.of(t).body = "no gzip";
               setHeader(a.of(t), "Content-Encoding", "gzip");
           }),
};

} // namespace

std::span<const Scenario> redirectFaults() {
    return kFaults;
}

} // namespace faults
