#include "logging/QNAnalyticSender.h"

#include "config/QNConfigProvider.h"
#include "logging/QNLogger.h"
#include "logging/Timestamp.h"
#include "platform/Console.h"
#include "platform/UrlSession.h"
#include "platform/base/Format.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "sysinfo/QNPortalProvider.h"
#include "sysinfo/QNSystemInfo.h"
#include "sysinfo/Slot.h"
#include "ui/JSONText.h"

#include <memory>
#include <semaphore>

namespace {

constexpr const char* kSendFunction = "+[QNAnalyticSender send:url:]";

Slot<bool>& isSendSlot() {
    static Slot<bool> slot(true);
    return slot;
}

// The platform refuses a dictionary with an absent value; the bundle that lacks one is broken.
QVariant present(const QVariant& value, int index) {
    if (!value.isValid()) {
        throw PlatformException::invalidArgument(
            QStringLiteral("*** -[__NSPlaceholderDictionary initWithObjects:forKeys:count:]: attempt to insert nil "
                           "object from objects[%1]")
                .arg(index));
    }
    return value;
}

UrlRequest postRequest(const QString& body, const std::optional<Address>& url) {
    UrlRequest request;
    request.address = url;
    request.method = QStringLiteral("POST");
    request.headers = {{QStringLiteral("Content-Type"), QStringLiteral("application/x-www-form-urlencoded")}};
    request.body = body.toUtf8();
    return request;
}

// Signals when the callback is left in whatever way: the process ends only after that.
class SignalOnExit {
public:
    explicit SignalOnExit(std::binary_semaphore& semaphore) : semaphore_(semaphore) {}
    ~SignalOnExit() { semaphore_.release(); }
    SignalOnExit(const SignalOnExit&) = delete;
    SignalOnExit& operator=(const SignalOnExit&) = delete;

private:
    std::binary_semaphore& semaphore_;
};

template <typename Failure>
void tellFailure(const Failure& failure, const QString& consoleText) {
    platform::consoleLog(consoleText);
    QNLogger::error(format("Analytics send error %@", failure), logContext(kSendFunction));
}

} // namespace

QVariant eventValue(const std::optional<QString>& text) {
    return text ? QVariant(*text) : QVariant();
}

QVariantMap QNAnalyticSender::defaultData() {
    const QVariant version = QNConfigProvider::getPlist().value(QStringLiteral("CFBundleShortVersionString"));
    const QVariant product = eventValue(QNConfigProvider::getStringFromPlist(QStringLiteral("AnalyticsProductName")));
    return {
        {QStringLiteral("Ver"), present(version, 0)},       {QStringLiteral("APP"), present(product, 1)},
        {QStringLiteral("OS"), QStringLiteral("OS X")},     {QStringLiteral("OSVer"), QNSystemInfo::getOSVersion()},
        {QStringLiteral("CC"), QNSystemInfo::getCountry()}, {QStringLiteral("L"), QNSystemInfo::getLocale()},
    };
}

QString QNAnalyticSender::getMessage(const QString& eventName, const QVariantMap& data) {
    QVariantMap event = defaultData();
    for (auto entry = data.cbegin(); entry != data.cend(); ++entry) {
        if (entry.value().isValid())
            event[entry.key()] = entry.value();
    }
    event[QStringLiteral("EVT")] = eventName;
    const QString time = currentTimestamp();
    return format("%@ ci=%@ %@", time, QNPortalProvider::getCi(), jsonStringWithPrettyPrint(event, false));
}

void QNAnalyticSender::sendEvent(const QString& eventName, const QVariantMap& data) {
    const QString line = getMessage(eventName, data);
    NotificationCenter::defaultCenter().post(kLogAnalytics, line);
    QNLogger::logEvent(line, logContext("+[QNAnalyticSender sendEvent:withData:]"));
}

void QNAnalyticSender::sendEvent(const QString& eventName) {
    sendEvent(eventName, {});
}

void QNAnalyticSender::sendAll(const QStringList& lines, const std::optional<Address>& url) {
    if (!isSendSlot().value().value_or(true))
        return;
    send(lines.join(QStringLiteral("\r\n")), url);
}

void QNAnalyticSender::send(const QString& body, const std::optional<Address>& url) {
    try {
        // Shared: the thread that signals may still be inside the semaphore when the one that waits has gone on.
        const auto answered = std::make_shared<std::binary_semaphore>(0);
        UrlSession::dataTask(postRequest(body, url),
                             [answered](const auto& data, const auto&, const std::optional<TransportError>& error) {
                                 const SignalOnExit signal(*answered);
                                 if (!data && error)
                                     tellFailure(*error, error->text());
                             });
        answered->acquire();
        platform::consoleLog(format("ANALYTICS: %@", body));
    } catch (const PlatformException& exception) {
        tellFailure(exception, format("Analytics send error %@", exception));
    }
}

void QNAnalyticSender::setIsSend(bool isSend) {
    isSendSlot().store(isSend);
}
