#pragma once

#include <cstddef>
#include <system_error>
#include <vector>

namespace base {

// Starts `count` threads that run `body`, or as many as the system gives. Whoever needs one looks whether there is any.
template <typename Thread, typename Body>
void addThreads(std::vector<Thread>& threads, std::size_t count, const Body& body) {
    threads.reserve(threads.size() + count); // a thread that is running and has no owner would end the process
    try {
        for (std::size_t i = 0; i < count; ++i) {
            threads.emplace_back(body);
        }
    } catch (const std::system_error&) { // the others do its work
    }
}

} // namespace base
