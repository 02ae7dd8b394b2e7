#pragma once

#include "config/QNConfig.h"
#include "config/QNConfigProvider.h"
#include "platform/base/MainQueue.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "platform/base/ProcessArguments.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

using namespace Qt::StringLiterals;

// Requests for the configuration against a loopback server that stands in the production setting.

inline const char* const kInstall =
    R"({"analyticsUrl":"https://h/collect","userAction":[{"action":"install","isActive":"1"}],
                                 "software":[{"IsActive":"1","macUrl":"https://h/a.dmg"}]})";

// What the callback got.
struct Outcome {
    int calls = 0;
    bool onMainThread = false;
    std::shared_ptr<QNConfig> model;
    std::optional<TransportError> error;
};

// One text for each "CHANGE_ANALYTICS_URL".
class AnalyticsAddresses {
public:
    AnalyticsAddresses() {
        NotificationCenter::defaultCenter().addObserver(kChangeAnalyticsUrl, [this](const Notification& notification) {
            const std::lock_guard lock(mutex_);
            const auto* text = std::get_if<QString>(&notification.object);
            seen_ += text ? *text : u"absent"_s;
            onMainThread_ = MainQueue::isMainThread();
        });
    }
    QStringList seen() const {
        const std::lock_guard lock(mutex_);
        return seen_;
    }
    bool onMainThread() const { return onMainThread_; }

private:
    mutable std::mutex mutex_;
    QStringList seen_;
    std::atomic<bool> onMainThread_ = false;
};

class ConfigFetch : public testing::Test {
protected:
    ConfigFetch() {
        test::putSystemTool(u"/sbin/ifconfig"_s, "#!/bin/sh\necho '\tether a4:83:e7:12:34:56'\n");
        test::putSystemFile(u"/etc/os-release"_s, "VERSION_ID=\"14.2.1\"\n");
        test::setEnvironment("LANG", "de_AT.UTF-8");
        test::setSetting(u"AnalyticsProductName"_s, u"SampleProduct"_s);
        setArguments({});
        configure(server.address("/config.json"));
    }

    static void setArguments(const QStringList& arguments) {
        platform::setProcessArguments(QStringList{u"/Program"_s} + arguments);
    }
    static void configure(const std::string& address) {
        test::setSetting(u"PRODUCTION_URL"_s, QString::fromStdString(address));
    }

    // Runs one request to its callback, and the queue once more: a second call would be seen.
    static Outcome fetch() {
        Outcome outcome;
        QNConfigProvider::loadConfigWithCompletion(
            [&](std::shared_ptr<QNConfig> model, std::optional<TransportError> error) {
                outcome = {outcome.calls + 1, MainQueue::isMainThread(), std::move(model), std::move(error)};
            });
        EXPECT_TRUE(test::waitFor([&] { return outcome.calls > 0; }));
        bool turned = false;
        MainQueue::async([&] { turned = true; });
        EXPECT_TRUE(test::waitFor([&] { return turned; }));
        EXPECT_EQ(outcome.calls, 1);
        EXPECT_TRUE(outcome.onMainThread);
        return outcome;
    }
    Outcome fetchAnswered(const std::string& body, int status = 200) {
        server.expect("GET /config.json", loopback::replyWithStatus(status, body));
        return fetch();
    }

    loopback::LoopbackServer server;
    AnalyticsAddresses addresses;
};

// The level word of each entry.
inline QStringList levels() {
    QStringList words;
    for (const QString& line : test::eventLog()) {
        words += line.section(u"\"trace\": \""_s, 1).section(QLatin1Char('"'), 0, 0);
    }
    return words;
}
