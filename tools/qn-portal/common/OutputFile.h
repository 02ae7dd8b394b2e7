#pragma once

#include "base/Descriptor.h"

#include <string>
#include <string_view>

namespace portal {

// A file that appears under its name when it is whole, and not before: what is there already stays until then. A
// device or a pipe is written to as it is. Errors: std::runtime_error with the path and the reason.
class OutputFile {
public:
    explicit OutputFile(std::string path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    int descriptor() const { return file_.get(); }
    void write(std::string_view text);
    // Gives it its name. What is written from then on is seen at once.
    void publish();

private:
    [[noreturn]] void fail(int error) const;

    std::string path_;
    std::string unfinished_; // beside it; empty when there is none (any more)
    base::Descriptor file_;
};

} // namespace portal
