#pragma once

#include "base/Descriptor.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

// What the portal remembers of a request.
namespace portal {

struct RequestEntry {
    double time; // seconds since 1970
    std::string method;
    std::string target;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    int status;
};

// One line of JSON without a line end. Bytes that are no UTF-8 become U+FFFD.
std::string recordLine(const RequestEntry& entry);

// Appends lines to a file, each with one write. Any thread.
class Record {
public:
    // Nothing is written anywhere without a path. Throws std::system_error when the file cannot be opened.
    explicit Record(const std::string& path);

    void add(const RequestEntry& entry);

private:
    base::Descriptor file_;
    std::mutex mutex_;
};

} // namespace portal
