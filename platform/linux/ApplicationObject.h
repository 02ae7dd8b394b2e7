#pragma once

#include <QDBusVirtualObject>
#include <QString>

#include <functional>

// This program as org.freedesktop.Application (Desktop Entry standard, "D-Bus activation"): Activate brings its
// windows to the front, Open hands each address to the handler. Both happen on the main thread's queue and are answered
// at once. ActivateAction does nothing: the program has no actions.
//
// Threads: made on the main thread, which also receives the calls.
class ApplicationObject : public QDBusVirtualObject {
public:
    explicit ApplicationObject(std::function<void(const QString&)> openAddress);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    std::function<void(const QString&)> openAddress_;
};
