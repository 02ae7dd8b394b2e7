#include "platform/AddressEvents.h"
#include "platform/BusAutostart.h"
#include "platform/base/MainQueue.h"
#include "platform/linux/SessionBus.h"
#include "tests/platform/ChildProcess.h"
#include "tests/platform/ProgramBundle.h"
#include "tests/support/TestEnvironment.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QFile>

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

using Clock = std::chrono::steady_clock;

const QString kIdentifier = u"com.ex-ample.events"_s;

// A real bus of the case's own, and this process as the running copy.
class AddressEvents : public testing::Test {
protected:
    void SetUp() override { test::setInfo(u"CFBundleIdentifier"_s, kIdentifier); }

    void startBus() {
        daemon_ = std::make_unique<ChildProcess>(
            std::vector<std::string>{"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address=1",
                                     "--address=unix:path=" + (test::folder() + u"/bus"_s).toStdString()});
        address_ = QString::fromStdString(daemon_->readLine());
        test::setEnvironment("DBUS_SESSION_BUS_ADDRESS", address_.toUtf8());
    }

    void listenForAddresses() {
        platform::setOpenAddressHandler([this](const QString& address) {
            EXPECT_TRUE(MainQueue::isMainThread());
            received_ += address;
        });
    }

    QDBusConnection connection() { return QDBusConnection::connectToBus(address_, u"test"_s); }

    bool hasPlaceOnBus() {
        return test::waitFor(
            [this] { return connection().interface()->isServiceRegistered(u"com.ex-ample.events"_s); });
    }

    // As the desktop does for an address; the status of that process.
    int openByDesktop(const QString& address) {
        ChildProcess forwarder({putIntoBundle(FORWARD_PROGRAM, u"Forward"_s, kIdentifier), address.toStdString()});
        return forwarder.finish();
    }

    QDBusMessage callApplication(const QString& method, const QVariantList& arguments) {
        QDBusMessage call = QDBusMessage::createMethodCall(u"com.ex-ample.events"_s, u"/com/ex_ample/events"_s,
                                                           u"org.freedesktop.Application"_s, method);
        call.setArguments(arguments);
        const QDBusPendingCall reply = connection().asyncCall(call);
        EXPECT_TRUE(test::waitFor([&reply] { return reply.isFinished(); }));
        return reply.reply();
    }

    std::unique_ptr<ChildProcess> daemon_;
    QString address_;
    QStringList received_;
};

// A socket that takes connections and never answers.
class SilentBus {
public:
    SilentBus() : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const QByteArray path = QFile::encodeName(test::folder() + u"/silent"_s);
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::strncpy(name.sun_path, path.constData(), sizeof name.sun_path - 1);
        EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
        EXPECT_EQ(::listen(socket_, 8), 0);
        test::setEnvironment("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
    }
    ~SilentBus() { ::close(socket_); }
    SilentBus(const SilentBus&) = delete;
    SilentBus& operator=(const SilentBus&) = delete;

private:
    int socket_;
};

std::chrono::milliseconds durationOf(const std::function<void()>& body) {
    const auto start = Clock::now();
    body();
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

const QString kAddress = u"qnd://crashInfo?a=%41&b=ü c"_s;

} // namespace

TEST_F(AddressEvents, ReachTheRunningCopyWithTheirOriginalText) {
    startBus();
    listenForAddresses();
    ASSERT_TRUE(hasPlaceOnBus());
    EXPECT_EQ(openByDesktop(kAddress), 0);
    EXPECT_TRUE(test::waitFor([this] { return !received_.isEmpty(); }));
    EXPECT_EQ(received_, QStringList(kAddress));
}

TEST_F(AddressEvents, AreHandedOverWithoutWaitingForABusyCopy) {
    startBus();
    listenForAddresses();
    ASSERT_TRUE(hasPlaceOnBus());
    // This thread turns no loop while the other process runs.
    EXPECT_LT(durationOf([this] { EXPECT_EQ(openByDesktop(kAddress), 0); }).count(), 900);
    EXPECT_TRUE(received_.isEmpty());
    EXPECT_TRUE(test::waitFor([this] { return received_.size() == 1; }));
}

TEST_F(AddressEvents, AreDroppedQuicklyWhenNoCopyRuns) {
    startBus();
    EXPECT_LT(durationOf([this] { EXPECT_EQ(openByDesktop(kAddress), 0); }).count(), 900);
}

TEST_F(AddressEvents, AreDroppedQuicklyWithoutABus) {
    EXPECT_EQ(platform::sessionBusAddress(), std::nullopt);
    EXPECT_LT(durationOf([this] {
                  listenForAddresses();
                  platform::forwardAddressToRunningCopy(kAddress);
              }).count(),
              100);
    test::setEnvironment("DBUS_SESSION_BUS_ADDRESS", "unix:path=/no/such/socket");
    EXPECT_LT(durationOf([] { platform::forwardAddressToRunningCopy(kAddress); }).count(), 900);
}

TEST_F(AddressEvents, HoldNobodyUpWhenTheBusIsSilent) {
    const SilentBus bus;
    EXPECT_LT(durationOf([this] { listenForAddresses(); }).count(), 100);
    const auto forwarding = durationOf([] { platform::forwardAddressToRunningCopy(kAddress); });
    EXPECT_GE(forwarding.count(), 900);
    EXPECT_LT(forwarding.count(), 3000);
    ::_exit(testing::Test::HasFailure() ? 1 : 0); // two threads still wait for the bus, as in the program at its end
}

TEST_F(AddressEvents, AreFoundAtTheSocketOfTheRuntimeFolderWhenNoAddressIsSet) {
    test::unsetEnvironment("DBUS_SESSION_BUS_ADDRESS");
    const QString socket = test::folder() + u"/runtime/bus"_s;
    EXPECT_EQ(platform::sessionBusAddress(), std::nullopt);
    test::writeFile(socket, "");
    EXPECT_EQ(platform::sessionBusAddress(), u"unix:path="_s + socket);
}

TEST(ToolkitsBus, IsNoneWithoutABusOfTheSession) {
    test::unsetEnvironment("DBUS_SESSION_BUS_ADDRESS");
    platform::keepQtFromStartingABus();
    EXPECT_EQ(qgetenv("DBUS_SESSION_BUS_ADDRESS"), "none:");
    EXPECT_EQ(platform::sessionBusAddress(), std::nullopt);
    EXPECT_FALSE(QDBusConnection::sessionBus().isConnected());
}

TEST_F(AddressEvents, LeaveQtTheBusOfTheSession) {
    startBus();
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    platform::keepQtFromStartingABus();
    EXPECT_EQ(qgetenv("DBUS_SESSION_BUS_ADDRESS"), address);
    EXPECT_FALSE(qEnvironmentVariableIsSet("AT_SPI_BUS_ADDRESS"));
    EXPECT_TRUE(QDBusConnection::sessionBus().isConnected());
}

TEST(ToolkitsBus, IsNoneWhereNobodyListensOrAnswers) {
    const SilentBus bus;
    const QString silent = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    for (const QString& address : {u"unix:path=/no/such/socket"_s, silent, silent + u",guid=0123"_s}) {
        test::setEnvironment("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
        platform::keepQtFromStartingABus();
        EXPECT_EQ(qgetenv("DBUS_SESSION_BUS_ADDRESS"), "none:") << address.toStdString();
        EXPECT_EQ(qgetenv("AT_SPI_BUS_ADDRESS"), "none:") << address.toStdString();
    }
}

TEST_F(AddressEvents, ComeOneForEachAddressOfACall) {
    startBus();
    listenForAddresses();
    ASSERT_TRUE(hasPlaceOnBus());
    const QDBusMessage reply = callApplication(
        u"Open"_s, {QStringList{u"a:1"_s, u"b:2"_s}, QVariantMap{{u"desktop-startup-id"_s, QString()}}});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage);
    EXPECT_TRUE(test::waitFor([this] { return received_.size() == 2; }));
    EXPECT_EQ(received_, QStringList({u"a:1"_s, u"b:2"_s}));
}

TEST_F(AddressEvents, RefuseCallsThatTheInterfaceDoesNotKnow) {
    startBus();
    listenForAddresses();
    ASSERT_TRUE(hasPlaceOnBus());
    for (const QDBusMessage& reply : {callApplication(u"Open"_s, {u"no list"_s}), callApplication(u"Open"_s, {}),
                                      callApplication(u"Close"_s, {QVariantMap()})}) {
        EXPECT_EQ(reply.type(), QDBusMessage::ErrorMessage);
    }
    EXPECT_EQ(callApplication(u"Activate"_s, {QVariantMap()}).type(), QDBusMessage::ReplyMessage);
    EXPECT_TRUE(received_.isEmpty());
}
