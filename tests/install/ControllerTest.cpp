#include "tests/install/ControllerTest.h"

#include "config/QNConfig.h"
#include "install/BlockingWait.h"
#include "install/QNMainController.h"
#include "platform/Termination.h"
#include "tests/support/TestEnvironment.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

const QByteArray kRouteHeader = "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\n";

std::function<void()>& expectationsAtEnd() {
    static std::function<void()> expectations;
    return expectations;
}

void endCase() {
    expectationsAtEnd()();
    std::fflush(nullptr);
    std::_Exit(testing::Test::HasFailure() ? 1 : 0);
}

void unexpectedEnd() {
    ADD_FAILURE() << "the program asked to be terminated";
    std::fflush(nullptr);
    std::_Exit(1);
}

void doNotWait(std::chrono::milliseconds) {}

} // namespace

ControllerTest::ControllerTest() {
    goOffline();
    test::setInfo(u"QNEnv"_s, u"dev1"_s);
    test::setSetting(u"kAPP_NAME"_s, u"Kit"_s);
    test::setSetting(u"DEV1_URL"_s, u"http://127.0.0.1:1/config.json"_s);
    test::setSetting(u"kQNApplicationDataPathDev1"_s, u"/Data"_s);
    test::writeFile(test::folder() + u"/bin/xdg-open"_s, "#!/bin/sh\necho \"$1\" >> \"$HOME/opened\"\n");
    QFile::setPermissions(test::folder() + u"/bin/xdg-open"_s, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    test::setEnvironment("PATH", (test::folder() + u"/bin:"_s + qEnvironmentVariable("PATH")).toUtf8());
    setBlockingWait(doNotWait);
    platform::setTerminateFunction(unexpectedEnd);
}

ControllerTest::~ControllerTest() = default;

void ControllerTest::goOnline() {
    test::putSystemFile(u"/proc/net/route"_s, kRouteHeader + "eth0\t00000000\t0100000A\t0003\t0\t0\t0\t00000000\n");
}

void ControllerTest::goOffline() {
    test::putSystemFile(u"/proc/net/route"_s, kRouteHeader);
    test::putSystemFile(u"/proc/net/ipv6_route"_s, "");
}

QNMainController& ControllerTest::controller() {
    if (!controller_) {
        controller_ = std::make_unique<QNMainController>(u"QNMainController"_s);
        firstMessage_ = test::eventLog().size();
    }
    return *controller_;
}

std::shared_ptr<QNConfig> ControllerTest::installConfig(const QVariantMap& changes) {
    QVariantMap software{{u"IsActive"_s, u"1"_s},
                         {u"macUrl"_s, u"http://127.0.0.1:1/Kit.dmg"_s},
                         {u"appName"_s, u"Kit Studio"_s},
                         {u"commandLineArgs"_s, u"--a --b"_s}};
    software.insert(changes);
    return std::make_shared<QNConfig>(
        QVariantMap{{u"userAction"_s, QVariantList{QVariantMap{{u"action"_s, u"install"_s}, {u"isActive"_s, u"1"_s}}}},
                    {u"software"_s, QVariantList{software}}});
}

std::shared_ptr<QNConfig> ControllerTest::linkConfig(const QString& actionUrl, const QString& customParam) {
    return std::make_shared<QNConfig>(
        QVariantMap{{u"userAction"_s, QVariantList{QVariantMap{{u"action"_s, u"openLink"_s},
                                                               {u"isActive"_s, u"1"_s},
                                                               {u"actionUrl"_s, actionUrl},
                                                               {u"customParam"_s, customParam}}}}});
}

QStringList ControllerTest::messages() const {
    QStringList messages;
    for (const QString& message : test::eventLogMessages().mid(firstMessage_)) {
        const QString event = QJsonDocument::fromJson(message.toUtf8()).object().value(u"EVT"_s).toString();
        messages += event.isEmpty() ? message : u"event "_s + event;
    }
    return messages;
}

QList<QVariantMap> ControllerTest::events() const {
    QList<QVariantMap> events;
    for (const QString& message : test::eventLogMessages().mid(firstMessage_)) {
        QVariantMap event = QJsonDocument::fromJson(message.toUtf8()).object().toVariantMap();
        if (!event.contains(u"EVT"_s)) {
            continue;
        }
        for (const QString& key : {u"Ver"_s, u"APP"_s, u"OS"_s, u"OSVer"_s, u"CC"_s, u"L"_s}) {
            event.remove(key);
        }
        if (event.contains(u"T"_s)) {
            event.insert(u"T"_s, event.value(u"T"_s).toDouble() >= 0 ? u"seconds"_s : u"negative"_s);
        }
        events += event;
    }
    return events;
}

void ControllerTest::fakeDiskImageTool(const QByteArray& script) {
    test::putSystemTool(u"/usr/bin/hdiutil"_s, "#!/bin/sh\n" + script);
}

QStringList ControllerTest::openedAddresses() {
    const QString path = test::home() + u"/opened"_s;
    test::waitFor([&] { return QFile::exists(path); }, std::chrono::seconds(5));
    return QString::fromUtf8(test::readFile(path)).split(u'\n', Qt::SkipEmptyParts);
}

void ControllerTest::whenTerminated(std::function<void()> expectations) {
    expectationsAtEnd() = std::move(expectations);
    platform::setTerminateFunction(endCase);
}
