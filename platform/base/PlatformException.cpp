#include "platform/base/PlatformException.h"

#include <cstring>
#include <utility>

using namespace Qt::StringLiterals;

PlatformException::PlatformException(QString name, QString reason, QVariantMap userInfo)
    : name_(std::move(name)), reason_(std::move(reason)), userInfo_(std::move(userInfo)),
      what_(description().toUtf8()) {}

const char* PlatformException::what() const noexcept {
    return what_.constData();
}

PlatformException PlatformException::range(const QString& reason) {
    return {u"NSRangeException"_s, reason};
}

PlatformException PlatformException::invalidArgument(const QString& reason) {
    return {u"NSInvalidArgumentException"_s, reason};
}

PlatformException PlatformException::fileHandle(const QString& operation, int errorNumber) {
    return {u"NSFileHandleOperationException"_s,
            u"*** -[NSConcreteFileHandle %1]: %2"_s.arg(operation, QString::fromLocal8Bit(std::strerror(errorNumber)))};
}
