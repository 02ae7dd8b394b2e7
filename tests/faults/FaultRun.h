#pragma once

#include "tests/e2e/InstallerRun.h"
#include "tests/support/ScreenReader.h"
#include "tools/faults/FaultyServer.h"

#include <QString>
#include <QStringList>

#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace faultsuite {

// One run of the built program against a portal that does one thing wrong.
//
// What spoils an answer itself is met on the way to it alone: a run whose configuration or analytics are spoiled has a
// configuration that leads to the download screen, one whose image is spoiled installs. What speaks TLS wrong, or hides
// behind a proxy, has a server for the spoiled answer alone.
class FaultRun {
public:
    // `target` as in Expectation.
    FaultRun(const QString& scenario, std::optional<faults::Target> target);
    FaultRun(const FaultRun&) = delete;
    FaultRun& operator=(const FaultRun&) = delete;

    // Starts the program; takes it to its end, which it is asked for as soon as it shows the screen of this account.
    // With an empty screen it ends by itself.
    void goThrough(const QString& expected);
    // The event log, the console, the screen, the requests, what was opened, what the installer got, what is left, and
    // the status.
    QString account() const;

private:
    void makeImage();
    faults::Answers good(const std::string& base) const;
    std::string configuration(const std::string& base) const;
    std::string addressOf(faults::Target target) const;
    void startServers(const faults::ChosenFault& fault);
    void leadThroughProxy();
    void remember(loopback::Request request);

    std::optional<faults::Target> target_;
    ScreenReader reader_;
    InstallerRun run_;
    std::string image_;
    std::string elsewhere_; // the spoiled answer's address, when a server of its own has it
    bool installs_ = true;
    mutable std::mutex mutex_;
    std::vector<loopback::Request> requests_;
    std::string lastBody_;
    QStringList screen_;
    std::optional<faults::FaultyServer> portal_;
    std::optional<faults::FaultyServer> broken_; // for the spoiled answer alone
    std::optional<faults::FaultyServer> behind_; // what a proxy's tunnel leads to
};

} // namespace faultsuite
