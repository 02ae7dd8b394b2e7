#include <xcb/xcb.h>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

// From exec to the first painted frame: the time until the display's own pixel, in a place that both windows paint
// white, is white. The bundle's program takes turns with a minimal one of the same window size. Told for both screens
// that it can begin with: the one while it connects, and the one without a network.
//
// usage: start_bench BUNDLE OTHER [RUNS]      on an X display of its own, without a compositor
//
// OTHER is the minimal program, or a second bundle that was built another way: so a part of the start is measured.

namespace {

using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

constexpr std::int16_t kX = 640;
constexpr std::int16_t kY = 150;
constexpr std::uint32_t kWhite = 0xffffff;

// Between two looks, so that looking takes nothing from the display and from what is measured, which have two cores.
constexpr std::chrono::microseconds kPause(200);
// For the display to clear up after a program.
constexpr std::chrono::milliseconds kRest(20);

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};

// The colour of the place, absent bits cleared.
std::uint32_t pixel(xcb_connection_t* connection, xcb_window_t root) {
    const auto cookie = xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root, kX, kY, 1, 1, ~0U);
    const std::unique_ptr<xcb_get_image_reply_t, FreeReply> reply(xcb_get_image_reply(connection, cookie, nullptr));
    if (!reply) {
        return 0;
    }
    const std::uint8_t* const data = xcb_get_image_data(reply.get());
    return static_cast<std::uint32_t>(data[0] | data[1] << 8 | data[2] << 16);
}

// Milliseconds. `elapsed` is below zero when nothing was painted within the limit; `processor` is the time that the
// program and what it ran had of the processors, which is steadier where much else runs.
struct Times {
    double elapsed = -1.0;
    double processor = 0.0;
};

double milliseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1000.0 + static_cast<double>(time.tv_usec) / 1000.0;
}

Times timesOf(const std::string& program, xcb_connection_t* connection, xcb_window_t root) {
    std::vector<char*> arguments{const_cast<char*>(program.c_str()), nullptr};
    const Clock::time_point start = Clock::now();
    pid_t child = 0;
    if (posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments.data(), environ) != 0) {
        return {};
    }
    Times times;
    while (Clock::now() - start < std::chrono::seconds(20)) {
        if (pixel(connection, root) == kWhite) {
            times.elapsed = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
            break;
        }
        std::this_thread::sleep_for(kPause);
    }
    kill(child, SIGKILL);
    rusage usage{};
    wait4(child, nullptr, 0, &usage);
    times.processor = milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
    while (pixel(connection, root) == kWhite) {
        std::this_thread::sleep_for(kPause);
    }
    std::this_thread::sleep_for(kRest);
    return times;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

double median(const std::vector<Times>& times, double Times::*member) {
    std::vector<double> values;
    for (const Times& each : times) {
        values.push_back(each.*member);
    }
    return median(values);
}

// Of the differences between one's run and the other's next to it, which share what else the machine does just then.
double pairedMedian(const std::vector<Times>& ours, const std::vector<Times>& other, double Times::*member) {
    std::vector<double> differences;
    for (std::size_t run = 0; run < ours.size(); ++run) {
        differences.push_back(other[run].*member - ours[run].*member);
    }
    return median(differences);
}

bool allPainted(const std::vector<Times>& times) {
    return std::ranges::all_of(times, [](const Times& each) { return each.elapsed > 0.0; });
}

void report(const char* what, const std::vector<Times>& ours, const std::vector<Times>& other, double Times::*member) {
    const double first = median(ours, member);
    const double second = median(other, member);
    std::printf("  %-15s ours %6.1f ms, other %6.1f ms, ratio %.2f, other's run less ours %+6.2f ms\n", what, first,
                second, first / second, pairedMedian(ours, other, member));
}

struct Screen {
    const char* name; // in the log
    const char* routes;
};

constexpr const char* kNoRoutes =
    "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n";
constexpr const char* kDefaultRoute = "eth0\t00000000\t0102000A\t0003\t0\t0\t0\t00000000\t0\t0\t0\n";

constexpr std::array kScreens{Screen{"Connecting", kDefaultRoute}, Screen{"NoInternet", ""}};

// How often, by the log: a series that measured another screen would be worth nothing.
int timesShown(const Screen& screen, const fs::path& home) {
    std::ifstream log(home / "Library/Application Support/Sample/Logs/install.log");
    const std::string text{std::istreambuf_iterator<char>(log), std::istreambuf_iterator<char>()};
    const std::string message = std::string("Show ") + screen.name + " screen";
    int count = 0;
    for (std::size_t found = text.find(message); found != std::string::npos; found = text.find(message, found + 1)) {
        ++count;
    }
    return count;
}

// A home of its own, and a machine whose requests reach nobody.
void makeSurroundings(const fs::path& folder) {
    fs::create_directories(folder / "home");
    fs::create_directories(folder / "root/proc/net");
    fs::permissions(folder, fs::perms::owner_all);
    std::ofstream(folder / "root/proc/net/ipv6_route").flush();
    setenv("HOME", (folder / "home").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
    setenv("QN_SYSTEM_ROOT", (folder / "root").c_str(), 1);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    setenv("https_proxy", "http://127.0.0.1:9", 1);
    static_cast<void>(std::freopen("/dev/null", "w", stderr));
}

std::string programOf(const fs::path& given) {
    return fs::is_directory(given) ? given / "Contents/MacOS/QNInstaller" : given;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("usage: start_bench BUNDLE OTHER-BUNDLE|PROGRAM [RUNS]\n", stderr);
        return 2;
    }
    const int runs = argc > 3 ? std::atoi(argv[3]) : 21;
    std::string pattern = (fs::temp_directory_path() / "start-XXXXXX").string();
    const fs::path folder = mkdtemp(pattern.data());
    makeSurroundings(folder);
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const std::string ours = programOf(argv[1]);
    const std::string other = programOf(argv[2]);
    const int logged = fs::is_directory(argv[2]) ? 2 * runs : runs;
    bool painted = true;
    for (const Screen& screen : kScreens) {
        std::ofstream(folder / "root/proc/net/route") << kNoRoutes << screen.routes;
        std::vector<Times> oursTimes;
        std::vector<Times> otherTimes;
        for (int run = 0; run < runs; ++run) {
            oursTimes.push_back(timesOf(ours, connection, root));
            otherTimes.push_back(timesOf(other, connection, root));
        }
        std::printf("%s\n", screen.name);
        report("wall clock", oursTimes, otherTimes, &Times::elapsed);
        report("processor time", oursTimes, otherTimes, &Times::processor);
        const bool showsIt = timesShown(screen, folder / "home") == logged;
        painted = painted && allPainted(oursTimes) && allPainted(otherTimes) && showsIt;
        fs::remove_all(folder / "home/Library");
    }
    xcb_disconnect(connection);
    fs::remove_all(folder);
    return painted ? 0 : 1;
}
