#include "sysinfo/Identifier.h"

#include "logging/QNLogger.h"
#include "platform/SystemExceptions.h"
#include "platform/base/Format.h"
#include "sysinfo/QNPortalProvider.h"

#include <QCryptographicHash>

namespace {

thread_local bool derivesNow = false;

class DerivationMark {
public:
    DerivationMark() : before_(derivesNow) { derivesNow = true; }
    ~DerivationMark() { derivesNow = before_; }
    DerivationMark(const DerivationMark&) = delete;
    DerivationMark& operator=(const DerivationMark&) = delete;

private:
    bool before_;
};

constexpr qsizetype kLength = 36;

} // namespace

namespace Identifier {

QString derived(const std::optional<QString>& address, const QString& home) {
    QByteArray seed = formatText("%@_%@", address, home).toUtf8();
    if (const auto zero = seed.indexOf('\0'); zero >= 0) {
        seed.truncate(zero);
    }
    QString text = hexadecimalString(QCryptographicHash::hash(seed, QCryptographicHash::Sha256)).left(kLength);
    for (const int dash : {8, 13, 18, 23}) {
        text[dash] = QLatin1Char('-');
    }
    text[14] = QLatin1Char('4');
    text[19] = QLatin1Char('8');
    return text;
}

std::optional<QString> attempt(const std::function<QString()>& derive, const char* file, int line) {
    const DerivationMark mark;
    try {
        QString derived;
        platform::translatingSystemExceptions([&] { derived = derive(); });
        return derived;
    } catch (const PlatformException& exception) {
        QNLogger::error(formatText("createCi threw an exception: %@", exception),
                        logContext("+[QNPortalProvider createCi]", file, line));
        return std::nullopt;
    }
}

bool isBeingDerived() {
    return derivesNow;
}

} // namespace Identifier
