#pragma once

#include "hdiutil/front/AttachRecord.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hdi {

// What the daemon tells the process that started it, once, through a pipe.
struct DaemonReport {
    enum class Kind { kAttached, kFound, kFailed, kNoFuse }; // kFound: somebody else had attached it
    Kind kind = Kind::kFailed;
    std::string message; // of a failure
    std::vector<AttachedRow> rows;
    std::string messages; // for standard error

    bool operator==(const DaemonReport&) const = default;
};

// As text, and back; absent for text that was cut short. Pure.
std::string serialize(const DaemonReport& report);
std::optional<DaemonReport> parseReport(std::string_view text);

} // namespace hdi
