#include "tools/portal/Record.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace portal {

std::string recordLine(const RequestEntry& entry) {
    using Json = nlohmann::json;
    Json headers = Json::array();
    for (const auto& [name, value] : entry.headers) {
        headers.push_back(Json::array({name, value}));
    }
    return Json{{"time", entry.time}, {"method", entry.method}, {"target", entry.target},
                {"headers", headers}, {"body", entry.body},     {"status", entry.status}}
        .dump(-1, ' ', false, Json::error_handler_t::replace);
}

Record::Record(const std::string& path) {
    if (path.empty()) {
        return;
    }
    constexpr mode_t kMode = 0666; // less the umask
    file_.reset(open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, kMode));
    if (!file_) {
        throw std::system_error(errno, std::generic_category(), path);
    }
}

void Record::add(const RequestEntry& entry) {
    const std::string line = recordLine(entry) + "\n";
    const std::lock_guard lock(mutex_);
    std::fprintf(stderr, "portal: %s %s: %d\n", entry.method.c_str(), entry.target.c_str(), entry.status);
    if (file_ && write(file_.get(), line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        std::fprintf(stderr, "portal: the record cannot be written\n");
    }
}

} // namespace portal
