#pragma once

#include "tools/qn-portal/common/OutputFile.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct archive;

namespace portal::eventlog {

// A zip archive that appears under its name when it is whole, and not before. Errors: std::runtime_error.
class Archive {
public:
    explicit Archive(std::string path);

    // A file of exactly `size` bytes, which come with add().
    void begin(const std::string& name, std::int64_t size);
    void add(std::string_view bytes);

    void finish();

private:
    struct Free {
        void operator()(archive* writer) const;
    };

    void check(int status);

    std::string path_;
    OutputFile file_;
    std::unique_ptr<archive, Free> writer_;
};

} // namespace portal::eventlog
