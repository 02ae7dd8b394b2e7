#pragma once

#include <QString>
#include <QVariantMap>

#include <functional>
#include <mutex>
#include <variant>
#include <vector>

// What a notification carries: nothing, a text, a dictionary, or the sender as a pointer.
using NotificationObject = std::variant<std::monostate, QString, QVariantMap, const void*>;

struct Notification {
    QString name;
    NotificationObject object;
    QVariantMap userInfo;
};

// "NSConcreteNotification {name = …; object = …}": what `%@` shows of a notification.
QString describe(const Notification& notification);

// Hands notifications to observers: synchronously, on the posting thread, in the order of registration; a post returns
// after the last observer. An observer added twice is called twice. One that is added during a post is not called for
// it. An exception in an observer stops the rest and reaches the poster.
//
// Threads: any. Observers are never removed: they live as long as the process.
class NotificationCenter {
public:
    using Observer = std::function<void(const Notification&)>;

    static NotificationCenter& defaultCenter();

    // `sender` nullptr: from any sender. Otherwise only posts whose object is that very pointer.
    void addObserver(const QString& name, Observer observer, const void* sender = nullptr);
    void post(const QString& name, const NotificationObject& object = {}, const QVariantMap& userInfo = {});

private:
    struct Registration {
        QString name;
        const void* sender;
        Observer observer;
    };

    std::mutex mutex_;
    std::vector<Registration> registrations_;
};
