#include "hdiutil/volume/ApfsIo.h"

#include <algorithm>
#include <cstdio>
#include <span>

namespace hdi::apfs {

namespace {

struct State {
    ByteSourcePtr source;
    std::shared_ptr<std::exception_ptr> error;
    std::uint64_t offset = 0;
    bool isOpen = false;
};

State& stateOf(std::intptr_t* handle) {
    return *reinterpret_cast<State*>(handle);
}

int freeState(std::intptr_t** handle, libbfio_error_t**) {
    if (handle == nullptr || *handle == nullptr) {
        return -1;
    }
    const std::unique_ptr<State> owned(&stateOf(*handle));
    *handle = nullptr;
    return 1;
}

int cloneState(std::intptr_t** destination, std::intptr_t* source, libbfio_error_t**) {
    *destination = reinterpret_cast<std::intptr_t*>(std::make_unique<State>(stateOf(source)).release());
    return 1;
}

int openState(std::intptr_t* handle, int flags, libbfio_error_t**) {
    if ((flags & LIBBFIO_ACCESS_FLAG_WRITE) != 0) {
        return -1;
    }
    stateOf(handle).isOpen = true;
    return 1;
}

int closeState(std::intptr_t* handle, libbfio_error_t**) {
    stateOf(handle).isOpen = false;
    return 0;
}

ssize_t readState(std::intptr_t* handle, std::uint8_t* buffer, std::size_t size, libbfio_error_t**) {
    State& state = stateOf(handle);
    const std::uint64_t total = state.source->size();
    if (state.offset >= total) {
        return 0;
    }
    const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(size, total - state.offset));
    try {
        state.source->read(state.offset, std::as_writable_bytes(std::span(buffer, length)));
    } catch (...) {
        *state.error = std::current_exception();
        return -1;
    }
    state.offset += length;
    return static_cast<ssize_t>(length);
}

ssize_t refuseWrite(std::intptr_t*, const std::uint8_t*, std::size_t, libbfio_error_t**) {
    return -1;
}

off64_t seekState(std::intptr_t* handle, off64_t offset, int whence, libbfio_error_t**) {
    State& state = stateOf(handle);
    std::int64_t base = 0;
    if (whence == SEEK_CUR) {
        base = static_cast<std::int64_t>(state.offset);
    } else if (whence == SEEK_END) {
        base = static_cast<std::int64_t>(state.source->size());
    }
    std::int64_t place = 0;
    if (__builtin_add_overflow(base, offset, &place) || place < 0) {
        return -1;
    }
    state.offset = static_cast<std::uint64_t>(place);
    return place;
}

int existsState(std::intptr_t*, libbfio_error_t**) {
    return 1;
}
int isOpenState(std::intptr_t* handle, libbfio_error_t**) {
    return stateOf(handle).isOpen ? 1 : 0;
}

int sizeState(std::intptr_t* handle, size64_t* size, libbfio_error_t**) {
    *size = stateOf(handle).source->size();
    return 1;
}

} // namespace

IoHandle makeIoHandle(const ByteSourcePtr& source, const std::shared_ptr<std::exception_ptr>& error) {
    auto state = std::make_unique<State>(State{source, error, 0, false});
    libbfio_handle_t* handle = nullptr;
    const int result = libbfio_handle_initialize(
        &handle, reinterpret_cast<std::intptr_t*>(state.get()), freeState, cloneState, openState, closeState, readState,
        refuseWrite, seekState, existsState, isOpenState, sizeState,
        LIBBFIO_FLAG_IO_HANDLE_MANAGED | LIBBFIO_FLAG_IO_HANDLE_CLONE_BY_FUNCTION, nullptr);
    if (result != 1) {
        return nullptr;
    }
    (void)state.release(); // the handle frees it
    return IoHandle(handle);
}

} // namespace hdi::apfs
