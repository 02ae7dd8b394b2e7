#include "config/ConfigRequest.h"
#include "config/QNConfig.h"
#include "config/QNConfigProvider.h"
#include "logging/QNLogger.h"
#include "platform/Console.h"
#include "platform/SystemExceptions.h"
#include "platform/UrlSession.h"
#include "platform/base/Format.h"
#include "platform/base/MainQueue.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "platform/base/PlatformException.h"
#include "platform/base/ProcessArguments.h"
#include "sysinfo/QNPortalProvider.h"
#include "sysinfo/QNSystemInfo.h"

using namespace Qt::StringLiterals;

namespace {

using platform::consoleLog;

constexpr const char* kFunction = "+[QNConfigProvider loadConfigWithCompletion:]";

std::optional<QString> addressOfThisRun() {
    const auto configured = QNConfigProvider::getConfigUrl();
    const QStringList& arguments = platform::processArguments();
    consoleLog(formatText("ARGS: %@", arguments));
    const auto overriding = ConfigRequest::overridingAddress(arguments);
    auto address = overriding ? overriding : configured;
    consoleLog(formatText("URL: %@", address));
    return address;
}

// A field without a value is left out of the request.
std::vector<std::pair<QString, QString>> headerFields() {
    std::vector<std::pair<QString, QString>> fields;
    const auto add = [&](const char* name, const std::optional<QString>& value) {
        if (value) {
            fields.emplace_back(QString::fromLatin1(name), *value);
        }
    };
    add("appName", QNConfigProvider::getStringFromPlist(u"AnalyticsProductName"_s));
    add("ci", QNPortalProvider::getCi());
    add("os", u"mac"_s);
    add("osVer", QNSystemInfo::getOSVersion());
    add("country", QNSystemInfo::getCountry());
    add("locale", QNSystemInfo::getLocale());
    return fields;
}

UrlRequest requestFor(const std::optional<QString>& address) {
    UrlRequest request;
    if (address) {
        request.address = Address::parse(*address);
    }
    request.headers = headerFields();
    QVariantMap shown;
    for (const auto& [name, value] : request.headers) {
        shown[name] = value;
    }
    consoleLog(formatText("GET request header %@", shown));
    return request;
}

// One request and the caller that waits for it.
class Fetch {
public:
    Fetch(std::optional<Address> address, QNConfigProvider::Completion completion)
        : address_(std::move(address)), completion_(std::move(completion)) {}

    // On the request's own thread.
    void takeAnswer(const std::optional<QByteArray>& body, const std::optional<TransportError>& error) const {
        if (error) {
            // A transport error is worth a DEBUG entry only: it is the caller who decides what it means.
            QNLogger::debug(formatText("Error loading config: %@ Error: %@", address_, *error), logContext(kFunction));
            finish(nullptr, error);
            return;
        }
        QNLogger::debug(u"Config successful"_s, logContext(kFunction));
        finish(acceptedModel(body.value_or(QByteArray())), std::nullopt);
    }

private:
    static std::shared_ptr<QNConfig> acceptedModel(const QByteArray& body) {
        const auto [model, failure] = ConfigRequest::read(body);
        if (!model) {
            consoleLog(formatText("Error is %@", failure));
            // The reason goes to the console only.
            QNLogger::error(formatText("Config parse error. Error: %@", std::optional<QString>()),
                            logContext(kFunction));
            return nullptr;
        }
        if (!ConfigRequest::hasUsableFormat(*model)) {
            QNLogger::error(
                formatText("Config parse error. Invalid file format specified for Mac: %@", model->latestMacURL()),
                logContext(kFunction));
            return nullptr;
        }
        // Before the caller hears of the model, and also without an address: that clears an earlier one.
        NotificationCenter::defaultCenter().post(
            kChangeAnalyticsUrl, model->analyticsURL() ? NotificationObject(*model->analyticsURL()) : std::monostate());
        return model;
    }

    void finish(std::shared_ptr<QNConfig> model, std::optional<TransportError> error) const {
        MainQueue::async([completion = completion_, model = std::move(model), error = std::move(error)] {
            completion(model, error);
        });
    }

    std::optional<Address> address_;
    QNConfigProvider::Completion completion_;
};

} // namespace

void QNConfigProvider::loadConfigWithCompletion(Completion completion) {
    if (!completion) {
        return;
    }
    UrlRequest request = requestFor(addressOfThisRun());
    const Fetch fetch(request.address, std::move(completion));
    const QString text = request.address ? request.address->text : QString();
    try {
        platform::translatingSystemExceptions([&] {
            UrlSession::dataTask(std::move(request), [fetch](const auto& body, const auto&, const auto& error) {
                fetch.takeAnswer(body, error);
            });
        });
    } catch (const PlatformException& exception) { // no thread to be had, which its user is to see as any other failure
        consoleLog(formatText("Nothing can be requested: %@", exception));
        fetch.takeAnswer(std::nullopt, TransportError{TransportError::kUnknown, text});
    }
}
