#pragma once

#include "hdiutil/image/PieceSums.h"
#include "tools/qn-portal/check/Finding.h"

#include <QString>

#include <cstdint>
#include <memory>

namespace portal::check {

// What an image is judged against.
struct InstallerFacts {
    QString identifier; // empty: not known
    QString minimumSystem = QString::fromLatin1("11.0");
    std::uint64_t muchSpace = std::uint64_t{4} * 1000 * 1000 * 1000; // bytes
};

// Opens the image as the installer's own disk-image tool does, compares its checksums, and goes the installer's way to
// the one application and its program. `name` is what findings call it, `sums` those of a file that was summed as it
// came. Never throws for what the image holds.
void checkImage(Findings& findings, const QString& file, const QString& name, const InstallerFacts& installer,
                const std::shared_ptr<const hdi::PieceSums>& sums = nullptr);

} // namespace portal::check
