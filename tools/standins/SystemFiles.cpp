#include "tools/standins/SystemFiles.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
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

std::optional<std::string> readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    std::string contents{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return file.bad() ? std::nullopt : std::optional(std::move(contents));
}

std::string trimmed(const std::string& text) {
    const char* const blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    return first == std::string::npos ? std::string() : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

} // namespace standins
