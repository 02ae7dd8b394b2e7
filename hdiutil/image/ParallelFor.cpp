#include "hdiutil/image/ParallelFor.h"

#include "base/Threads.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace hdi {

namespace {

struct Work {
    Work(std::size_t total, const std::function<void(std::size_t)>& each) : count(total), action(each) {}

    const std::size_t count;
    const std::function<void(std::size_t)>& action;
    std::atomic<std::size_t> next{0};
    std::atomic<std::size_t> done{0};
    std::mutex mutex;
    std::exception_ptr error;

    // False when there is nothing left to do.
    bool step() {
        const std::size_t index = next.fetch_add(1);
        if (index >= count) {
            return false;
        }
        try {
            action(index);
        } catch (...) {
            next = count;
            const std::lock_guard lock(mutex);
            error = error ? error : std::current_exception();
            return false;
        }
        ++done;
        return true;
    }
};

} // namespace

void parallelFor(std::size_t count, unsigned threads, const std::function<void(std::size_t)>& action,
                 const std::function<void(std::size_t)>& after) {
    Work work(count, action);
    const std::size_t wanted = threads != 0 ? threads : std::max(1U, std::thread::hardware_concurrency());
    std::vector<std::jthread> helpers;
    base::addThreads(helpers, std::max<std::size_t>(std::min(wanted, count), 1) - 1, [&work] {
        while (work.step()) {
        }
    });
    while (work.step()) {
        if (after) {
            after(work.done);
        }
    }
    helpers.clear();
    if (work.error) {
        std::rethrow_exception(work.error);
    }
    if (after && count > 0) {
        after(work.done);
    }
}

} // namespace hdi
