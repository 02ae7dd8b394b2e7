#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The identifier of this user on this machine, in the shape of a version-4 UUID. It is no random number but a digest of
// the hardware address and the home directory, so that every run has the same one and nothing is stored.
//
// Threads: any. Never throws.
class QNPortalProvider {
public:
    // Derives it on first use. Absent when the derivation failed, and for a log line that is written while this thread
    // derives it: such a line must not start another derivation.
    static std::optional<QString> getCi();
    // Derives it and keeps it. A failure gives one ERROR entry and leaves what was kept.
    static void createCi();
};

// Two lower-case hexadecimal digits for each byte, in order.
QString hexadecimalString(const QByteArray& bytes);
