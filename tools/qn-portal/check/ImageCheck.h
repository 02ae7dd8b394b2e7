#pragma once

#include "tools/qn-portal/check/Finding.h"

#include <QString>

#include <cstdint>

namespace portal::check {

// What an image is judged against.
struct InstallerFacts {
    QString identifier; // empty: not known
    QString minimumSystem = QString::fromLatin1("11.0");
    std::uint64_t muchSpace = std::uint64_t{4} * 1000 * 1000 * 1000; // bytes
};

// Opens the image as the installer's own disk-image tool does, compares its checksums, and goes the installer's way to
// the one application and its program. `name` is what findings call it. Never throws for what the image holds.
void checkImage(Findings& findings, const QString& file, const QString& name, const InstallerFacts& installer);

} // namespace portal::check
