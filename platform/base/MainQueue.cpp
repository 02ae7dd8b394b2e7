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
    bool running = false; // main thread only
};

Queue& queue() {
    // Never destroyed: threads may still hand work over while the process ends.
    static auto* const instance = new Queue;
    return *instance;
}

void wake(Receiver* receiver) {
    QCoreApplication::postEvent(receiver, new QEvent(QEvent::User));
}

std::function<void()> takeFirst(Queue& from) {
    const std::lock_guard lock(from.mutex);
    if (from.work.empty())
        return nullptr;
    std::function<void()> first = std::move(from.work.front());
    from.work.pop_front();
    return first;
}

bool Receiver::event(QEvent* event) {
    if (event->type() != QEvent::User)
        return QObject::event(event);
    Queue& own = queue();
    if (own.running) // a nested loop turns inside running work: this piece waits for its end
        return true;
    own.running = true;
    const std::function<void()> work = takeFirst(own);
    try {
        if (work)
            platform::reportingUncaughtExceptions(work);
    } catch (...) {
        own.running = false;
        throw;
    }
    own.running = false;
    const std::lock_guard lock(own.mutex);
    if (!own.work.empty())
        wake(this);
    return true;
}

} // namespace

namespace MainQueue {

void attachToMainThread() {
    Queue& own = queue();
    const std::lock_guard lock(own.mutex);
    own.mainThread = std::this_thread::get_id();
    own.receiver = new Receiver;
    if (!own.work.empty())
        wake(own.receiver);
}

void async(std::function<void()> work) {
    Queue& own = queue();
    const std::lock_guard lock(own.mutex);
    own.work.push_back(std::move(work));
    if (own.receiver)
        wake(own.receiver);
}

bool isMainThread() {
    Queue& own = queue();
    const std::lock_guard lock(own.mutex);
    return own.mainThread == std::this_thread::get_id();
}

} // namespace MainQueue
