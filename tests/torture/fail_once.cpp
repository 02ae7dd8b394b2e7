// Preloaded into one program of a run: refuses the N-th allocation that its own code asks for, or the N-th thread that
// anybody in it wants, once. All processes of that program count together.
//
//   TORTURE_PROGRAM  the program's name; in others nothing happens
//   TORTURE_COUNTS   a file of two 64-bit numbers, allocations and threads so far
//   TORTURE_FAIL     "new N" or "thread N", from 1; absent: only counted

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

struct Counts {
    std::atomic<std::uint64_t> allocations;
    std::atomic<std::uint64_t> threads;
};

// Code that counts as the program's own: its file, and the standard library, whose text grows on its behalf.
struct Code {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};
constexpr int kMostCode = 2;
Code ownCode[kMostCode];
Counts* counts = nullptr;
std::uint64_t failingAllocation = 0;
std::uint64_t failingThread = 0;

int noteCode(dl_phdr_info* info, std::size_t, void* data) {
    auto& count = *static_cast<int*>(data);
    const bool isProgram = info->dlpi_name[0] == '\0';
    if (count >= kMostCode || (!isProgram && std::strstr(info->dlpi_name, "/libstdc++.so") == nullptr)) {
        return 0;
    }
    Code code{UINTPTR_MAX, 0};
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& part = info->dlpi_phdr[i];
        if (part.p_type == PT_LOAD && (part.p_flags & PF_X) != 0) {
            const std::uintptr_t begin = info->dlpi_addr + part.p_vaddr;
            code.begin = begin < code.begin ? begin : code.begin;
            code.end = begin + part.p_memsz > code.end ? begin + part.p_memsz : code.end;
        }
    }
    ownCode[count++] = code;
    return 0;
}

bool isWantedProgram() {
    const char* const wanted = std::getenv("TORTURE_PROGRAM");
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (wanted == nullptr || length <= 0) {
        return false;
    }
    path[length] = '\0';
    const char* const name = std::strrchr(path, '/');
    return name != nullptr && std::strcmp(name + 1, wanted) == 0;
}

__attribute__((constructor)) void begin() {
    const char* const file = std::getenv("TORTURE_COUNTS");
    if (file == nullptr || !isWantedProgram()) {
        return;
    }
    const int descriptor = open(file, O_RDWR | O_CLOEXEC);
    void* const shared = mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    close(descriptor);
    if (shared == MAP_FAILED) {
        std::abort(); // a run that does not count would look like a good one
    }
    int count = 0;
    dl_iterate_phdr(noteCode, &count);
    if (const char* const what = std::getenv("TORTURE_FAIL")) {
        const std::uint64_t number = std::strtoull(std::strchr(what, ' '), nullptr, 10);
        (what[0] == 'n' ? failingAllocation : failingThread) = number;
    }
    counts = static_cast<Counts*>(shared);
}

bool refusesAllocation(const void* caller) {
    if (counts == nullptr) {
        return false;
    }
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    for (const Code& code : ownCode) {
        if (address >= code.begin && address < code.end) {
            return ++counts->allocations == failingAllocation;
        }
    }
    return false;
}

void* allocated(std::size_t size, const void* caller) {
    void* const memory = refusesAllocation(caller) ? nullptr : std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

void* operator new(std::size_t size) {
    return allocated(size, __builtin_return_address(0));
}

void* operator new[](std::size_t size) {
    return allocated(size, __builtin_return_address(0));
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return refusesAllocation(__builtin_return_address(0)) ? nullptr : std::malloc(size != 0 ? size : 1);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                              void* argument) {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    if (counts != nullptr && ++counts->threads == failingThread) {
        return EAGAIN;
    }
    return create(thread, attributes, start, argument);
}
