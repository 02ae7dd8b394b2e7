// Dispatch's queues, each with a thread of its own, and its sources for signals.
#import "Standins.h"
#include "platform/base/MainQueue.h"

#include <dispatch/dispatch.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

using standins::kept;
using standins::keeping;

extern "C" void* _Block_copy(const void*);

@interface Queue : NSObject <OS_dispatch_queue>
@end
@implementation Queue
@end
@interface Source : NSObject <OS_dispatch_source>
@end
@implementation Source
@end

namespace {

struct Work {
    std::mutex mutex;
    std::condition_variable some;
    std::deque<dispatch_block_t> blocks;

    [[noreturn]] void run() {
        for (;;) {
            std::unique_lock lock(mutex);
            some.wait(lock, [this] { return !blocks.empty(); });
            dispatch_block_t const block = blocks.front();
            blocks.pop_front();
            lock.unlock();
            block();
        }
    }
};

struct SourceFacts {
    int signal = 0;
    Queue* queue = nil;
    dispatch_block_t handler = nullptr;
};

std::array<int, 65> writingEnds{};

dispatch_block_t copied(dispatch_block_t block) {
    return (__bridge dispatch_block_t)_Block_copy((__bridge const void*)block);
}

} // namespace

__kindof dispatch_queue_t _dispatch_main_q = nil;
const struct dispatch_source_type_s {
} _dispatch_source_type_signal;

dispatch_queue_t dispatch_queue_create(const char*, dispatch_queue_attr_t) {
    auto* const work = new Work;
    std::thread([work] { work->run(); }).detach();
    return keeping([Queue class], work);
}

void dispatch_async(dispatch_queue_t queue, dispatch_block_t block) {
    dispatch_block_t const later = copied(block);
    if (queue == nil) {
        MainQueue::async([later] { later(); });
        return;
    }
    Work* const work = kept<Work*>(queue);
    const std::lock_guard lock(work->mutex);
    work->blocks.push_back(later);
    work->some.notify_one();
}

dispatch_time_t dispatch_time(dispatch_time_t, int64_t delta) {
    return static_cast<dispatch_time_t>(delta);
}

void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block) {
    dispatch_block_t const later = copied(block);
    std::thread([=] {
        std::this_thread::sleep_for(std::chrono::nanoseconds(when));
        dispatch_async(queue, later);
    }).detach();
}

dispatch_source_t dispatch_source_create(dispatch_source_type_t, uintptr_t signal, uintptr_t, dispatch_queue_t queue) {
    return keeping([Source class], SourceFacts { static_cast<int>(signal), (Queue*)queue });
}

void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler) {
    kept<SourceFacts>(source).handler = copied(handler);
}

// macOS's kernel tells sources of ignored signals, too; here somebody has to take the signal.
void dispatch_resume(NSObject* object) {
    const SourceFacts& facts = kept<SourceFacts>(object);
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        std::abort();
    }
    writingEnds.at(static_cast<std::size_t>(facts.signal)) = ends[1];
    const int reading = ends[0];
    const SourceFacts known = facts;
    std::thread([=] {
        char byte = 0;
        while (::read(reading, &byte, 1) == 1) {
            dispatch_async((dispatch_queue_t)known.queue, known.handler);
        }
    }).detach();
    std::signal(facts.signal, [](int number) {
        const char byte = 0;
        (void)!::write(writingEnds.at(static_cast<std::size_t>(number)), &byte, 1);
    });
}
