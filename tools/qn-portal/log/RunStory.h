#pragma once

#include "tools/qn-portal/log/EntryReader.h"

#include <cstdint>
#include <optional>
#include <string>

namespace portal::eventlog {

// What a run's entries told, so far.
class RunStory {
public:
    // True when this entry is the first one of another run than the entries before it.
    bool beginsAnother(const Entry& entry) const;

    void add(const Entry& entry);

    std::string_view beginTime() const { return beginTime_; } // as logged, empty when no entry told
    std::string_view endTime() const { return endTime_; }
    std::int64_t seconds() const { return endSeconds_ - beginSeconds_; }

    // From the first entry to this one, of which the last add() was told.
    std::int64_t secondsOfLast() const { return lastSeconds_ - beginSeconds_; }

    const std::string& product() const { return product_; }

    // Nobody wrote "End": the program was killed, or the run still goes on.
    bool isOpen() const { return !hasEnd_; }

    // The screen on which it ended, "none" when none was shown.
    std::string screen() const { return screen_; }

    // What went wrong, in one sentence; empty when nothing did.
    std::string problem() const;

private:
    enum class Stage { kNone, kCleaned, kNamed, kStarted };

    static Stage stageOf(const Entry& entry);
    void addMessage(const Entry& entry);
    void addEvent(std::string_view json);

    Stage stage_ = Stage::kNone;
    std::string beginTime_, endTime_;
    std::int64_t beginSeconds_ = 0, endSeconds_ = 0, lastSeconds_ = 0;
    bool hasEnd_ = false;
    bool isDownloading_ = false;
    std::string screen_ = "none";
    std::string product_;
    std::string problem_;
};

} // namespace portal::eventlog
