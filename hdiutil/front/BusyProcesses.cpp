#include "hdiutil/front/BusyProcesses.h"

#include "base/Files.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace hdi {
namespace {

namespace fs = std::filesystem;

bool isNumber(const std::string& name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

bool linkLeadsInto(const fs::path& link, const std::string& folder) {
    std::error_code error;
    const fs::path target = fs::read_symlink(link, error);
    return !error && liesIn(target.native(), folder);
}

bool holdsOpenFile(const fs::path& process, const std::string& folder) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(process / "fd", error)) {
        if (linkLeadsInto(entry.path(), folder)) {
            return true;
        }
    }
    return false;
}

// Lines of /proc/PID/maps end in the path of what is mapped.
bool mapsFile(const fs::path& process, const std::string& folder) {
    const std::string maps = base::readSmallFile((process / "maps").native()).value_or("");
    for (std::size_t at = maps.find(folder); at != std::string::npos; at = maps.find(folder, at + 1)) {
        const std::size_t end = std::min(maps.find('\n', at), maps.size());
        if (at > 0 && maps[at - 1] == ' ' && liesIn(std::string_view(maps).substr(at, end - at), folder)) {
            return true;
        }
    }
    return false;
}

} // namespace

bool liesIn(std::string_view path, std::string_view folder) {
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

bool isFolderInUse(const std::string& folder) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/proc", error)) {
        const fs::path& process = entry.path();
        if (!isNumber(process.filename().native())) {
            continue;
        }
        if (linkLeadsInto(process / "cwd", folder) || linkLeadsInto(process / "root", folder) ||
            linkLeadsInto(process / "exe", folder) || holdsOpenFile(process, folder) || mapsFile(process, folder)) {
            return true;
        }
    }
    return false;
}

} // namespace hdi
