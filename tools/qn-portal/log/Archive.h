#pragma once

#include "base/Descriptor.h"

#include <memory>
#include <string>
#include <string_view>

struct archive;

namespace portal::eventlog {

// A zip archive that appears under its name when it is whole, and not before. Errors: LogError.
class Archive {
public:
    explicit Archive(std::string path);
    ~Archive();
    Archive(const Archive&) = delete;
    Archive& operator=(const Archive&) = delete;

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
    std::string unfinished_; // beside it, so that it can be renamed
    base::Descriptor file_;
    std::unique_ptr<archive, Free> writer_;
};

} // namespace portal::eventlog
