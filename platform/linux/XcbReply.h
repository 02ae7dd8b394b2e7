#pragma once

#include <cstdlib>
#include <memory>

namespace platform {

struct XcbFree {
    void operator()(void* memory) const { std::free(memory); }
};

// What libxcb answers: null when it does not.
template <typename Reply>
using XcbReply = std::unique_ptr<Reply, XcbFree>;

} // namespace platform
