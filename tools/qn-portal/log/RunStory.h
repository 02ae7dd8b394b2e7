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

    // From the first entry to the one that came last.
    std::int64_t seconds() const { return lastSeconds_ - beginSeconds_; }

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
    bool hasTime_ = false;
    std::string time_; // the last one, as logged
    std::int64_t beginSeconds_ = 0;
    std::int64_t lastSeconds_ = 0;
    bool hasEnd_ = false;
    bool isDownloading_ = false;
    std::string screen_ = "none";
    std::string problem_;
};

} // namespace portal::eventlog
