#include "logging/QNAnalyticSender.h"

#include "config/QNConfigProvider.h"
#include "logging/JSONText.h"
#include "logging/QNLogger.h"
#include "logging/Timestamp.h"
#include "platform/Console.h"
#include "platform/SystemExceptions.h"
#include "platform/UrlSession.h"
#include "platform/base/Format.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "platform/base/Slot.h"
#include "sysinfo/QNPortalProvider.h"
#include "sysinfo/QNSystemInfo.h"

#include <memory>
#include <semaphore>

using namespace Qt::StringLiterals;

namespace {

constexpr const char* kSendFunction = "+[QNAnalyticSender send:url:]";

Slot<bool>& isSendSlot() {
    static Slot<bool> slot(true);
    return slot;
}

// macOS refuses a dictionary with an absent value; the bundle that lacks one is broken.
QVariant present(const QVariant& value, int index) {
    if (!value.isValid()) {
        throw PlatformException::invalidArgument(
            u"*** -[__NSPlaceholderDictionary initWithObjects:forKeys:count:]: attempt to insert nil "
            "object from objects[%1]"_s.arg(index));
    }
    return value;
}

UrlRequest postRequest(const QString& body, const std::optional<Address>& url) {
    UrlRequest request;
    request.address = url;
    request.method = u"POST"_s;
    request.headers = {{u"Content-Type"_s, u"application/x-www-form-urlencoded"_s}};
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
    QNLogger::error(formatText("Analytics send error %@", failure), logContext(kSendFunction));
}

void sendAndWait(const QString& body, const std::optional<Address>& url) {
    // Shared: the thread that signals may still be inside the semaphore when the one that waits has gone on.
    const auto answered = std::make_shared<std::binary_semaphore>(0);
    UrlSession::dataTask(postRequest(body, url),
                         [answered](const auto& data, const auto&, const std::optional<TransportError>& error) {
                             const SignalOnExit signal(*answered);
                             if (!data && error) {
                                 tellFailure(*error, error->text());
                             }
                         });
    answered->acquire();
    platform::consoleLog(formatText("ANALYTICS: %@", body));
}

} // namespace

QVariant eventValue(const std::optional<QString>& text) {
    return text ? QVariant(*text) : QVariant();
}

QVariantMap QNAnalyticSender::defaultData() {
    const QVariant version = QNConfigProvider::getPlist().value(u"CFBundleShortVersionString"_s);
    const QVariant product = eventValue(QNConfigProvider::getStringFromPlist(u"AnalyticsProductName"_s));
    return {
        {u"Ver"_s, present(version, 0)},
        {u"APP"_s, present(product, 1)},
        {u"OS"_s, u"OS X"_s},
        {u"OSVer"_s, QNSystemInfo::getOSVersion()},
        {u"CC"_s, QNSystemInfo::getCountry()},
        {u"L"_s, QNSystemInfo::getLocale()},
    };
}

QString QNAnalyticSender::getMessage(const QString& eventName, const QVariantMap& data) {
    QVariantMap event = defaultData();
    for (auto entry = data.cbegin(); entry != data.cend(); ++entry) {
        if (entry.value().isValid()) {
            event[entry.key()] = entry.value();
        }
    }
    event[u"EVT"_s] = eventName;
    const QString time = currentTimestamp();
    return formatText("%@ ci=%@ %@", time, QNPortalProvider::getCi(), jsonStringWithPrettyPrint(event, false));
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
    if (!isSendSlot().value().value_or(true)) {
        return;
    }
    send(lines.join(u"\r\n"_s), url);
}

void QNAnalyticSender::send(const QString& body, const std::optional<Address>& url) {
    try {
        platform::translatingSystemExceptions([&] { sendAndWait(body, url); });
    } catch (const PlatformException& exception) {
        tellFailure(exception, formatText("Analytics send error %@", exception));
    }
}

void QNAnalyticSender::setIsSend(bool isSend) {
    isSendSlot().store(isSend);
}
