#include "platform/base/NotificationCenter.h"

#include "platform/base/Format.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace {

QString describeObject(const NotificationObject& object) {
    if (const auto* text = std::get_if<QString>(&object)) {
        return *text;
    }
    if (const auto* dictionary = std::get_if<QVariantMap>(&object)) {
        return describe(*dictionary);
    }
    if (const auto* sender = std::get_if<const void*>(&object)) {
        return u"<0x%1>"_s.arg(reinterpret_cast<quintptr>(*sender), 0, 16);
    }
    return u"(null)"_s;
}

} // namespace

QString describe(const Notification& notification) {
    return formatText("NSConcreteNotification {name = %@; object = %@}", notification.name,
                      describeObject(notification.object));
}

NotificationCenter& NotificationCenter::defaultCenter() {
    // Never destroyed: threads may still post while the process ends.
    static auto* const center = new NotificationCenter; // NOLINT(cppcoreguidelines-owning-memory)
    return *center;
}

void NotificationCenter::addObserver(const QString& name, Observer observer, const void* sender) {
    const std::lock_guard lock(mutex_);
    registrations_.push_back({name, sender, std::move(observer)});
}

void NotificationCenter::post(const QString& name, const NotificationObject& object, const QVariantMap& userInfo) {
    const auto* const pointer = std::get_if<const void*>(&object);
    std::vector<Observer> observers;
    {
        const std::lock_guard lock(mutex_);
        for (const Registration& registration : registrations_) {
            if (registration.name == name && (!registration.sender || (pointer && *pointer == registration.sender))) {
                observers.push_back(registration.observer);
            }
        }
    }
    const Notification notification{name, object, userInfo};
    for (const Observer& observer : observers) {
        observer(notification);
    }
}
