#pragma once

#include <QString>
#include <QVariantMap>

#include <exception>

// The one exception type of the program. It is thrown where macOS would raise (a range that does not exist, a
// program that cannot be launched, a write that fails) and caught only where a guard is required; what nobody catches
// reaches the uncaught-exception handler.
//
// Threads: a value; may be thrown on any thread.
class PlatformException : public std::exception {
public:
    PlatformException(QString name, QString reason, QVariantMap userInfo = {});

    const QString& name() const { return name_; }
    const QString& reason() const { return reason_; }
    const QVariantMap& userInfo() const { return userInfo_; }

    // The reason, or the name when there is no reason: what `%@` shows of an exception.
    const QString& description() const { return reason_.isEmpty() ? name_ : reason_; }

    // UTF-8 of description().
    const char* what() const noexcept override;

    // NSRangeException: an index or range outside a text or a list.
    static PlatformException range(const QString& reason);
    // NSInvalidArgumentException: an absent value where one is needed, or a program that cannot be started.
    static PlatformException invalidArgument(const QString& reason);
    // NSFileHandleOperationException: seeking, reading, writing or closing failed. `operation` names the selector,
    // `errorNumber` is an errno value.
    static PlatformException fileHandle(const QString& operation, int errorNumber);

private:
    QString name_;
    QString reason_;
    QVariantMap userInfo_;
    QByteArray what_;
};
