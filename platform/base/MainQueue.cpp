#include "platform/base/MainQueue.h"

#include "platform/base/UncaughtException.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace {

// Lives on the main thread; an event wakes the loop, which then takes one piece of work. Whatever exception leaves the
// work goes through the application's notify(), as any other event's does.
class Receiver : public QObject {
public:
    bool event(QEvent* event) override;
};

struct Queue {
    std::mutex mutex;
    std::deque<std::function<void()>> work;
    Receiver* receiver = nullptr;
    std::thread::id mainThread;
    bool isWoken = false; // an event is on its way
    bool running = false; // main thread only
};

Queue& queue() {
    // Never destroyed: threads may still hand work over while the process ends.
    static auto* const instance = new Queue;
    return *instance;
}

// Under the lock, when there is work.
void wake(Queue& own) {
    if (own.receiver && !std::exchange(own.isWoken, true)) {
        QCoreApplication::postEvent(own.receiver, new QEvent(QEvent::User));
    }
}

std::function<void()> takeFirst(Queue& from) {
    const std::lock_guard lock(from.mutex);
    if (from.work.empty()) {
        return nullptr;
    }
    std::function<void()> first = std::move(from.work.front());
    from.work.pop_front();
    return first;
}

void endWork(Queue& own) {
    own.running = false;
    const std::lock_guard lock(own.mutex);
    if (!own.work.empty()) {
        wake(own);
    }
}

bool Receiver::event(QEvent* event) {
    Queue& own = queue();
    // The event was posted under this lock. Qt's own locks order the two threads as well, but thread checkers
    // do not see those.
    std::unique_lock lock(own.mutex);
    if (event->type() != QEvent::User) {
        lock.unlock();
        return QObject::event(event);
    }
    own.isWoken = false;
    lock.unlock();
    if (own.running) { // a nested loop turns inside running work: this piece waits for its end
        return true;
    }
    own.running = true;
    const std::function<void()> work = takeFirst(own);
    try {
        if (work) {
            platform::reportingUncaughtExceptions(work);
        }
    } catch (...) {
        endWork(own);
        throw;
    }
    endWork(own);
    return true;
}

} // namespace

namespace MainQueue {

void attachToMainThread() {
    Queue& own = queue();
    const std::lock_guard lock(own.mutex);
    own.mainThread = std::this_thread::get_id();
    own.receiver = new Receiver;
    if (!own.work.empty()) {
        wake(own);
    }
}

void async(std::function<void()> work) {
    Queue& own = queue();
    const std::lock_guard lock(own.mutex);
    own.work.push_back(std::move(work));
    wake(own);
}

bool isMainThread() {
    Queue& own = queue();
    const std::lock_guard lock(own.mutex);
    return own.mainThread == std::this_thread::get_id();
}

} // namespace MainQueue
