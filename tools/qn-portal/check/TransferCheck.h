#pragma once

#include "hdiutil/image/PieceSums.h"
#include "tools/qn-portal/check/ConfigCheck.h"
#include "tools/qn-portal/check/Finding.h"
#include "tools/qn-portal/check/Probe.h"

#include <QString>

#include <chrono>
#include <set>

namespace portal::check {

// From when on something counts as slow.
struct Patience {
    std::chrono::milliseconds configuration = std::chrono::seconds(2);
    std::chrono::milliseconds analytics = std::chrono::seconds(1);
    std::chrono::milliseconds idle = TransferLimits().idle;              // as long as the installer waits for a byte
    std::chrono::milliseconds analyticsLimit = std::chrono::seconds(15); // then no answer is waited for any more
};

// Looks at servers as the installer would meet them. Each host's TLS is looked at once.
class TransferCheck {
public:
    TransferCheck(Findings& findings, Patience patience) : findings_(findings), patience_(patience) {}

    // The document, absent when none came. `headers` are the installer's six.
    std::optional<QByteArray> configuration(const QString& address,
                                            const std::vector<std::pair<QString, QString>>& headers);
    // The same document in another language: only asked for, not judged as an answer.
    std::optional<QByteArray> configurationAgain(const QString& address,
                                                 const std::vector<std::pair<QString, QString>>& headers) const;
    // Tells of a document that is another one in another language, and of caches that were not told so. True when both
    // are the same.
    bool compare(const QString& address, const QString& locale, const QByteArray& document, const QString& otherLocale,
                 const QByteArray& other);

    // Loads the image into `file`, summing what comes. False when there is nothing that the installer would mount.
    bool image(const ConfigAddress& address, const QString& file, hdi::PieceSums& sums);
    // Sends an empty POST, so that nothing is counted.
    void analytics(const ConfigAddress& address);
    // A page that a person is led to.
    void page(const Place& place, const QString& address, std::string_view code);

private:
    bool judgeTransfer(const Place& place, const QString& address, const ProbeAnswer& answer);
    void judgeTls(const Place& place, const QString& address);
    void judgeHeaders(const Place& place, const ProbeHop& hop);
    void judgeConfigurationHeaders(const Place& place, const ProbeHop& hop);
    void judgeImageHeaders(const ConfigAddress& address, const ProbeHop& hop);
    bool hasTlsError(const QString& address) const;

    Findings& findings_;
    Patience patience_;
    std::set<QString> knownServers_;  // "host:port"
    std::set<QString> brokenServers_; // those whose TLS is told of as an error
    QByteArray vary_;
};

} // namespace portal::check
