// What platform/macos makes of the answers of macOS, of which no case of tests/platform knows.
#include "Facts.h"
#include "platform/AddressEvents.h"
#include "platform/Bundle.h"
#include "platform/Display.h"
#include "platform/Folders.h"
#include "platform/Machine.h"
#include "platform/Reachability.h"
#include "platform/RealPath.h"
#include "platform/RunningApplications.h"
#include "platform/ScreenReader.h"
#include "platform/SystemExceptions.h"
#include "platform/Task.h"
#include "platform/UrlSession.h"
#include "platform/UserLocale.h"
#include "platform/Volumes.h"
#include "platform/WindowSystem.h"
#include "platform/Workspace.h"
#include "platform/base/UncaughtException.h"
#include "tests/platform/TransferOutcome.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestEnvironment.h"

#include <QAccessibleWidget>
#include <QFile>

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <thread>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

constexpr std::uint32_t kReachable = 1 << 1;
constexpr std::uint32_t kConnectionRequired = 1 << 2;
constexpr std::uint32_t kTransientConnection = 1 << 0;

// Which process each of them is shows when they are brought forward.
std::vector<int> pidsOf(const QString& identifier) {
    facts().activated.clear();
    for (const RunningApplication& application : RunningApplication::withBundleIdentifier(identifier)) {
        application.activateAllWindows();
    }
    return facts().activated;
}

void sayWhatArrives(const PlatformException& exception) {
    std::fprintf(stderr, "%s: %s, %s\n", exception.name().toUtf8().constData(), exception.reason().toUtf8().constData(),
                 exception.userInfo().value(u"Key"_s).toString().toUtf8().constData());
    std::_Exit(0);
}

} // namespace

TEST(DefaultRoute, IsReachableWithTheFlagAndWithoutAConnectionToBeMadeFirst) {
    const std::vector<std::pair<std::uint32_t, bool>> table = {
        {0, false},
        {kReachable, true},
        {kConnectionRequired, false},
        {kReachable | kConnectionRequired, false},
        {kReachable | kTransientConnection, true},
    };
    for (const auto& [flags, expected] : table) {
        facts().reachability = flags;
        EXPECT_EQ(platform::defaultRouteIsReachable(), expected) << flags;
    }
}

TEST(DefaultRoute, IsNotReachableWhenTheSystemCannotTell) {
    facts().reachability.reset();
    EXPECT_FALSE(platform::defaultRouteIsReachable());
    facts().reachability = kReachable;
    facts().makesReachability = false;
    EXPECT_FALSE(platform::defaultRouteIsReachable());
}

TEST(Folders, AreThoseOfTheSystem) {
    facts().homeFolder = u"/Users/jürgen/"_s;
    facts().userName = u"jürgen"_s;
    EXPECT_EQ(platform::homeDirectory(), u"/Users/jürgen/"_s);
    EXPECT_EQ(platform::userName(), u"jürgen"_s);
}

TEST(TemporaryDirectory, IsTheSystemsWithoutItsSlash) {
    EXPECT_EQ(platform::temporaryDirectory(), test::folder() + u"/tmp"_s);
    EXPECT_EQ(platform::existingTemporaryDirectory(), test::folder() + u"/tmp"_s);
}

TEST(TemporaryDirectory, IsRefusedWhenOthersCanReachItOrItIsNoFolder) {
    const QString folder = test::folder() + u"/open"_s;
    ASSERT_EQ(::mkdir(QFile::encodeName(folder).constData(), 0755), 0);
    const QString file = test::folder() + u"/file"_s;
    test::writeFile(file, "");
    ASSERT_TRUE(QFile::link(test::folder() + u"/tmp"_s, test::folder() + u"/link"_s));
    for (const QString& path : {folder, file, test::folder() + u"/link"_s, test::folder() + u"/none"_s}) {
        facts().temporaryFolder = path + u'/';
        std::optional<QString> answer;
        const QStringList lines = test::consoleLinesOf([&answer] { answer = platform::temporaryDirectory(); });
        EXPECT_EQ(answer, std::nullopt) << path.toStdString();
        EXPECT_EQ(lines, QStringList(u"The temporary folder "_s + path + u" is not this user's own"_s));
    }
}

TEST(RunningApplications, AreTheNewestFirstAndThoseWithoutADateLast) {
    const QString ours = u"com.example.a"_s;
    facts().applications = {{11, ours, 100.0},
                            {12, ours, std::nullopt},
                            {13, ours, 300.0},
                            {14, u"com.example.b"_s, 400.0},
                            {15, ours, 200.0}};
    EXPECT_THAT(pidsOf(ours), ElementsAre(13, 15, 11, 12));
    EXPECT_THAT(pidsOf(u"com.example.none"_s), testing::IsEmpty());
}

TEST(RunningApplications, AreAskedAnewWhetherTheyAreActiveAndBroughtForwardWithAllWindows) {
    facts().applications = {{11, u"a"_s, 100.0, true}};
    const RunningApplication application(11, false);
    EXPECT_TRUE(application.isActive());
    facts().applications[0].isActive = false;
    EXPECT_FALSE(application.isActive());
    application.activateAllWindows();
    EXPECT_THAT(facts().activated, ElementsAre(11));
    EXPECT_FALSE(RunningApplication(12, false).isActive());
}

TEST(AddressEvents, ArriveAlthoughSomebodyElseTakesThemAtTheLaunch) {
    QStringList arrived;
    platform::setOpenAddressHandler([&arrived](const QString& address) { arrived.append(address); });
    takeAddressesElsewhere();
    postLaunchNotification(false);
    deliverAddress(u"qnd://CrashInfo/Ä"_s);
    takeAddressesElsewhere(); // by one who is told of the launch later than we are
    deliverAddress(u"qnd://lost"_s);
    EXPECT_TRUE(test::waitFor([&arrived] {
        deliverAddress(u"qnd://again"_s);
        return arrived.size() > 1;
    }));
    takeAddressesElsewhere();
    postLaunchNotification(true);
    deliverAddress(u"qnd://last"_s);
    EXPECT_EQ(arrived, QStringList({u"qnd://CrashInfo/Ä"_s, u"qnd://again"_s, u"qnd://last"_s}));
}

TEST(SystemExceptions, GoOnAsOursWithNameReasonAndUserInfo) {
    try {
        platform::translatingSystemExceptions(raiseSystemException);
        FAIL() << "nothing was raised";
    } catch (const PlatformException& exception) {
        EXPECT_EQ(exception.name(), u"NSRangeException"_s);
        EXPECT_EQ(exception.reason(), u"index 7 beyond bounds"_s);
        EXPECT_EQ(exception.userInfo(), QVariantMap({{u"Key"_s, u"välue"_s}}));
    }
}

TEST(SystemExceptions, LetOthersPass) {
    EXPECT_THROW(platform::translatingSystemExceptions([] { throw std::runtime_error("x"); }), std::runtime_error);
    EXPECT_THROW(platform::translatingSystemExceptions([] { throw PlatformException::range(u"x"_s); }),
                 PlatformException);
}

TEST(SystemExceptions, ThatNobodyCatchesReachTheHandler) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            platform::setUncaughtExceptionHandler(sayWhatArrives);
            platform::reportUncaughtSystemExceptions();
            std::thread(raiseSystemException).join();
        },
        testing::ExitedWithCode(0), "^NSRangeException: index 7 beyond bounds, v\xc3\xa4lue\n$");
}

TEST(UrlSessionData, ACompletionThatDoesNotReturnKeepsNoOtherFromItsAnswer) {
    loopback::LoopbackServer server;
    server.serve("GET /a", loopback::replyWith("answer"));
    std::atomic<bool> isParked = false;
    UrlSession::dataTask(test::getRequest(server.address("/a")), [&isParked](auto&&...) {
        isParked = true;
        std::this_thread::sleep_for(std::chrono::hours(1));
    });
    EXPECT_TRUE(test::waitFor([&isParked] { return isParked.load(); }));
    EXPECT_EQ(test::fetch(server.address("/a")).data, QByteArray("answer"));
}

TEST(Task, CountsAChildThatSomebodyElseHasCollectedAsNoSuccess) {
    Task task;
    task.setLaunchPath(u"/bin/true"_s);
    task.launch();
    EXPECT_GT(::waitpid(-1, nullptr, 0), 0);
    task.waitUntilExit();
    EXPECT_EQ(task.terminationStatus(), -1);
}

TEST(UserLocale, IsTheSystems) {
    facts().languages = {u"de-DE"_s, u"zh-Hans-CN"_s};
    EXPECT_EQ(platform::preferredLanguages(), QStringList({u"de-DE"_s, u"zh-Hans-CN"_s}));
    EXPECT_EQ(platform::localeCountryCode(), std::nullopt);
    facts().country = u"DE"_s;
    EXPECT_EQ(platform::localeCountryCode(), u"DE"_s);
}

TEST(Volumes, AreTheSystemsInItsOrder) {
    facts().volumes = {u"/"_s, u"/Volumes/Kit ä"_s, u"/Volumes/A"_s};
    EXPECT_EQ(platform::mountedVolumes(), QStringList({u"/"_s, u"/Volumes/Kit ä"_s, u"/Volumes/A"_s}));
}

TEST(OpenAddress, HandsTheTextToTheSystemAndTellsWhatItSays) {
    EXPECT_TRUE(platform::openAddress(Address::parse(u"HTTP://Host/%41?a=1#f"_s)));
    facts().opens = false;
    EXPECT_FALSE(platform::openAddress(Address::parse(u"qnd://x"_s)));
    EXPECT_EQ(facts().opened, QStringList({u"HTTP://Host/%41?a=1#f"_s, u"qnd://x"_s}));
    EXPECT_FALSE(platform::openAddress(std::nullopt));
}

TEST(OpenAddress, PassesNoTextWithoutASchemeOn) {
    EXPECT_FALSE(platform::openAddress(Address::parse(u"/etc/passwd"_s)));
    EXPECT_EQ(facts().opened, QStringList());
}

TEST(Machine, IsTheSystems) {
    facts().version = {14, 2, 1};
    EXPECT_EQ(platform::operatingSystemVersion(), (std::array<int, 3>{14, 2, 1}));
    EXPECT_EQ(platform::localArchitectureDescription(), std::nullopt);
    facts().architecture = u"ARM64"_s;
    EXPECT_EQ(platform::localArchitectureDescription(), u"ARM64"_s);
    facts().screen = QSizeF(1512, 982);
    EXPECT_EQ(platform::mainScreenSize(), QSizeF(1512, 982));
}

TEST(Display, NeedsAScreenAndThePluginInTheFolder) {
    const QString plugins = test::folder() + u"/PlugIns"_s;
    facts().screen = QSizeF(1512, 982);
    EXPECT_EQ(platform::windowSystemPlugin(plugins), std::nullopt);
    test::writeFile(plugins + u"/platforms/libqcocoa.dylib"_s, "");
    EXPECT_EQ(platform::windowSystemPlugin(plugins), QByteArray("cocoa"));
    facts().screen.reset();
    EXPECT_EQ(platform::windowSystemPlugin(plugins), std::nullopt);
}

TEST(ScreenReader, IsGivenTheTextWhileThereIsAWindow) {
    QAccessibleInterface* const none = nullptr;
    facts().hasMainWindow = true;
    platform::announce(*none, u"Fertig"_s);
    facts().hasMainWindow = false;
    platform::announce(*none, u"nobody hears this"_s);
    EXPECT_EQ(facts().announcements, QStringList(u"Fertig"_s));
}

TEST(WindowSystem, IsFlushedAndDrawsItsOwnShadow) {
    EXPECT_TRUE(platform::windowsHaveShadowsOfTheirOwn());
    EXPECT_TRUE(platform::compositorIsRunning());
    platform::flushDisplay();
    EXPECT_TRUE(facts().flushed);
}

TEST(RealPath, IsThePathItself) {
    test::putSystemFile(u"/etc/here"_s, "");
    EXPECT_EQ(platform::realPath(u"/etc/here"_s), u"/etc/here"_s);
    EXPECT_EQ(platform::volumesFolder(), u"/Volumes"_s);
}

TEST(LocalizedString, IsEmptyWhenTheSystemHasNone) {
    EXPECT_EQ(platform::localizedString(u"KNOWN"_s), u"der Text"_s);
    EXPECT_EQ(platform::localizedString(u"UNKNOWN"_s), QString());
    EXPECT_EQ(platform::chosenLocalization(), u"de"_s);
}

TEST(MainBundle, HasNoInformationFromAListInTheOldForm) {
    test::writeFile(test::bundle() + u"/Contents/Info.plist"_s, "{ a = b; }");
    EXPECT_TRUE(Bundle::mainBundle().infoDictionary().isEmpty());
}
