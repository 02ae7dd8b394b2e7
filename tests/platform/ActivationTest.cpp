#include "platform/RunningApplications.h"
#include "tests/platform/ChildProcess.h"
#include "tests/platform/ManagedDisplay.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// Values of properties on the display that DISPLAY names.
class Properties {
public:
    Properties() : connection_(xcb_connect(nullptr, nullptr)) {}
    ~Properties() { xcb_disconnect(connection_); }
    Properties(const Properties&) = delete;
    Properties& operator=(const Properties&) = delete;

    std::vector<std::uint32_t> ofWindow(xcb_window_t window, const char* name) {
        auto* const atom = xcb_intern_atom_reply(
            connection_, xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr);
        auto* const reply = xcb_get_property_reply(
            connection_, xcb_get_property(connection_, 0, window, atom->atom, XCB_ATOM_ANY, 0, 1000), nullptr);
        std::free(atom);
        if (reply == nullptr) {
            return {};
        }
        const auto* const values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply));
        std::vector<std::uint32_t> found(values, values + xcb_get_property_value_length(reply) / 4);
        std::free(reply);
        return found;
    }
    std::vector<std::uint32_t> ofRoot(const char* name) {
        return ofWindow(xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root, name);
    }

private:
    xcb_connection_t* connection_;
};

// The processes of the windows, lowest first, as the window manager tells.
std::vector<pid_t> stacking() {
    Properties properties;
    std::vector<pid_t> processes;
    for (const xcb_window_t window : properties.ofRoot("_NET_CLIENT_LIST_STACKING")) {
        for (const std::uint32_t process : properties.ofWindow(window, "_NET_WM_PID")) {
            processes.push_back(static_cast<pid_t>(process));
        }
    }
    return processes;
}

class Activation : public testing::Test {
protected:
    void startWindowManager() { display_.startWindowManager(); }
    std::unique_ptr<ChildProcess> startApplication(const QString& identifier = u"com.example.windows"_s) {
        return display_.startApplication(identifier);
    }
    static bool isActive(const ChildProcess& application) { return ManagedDisplay::isActive(application); }
    static bool activate(const ChildProcess& application) { return ManagedDisplay::activate(application); }

private:
    ManagedDisplay display_{ManagedDisplay::Manager::kLater};
};

} // namespace

TEST_F(Activation, MakesAnotherApplicationActiveWithAllItsWindowsInFront) {
    startWindowManager();
    const auto lower = startApplication();
    const auto upper = startApplication();
    ASSERT_TRUE(activate(*upper));
    EXPECT_FALSE(isActive(*lower));
    EXPECT_TRUE(activate(*lower));
    EXPECT_FALSE(isActive(*upper));
    const std::vector<pid_t> expected{upper->process(), upper->process(), lower->process(), lower->process()};
    EXPECT_TRUE(test::waitFor([&expected] { return stacking() == expected; }));
}

TEST_F(Activation, IsUnknownAndSoNotGivenWithoutAWindowManager) {
    const auto application = startApplication();
    EXPECT_FALSE(isActive(*application));
    RunningApplication(application->process(), false).activateAllWindows(); // a refusal is not reported
}

TEST_F(Activation, IsUnknownAndSoNotGivenWithoutADisplay) {
    startWindowManager();
    const auto application = startApplication();
    ASSERT_TRUE(activate(*application));
    test::unsetEnvironment("DISPLAY");
    EXPECT_FALSE(isActive(*application));
    test::setEnvironment("DISPLAY", ":9999");
    EXPECT_FALSE(isActive(*application));
    RunningApplication(application->process(), false).activateAllWindows();
}

TEST_F(Activation, IsLeftToOurOwnCopyWhereItsWindowsAreOutOfReach) {
    const QString bus = test::folder() + u"/bus"_s;
    ChildProcess daemon({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address=1",
                         "--address=unix:path=" + bus.toStdString()});
    test::setEnvironment("DBUS_SESSION_BUS_ADDRESS", QByteArray::fromStdString(daemon.readLine()));
    startWindowManager();
    const QString identifier = u"com.example.copy"_s;
    test::setInfo(u"CFBundleIdentifier"_s, identifier);
    const auto copy = startApplication(identifier);
    const auto other = startApplication();
    ASSERT_TRUE(activate(*other));
    const QByteArray display = qgetenv("DISPLAY");
    EXPECT_TRUE(test::waitFor([&] { // until the copy has its place on the bus
        test::unsetEnvironment("DISPLAY");
        RunningApplication(copy->process(), true).activateAllWindows();
        test::setEnvironment("DISPLAY", display);
        return isActive(*copy);
    }));
}
