#include "tests/platform/ManagedDisplay.h"

#include "platform/RunningApplications.h"
#include "tests/platform/ProgramBundle.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

ManagedDisplay::ManagedDisplay(Manager manager) {
    server_.emplace(std::vector<std::string>{"Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-noreset",
                                             "-nolisten", "tcp"});
    const std::string number = server_->readLine();
    EXPECT_FALSE(number.empty());
    test::setEnvironment("DISPLAY", QByteArray::fromStdString(":" + number));
    test::setEnvironment("QT_QPA_PLATFORM", "xcb");
    if (manager == Manager::kNow) {
        startWindowManager();
    }
}

void ManagedDisplay::startWindowManager() {
    // Its startup command runs when it has taken over; windows that show up before may be missed.
    manager_.emplace(std::vector<std::string>{"openbox", "--sm-disable", "--startup", "echo ready"});
    std::string line;
    do { // it may have complaints first
        line = manager_->readLine();
    } while (!line.empty() && line != "ready");
    EXPECT_EQ(line, "ready");
}

std::unique_ptr<ChildProcess> ManagedDisplay::startApplication(const QString& identifier) {
    auto application =
        std::make_unique<ChildProcess>(std::vector<std::string>{putIntoBundle(WINDOW_PROGRAM, identifier, identifier)});
    EXPECT_EQ(application->readLine(), "shown");
    return application;
}

bool ManagedDisplay::isActive(pid_t process) {
    return RunningApplication(process, false).isActive();
}

bool ManagedDisplay::activate(const ChildProcess& application) {
    using Clock = std::chrono::steady_clock;
    std::optional<Clock::time_point> since;
    return test::waitFor([&] {
        if (isActive(application)) {
            since = since.value_or(Clock::now());
            return Clock::now() - *since > std::chrono::milliseconds(300);
        }
        since.reset();
        RunningApplication(application.process(), false).activateAllWindows();
        return false;
    });
}

bool ManagedDisplay::becomesActive(const ChildProcess& application) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!isActive(application)) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

void ManagedDisplay::stop() {
    manager_.reset();
    server_.reset();
}
