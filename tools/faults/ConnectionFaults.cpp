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

// So many bytes of the answer, then the end.
void cut(Reply& reply, std::uint64_t bytes, Ending ending) {
    reply.cutAfter = bytes;
    reply.ending = ending;
}

constexpr std::array kFaults{
    ofEach("close", "the connection closes instead of an answer", "", [](A a, T t, C) { closeAtOnce(a.of(t)); }),
    ofEach("reset", "the connection is reset instead of an answer", "", [](A a, T t, C) { resetAtOnce(a.of(t)); }),
    ofEach("stall", "no answer", "", [](A a, T t, C) { stall(a.of(t)); }),
    ofEach("close-after-a-byte", "one byte, then the end", "", [](A a, T t, C) { cut(a.of(t), 1, Ending::kClose); }),
    ofEach("close-in-status-line", "the connection closes within the status line", "",
           [](A a, T t, C) { cut(a.of(t), 7, Ending::kClose); }),
    ofEach("reset-in-status-line", "the connection is reset within the status line", "",
           [](A a, T t, C) { cut(a.of(t), 7, Ending::kReset); }),
    ofEach("close-in-head", "the connection closes within the head", "", [](A a, T t, C) { closeInHead(a.of(t)); }),
    ofEach("reset-in-head", "the connection is reset within the head", "",
           [](A a, T t, C) {
               closeInHead(a.of(t));
               a.of(t).ending = Ending::kReset;
           }),
    ofEach("stall-in-head", "within the head nothing comes any more", "",
           [](A a, T t, C) {
               closeInHead(a.of(t));
               a.of(t).ending = Ending::kStall;
           }),
    ofEach("close-before-body", "the head, then the end", "",
           [](A a, T t, C) { cut(a.of(t), loopback::headOf(a.of(t)).size(), Ending::kClose); }),
    ofEach("reset-before-body", "the head, then a reset", "",
           [](A a, T t, C) { cut(a.of(t), loopback::headOf(a.of(t)).size(), Ending::kReset); }),
    ofEach("close-half-way", "the connection closes within the body", "",
           [](A a, T t, C) { endInBody(a.of(t), Ending::kClose); }),
    ofEach("reset-half-way", "the connection is reset within the body", "",
           [](A a, T t, C) { endInBody(a.of(t), Ending::kReset); }),
    ofEach("stall-half-way", "within the body nothing comes any more", "",
           [](A a, T t, C) { endInBody(a.of(t), Ending::kStall); }),
    ofEach("close-before-last-byte", "the last byte of the body is missing", "",
           [](A a, T t, C) {
               holdBody(a.of(t));
               cut(a.of(t), loopback::headOf(a.of(t)).size() + a.of(t).body.size() - 1, Ending::kClose);
           }),
    ofEach("close-after", "each answer ends its connection", "", [](A a, T t, C) { a.of(t).ending = Ending::kClose; }),
    ofEach("reset-after", "a reset right behind the whole answer", "",
           [](A a, T t, C) { a.of(t).ending = Ending::kReset; }),
    ofEach("late", "so many seconds before the answer", "1", [](A a, T t, C c) { delayBy(a.of(t), c.value); }),
    ofEach("slow", "so many KiB a second", "64",
           [](A a, T t, C c) { a.of(t).bytesPerSecond = static_cast<std::uint64_t>(numberOf(c.value)) * 1024; }),
};

} // namespace

std::span<const Scenario> connectionFaults() {
    return kFaults;
}

} // namespace faults
