#pragma once

#include <mutex>
#include <string>

namespace hdi {

// A line of progress on standard error, drawn only while that is a terminal and wiped at the end.
// Threads: show() on any.
class Progress {
public:
    explicit Progress(std::string label);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    // 0…1.
    void show(double fraction);

private:
    const std::string label_;
    const bool active_;
    std::mutex mutex_;
    int percent_ = -1;
};

// "Verifying: [######....]  42%", without line end. Pure.
std::string progressLine(const std::string& label, int percent);

} // namespace hdi
