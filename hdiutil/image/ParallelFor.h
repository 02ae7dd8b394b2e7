#pragma once

#include <cstddef>
#include <functional>

namespace hdi {

// Calls action(i) once for each i below `count`, on `threads` threads (0: one per core), the caller's own among them.
// Smaller numbers start first. After an exception no further ones start, and the exception is thrown here.
// `after`, if given, is called on the caller's thread now and then with the number of those done, and in the end with
// all.
void parallelFor(std::size_t count, unsigned threads, const std::function<void(std::size_t)>& action,
                 const std::function<void(std::size_t)>& after = {});

} // namespace hdi
