#include "platform/base/MainQueue.h"

#include "platform/base/UncaughtException.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <atomic>
#include <list>
#include <memory>
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

// Nothing is allocated under the lock: whoever runs out of memory goes to the crash handler from where that was
// noticed, and the handler needs the queue.
struct Queue {
    std::mutex mutex;
    std::list<std::function<void()>> work;
    Receiver* receiver = nullptr;
    std::atomic<std::thread::id> mainThread;
    bool isWoken = false; // an event is on its way
    bool running = false; // main thread only
};

Queue& queue() {
    // Never destroyed: threads may still hand work over while the process ends.
    static auto* const instance = new Queue;
    return *instance;
}

using Alarm = std::unique_ptr<QEvent>;

Alarm newAlarm() {
    return std::make_unique<QEvent>(QEvent::User);
}

// Under the lock, when there is work.
void wake(Queue& own, Alarm alarm) {
    if (own.receiver && !std::exchange(own.isWoken, true)) {
        QCoreApplication::postEvent(own.receiver, alarm.release());
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
    Alarm alarm = newAlarm();
    const std::lock_guard lock(own.mutex);
    if (!own.work.empty()) {
        wake(own, std::move(alarm));
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
    auto receiver = std::make_unique<Receiver>();
    Alarm alarm = newAlarm();
    const std::lock_guard lock(own.mutex);
    own.mainThread = std::this_thread::get_id();
    own.receiver = receiver.release();
    if (!own.work.empty()) {
        wake(own, std::move(alarm));
    }
}

void async(std::function<void()> work) {
    Queue& own = queue();
    std::list<std::function<void()>> piece;
    piece.push_back(std::move(work));
    Alarm alarm = newAlarm();
    const std::lock_guard lock(own.mutex);
    own.work.splice(own.work.end(), piece);
    wake(own, std::move(alarm));
}

bool isMainThread() {
    return queue().mainThread == std::this_thread::get_id();
}

} // namespace MainQueue
