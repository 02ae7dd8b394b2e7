#pragma once

#include <string>

namespace hdi {

// A line of progress on standard error, drawn only while that is a terminal and wiped at the end. One at a time.
// Threads: show() on any.
class Progress {
public:
    explicit Progress(std::string label);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    // 0…1. Does nothing while no Progress exists.
    static void show(double fraction);
};

// "Verifying: [######....]  42%", without line end. Pure.
std::string progressLine(const std::string& label, int percent);

} // namespace hdi
