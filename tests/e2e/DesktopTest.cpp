#include "tests/e2e/InstallerRun.h"
#include "tests/platform/ManagedDisplay.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

// Where the display shows its topmost window.
struct Place {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const Place&) const = default;
};

std::optional<Place> placeOfWindow() {
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    std::optional<Place> place;
    auto* const tree = xcb_query_tree_reply(connection, xcb_query_tree(connection, root), nullptr);
    const xcb_window_t* const windows = xcb_query_tree_children(tree);
    for (int index = 0; index < xcb_query_tree_children_length(tree); ++index) {
        auto* const state =
            xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, windows[index]), nullptr);
        auto* const geometry =
            xcb_get_geometry_reply(connection, xcb_get_geometry(connection, windows[index]), nullptr);
        if (state && geometry && state->map_state == XCB_MAP_STATE_VIEWABLE) {
            place = Place{geometry->x, geometry->y, geometry->width, geometry->height};
        }
        std::free(state);
        std::free(geometry);
    }
    std::free(tree);
    xcb_disconnect(connection);
    return place;
}

} // namespace

TEST(Desktop, ShowsTheFirstCopysWindowInFrontWhenASecondCopyIsStarted) {
    ManagedDisplay display;
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    const auto other = display.startApplication(u"com.example.other"_s);
    ASSERT_TRUE(ManagedDisplay::activate(*other));
    const auto first = static_cast<pid_t>(run.process());
    EXPECT_FALSE(ManagedDisplay::isActive(first));
    EXPECT_EQ(run.startAnother({}), 0);
    EXPECT_TRUE(test::waitFor([&] { return ManagedDisplay::isActive(first); }));
    EXPECT_FALSE(ManagedDisplay::isActive(*other));
}

TEST(Desktop, LeavesTheFirstCopyInFrontWhenItIsThereAlready) {
    ManagedDisplay display;
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.start();
    const auto first = static_cast<pid_t>(run.process());
    ASSERT_TRUE(test::waitFor([&] { return ManagedDisplay::isActive(first); }));
    EXPECT_EQ(run.startAnother({}), 0);
    EXPECT_TRUE(ManagedDisplay::isActive(first));
}

TEST(Desktop, HandsAnAddressOfTheProgramsSchemeToTheRunningCopy) {
    ChildProcess bus({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address=1",
                      "--address=unix:path=" + (test::folder() + u"/bus"_s).toStdString()});
    InstallerRun run;
    run.setEnvironment(u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromStdString(bus.readLine()));
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    // Asked again until it arrives: the copy takes its place on the bus in its own time.
    EXPECT_TRUE(test::waitFor([&] {
        EXPECT_EQ(run.startAnother({u"--open-url"_s, u"qnd://crashInfo"_s}), 0);
        return run.console().contains(u"] qnd://crashInfo\n"_s);
    }));
    EXPECT_FALSE(run.console().contains(u"qnd://innerCrashInfo"_s));
    EXPECT_EQ(run.startAnother({u"--open-url"_s, u"qnd://other"_s}), 0);
    EXPECT_TRUE(test::waitFor([&] { return run.console().contains(u"] qnd://innerCrashInfo\n"_s); }));
}

TEST(Desktop, ShowsTheWindowInTheMiddleOfTheScreenALittleAboveTheCentre) {
    const ManagedDisplay display(ManagedDisplay::Manager::kLater); // 800x600; nobody moves windows
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.start();
    const Place middle{80, 42, 640, 500}; // 80 on either side, 42 above, 58 below
    EXPECT_TRUE(test::waitFor([&] { return placeOfWindow() == middle; }));
}
