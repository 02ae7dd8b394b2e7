#include "tests/e2e/InstallerRun.h"
#include "tests/platform/ManagedDisplay.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

// A socket that takes connections and never says a word, as that of a program which has been stopped.
class SilentSocket {
public:
    SilentSocket() : path_(test::folder() + u"/silent"_s) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray name = QFile::encodeName(path_);
        std::memcpy(address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));
        EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(socket_, 100), 0);
    }
    ~SilentSocket() { ::close(socket_); }
    SilentSocket(const SilentSocket&) = delete;
    SilentSocket& operator=(const SilentSocket&) = delete;

    const QString& path() const { return path_; }

private:
    int socket_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    QString path_;
};

struct Variable {
    const char* name;
    const char* prefix;
};

} // namespace

class SilentPeer : public testing::TestWithParam<Variable> {};

TEST_P(SilentPeer, KeepsNeitherTheWindowNorTheEndAway) {
    const SilentSocket silent;
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.setEnvironment(QString::fromUtf8(GetParam().name), QString::fromUtf8(GetParam().prefix) + silent.path());
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.exitStatus(), 0);
}

INSTANTIATE_TEST_SUITE_P(Variables, SilentPeer,
                         testing::Values(Variable{"DBUS_SESSION_BUS_ADDRESS", "unix:path="},
                                         Variable{"AT_SPI_BUS_ADDRESS", "unix:path="},
                                         Variable{"SESSION_MANAGER", "local/here:"}));

TEST(SilentBus, KeepsAnAddressOfTheSchemeNoLongerThanASecond) {
    const SilentSocket silent;
    InstallerRun run;
    run.setEnvironment(u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path="_s + silent.path());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(run.startAnother({u"--open-url"_s, u"qnd://crashInfo"_s}), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST(SilentBus, IsNoMatterOfTheProgramsThatAreStarted) {
    const SilentSocket silent;
    InstallerRun run;
    const QString address = u"unix:path="_s + silent.path();
    run.setEnvironment(u"DBUS_SESSION_BUS_ADDRESS"_s, address);
    run.setEnvironment(u"AT_SPI_BUS_ADDRESS"_s, address);
    run.putProgram(u"xdg-open"_s, "echo \"$DBUS_SESSION_BUS_ADDRESS $AT_SPI_BUS_ADDRESS\" >> \"$HOME/buses\"\n");
    run.expectConfiguration(run.linkDocument("autoOpen"));
    run.expectAnalytics();
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(QString::fromUtf8(test::readFile(run.folder() + u"/home/buses"_s)), address + u' ' + address + u'\n');
}

TEST(LostDisplay, EndsTheRunInOrder) {
    ManagedDisplay display;
    InstallerRun run;
    run.expectConfiguration(run.installDocument(u"/Kit.dmg"_s));
    run.portal().expect("GET /Kit.dmg", {.generated = 1048576, .cutAfter = 100000, .ending = loopback::Ending::kStall});
    run.expectAnalytics();
    run.start();
    const auto partialFiles = [&run] {
        return QDir(run.temporaryFolder()).entryList({u"CFNetworkDownload_*.tmp"_s}, QDir::Files).size();
    };
    ASSERT_TRUE(test::waitFor([&] { return partialFiles() == 1; }));
    display.stop();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.exitStatus(), 0);
    EXPECT_EQ(partialFiles(), 0);
    EXPECT_TRUE(run.account().contains(u"\"EVT\":\"End\""_s)) << run.account().toStdString();
}

TEST(BrokenPlugin, EndsWithStatusOneAndOneLine) {
    InstallerRun run;
    const QString plugins = run.folder() + u"/Product.app/Contents/PlugIns"_s;
    QFile::remove(plugins);
    test::writeFile(plugins + u"/platforms/libqxcb.so"_s, "no library at all");
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.exitStatus(), 1);
    EXPECT_EQ(run.console().count(u'\n'), 1) << run.console().toStdString();
    EXPECT_TRUE(run.console().contains(u"No window can be shown: "_s)) << run.console().toStdString();
}

TEST(SecondSignal, EndsARunThatWaitsForItsLastAnswer) {
    InstallerRun run;
    run.expectConfiguration(run.linkDocument("autoOpen"));
    run.portal().expect("POST /analytics", {.cutAfter = 0, .ending = loopback::Ending::kStall});
    run.start();
    ASSERT_TRUE(run.portal().waitForRequests(2));
    run.sendSignal(SIGTERM);
    run.sendSignal(SIGTERM);
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.exitStatus(), -1);
}
