#include "tools/standins/SystemFiles.h"

#include <cstdlib>
#include <system_error>

namespace standins {

std::filesystem::path systemPath(const std::string& plain) {
    const char* const root = std::getenv("QN_SYSTEM_ROOT");
    if (root == nullptr || root[0] != '/') {
        return plain;
    }
    const std::filesystem::path replaced = root + plain;
    std::error_code error;
    return std::filesystem::exists(replaced, error) ? replaced : std::filesystem::path(plain);
}

} // namespace standins
