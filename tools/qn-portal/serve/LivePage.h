#pragma once

#include "tools/loopback/Reply.h"
#include "tools/portal/Record.h"

#include <deque>
#include <mutex>
#include <optional>
#include <string>

namespace portal::serve {

// A page that shows the last requests, and the list from which it takes them. Any thread.
class LivePage {
public:
    void add(const RequestEntry& entry);
    // The page at "/", the list at "/requests.json?after=N"; absent for every other path.
    std::optional<loopback::Reply> replyTo(const loopback::Request& request) const;
    // Whether a request is the page's own.
    static bool isOwn(const std::string& target);

private:
    std::string listAfter(long number) const;

    mutable std::mutex mutex_;
    std::deque<std::string> lines_; // of JSON, the last ones
    long count_ = 0;                // of all
};

} // namespace portal::serve
