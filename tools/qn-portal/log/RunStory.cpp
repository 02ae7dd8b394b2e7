#include "tools/qn-portal/log/RunStory.h"

#include "tools/qn-portal/common/Timestamp.h"

#include <array>

namespace portal::eventlog {

namespace {

// A message that tells of a failure: what it begins with, and the sentence. "%" stands for the message's rest.
struct Failure {
    std::string_view begin;
    std::string_view sentence;
};

constexpr std::array kFailures{
    Failure{"Error loading config: ", "The configuration could not be fetched: %"},
    Failure{"Config parse error. Error: ", "The configuration's answer is not JSON."},
    Failure{"Config parse error. Invalid file format specified for Mac: ",
            "The configuration names an image that does not end in .dmg: %"},
    Failure{"Download failed: ", "The image could not be downloaded: %"},
    Failure{"DMG mount error. Please check the contents", "The image could not be mounted."},
    Failure{"DMG mount error. ", "The image was mounted, but its volume has no name."},
    Failure{"Empty dmg file!", "The image holds nothing."},
    Failure{"Executable error: ", "The image holds no application, or more than one."},
    Failure{"Unmount DMG error: ", "Mounting the image or running the installer broke off: %"},
    Failure{"Application crashed with ", "The program crashed: %"},
    Failure{"Analytics send error ", "The analytics could not be sent: %"},
    Failure{"createCi threw an exception: ", "The client identifier could not be made: %"},
};

constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kScreens{{
    {"Show Connecting screen", "connecting"},
    {"Show NoInternet screen", "no internet"},
    {"Show generic download screen.", "download"},
    {"Show generic error screen.", "error"},
    {"Closing Connecting screen.", "hidden, while the installer ran"},
}};

// A pair of a compact JSON object, without its first quote: there are so many of them that looking for one is slow.
bool has(std::string_view json, std::string_view pair) {
    return json.find(pair) != std::string_view::npos;
}

// Most entries begin with a letter that no text here begins with: that alone is looked at first.
bool begins(std::string_view message, std::string_view text) {
    return !message.empty() && message.front() == text.front() && message.starts_with(text);
}

std::string sentenceOf(const Failure& failure, std::string_view message) {
    std::string sentence(failure.sentence);
    if (sentence.ends_with('%')) {
        sentence.pop_back();
        sentence += message.substr(failure.begin.size());
    }
    return sentence;
}

} // namespace

RunStory::Stage RunStory::stageOf(const Entry& entry) {
    if (entry.kind == Entry::Kind::kEvent) {
        return has(entry.message, R"(EVT":"Start")") ? Stage::kStarted : Stage::kNone;
    }
    if (entry.kind == Entry::Kind::kForeign || entry.level != "DEBUG") {
        return Stage::kNone;
    }
    if (begins(entry.message, "Removing app cache from ")) {
        return Stage::kCleaned;
    }
    return entry.message.ends_with(" start.") ? Stage::kNamed : Stage::kNone;
}

// A program's first entries come in one order; its very first one, or a step back, is the next run.
bool RunStory::beginsAnother(const Entry& entry) const {
    const Stage stage = stageOf(entry);
    return stage == Stage::kCleaned || (stage != Stage::kNone && stage <= stage_);
}

void RunStory::add(const Entry& entry) {
    if (const Stage stage = stageOf(entry); stage != Stage::kNone) {
        stage_ = stage;
    }
    if (!entry.time.empty() && entry.time != time_) {
        lastSeconds_ = secondsOf(entry.time).value_or(lastSeconds_);
        beginSeconds_ = hasTime_ ? beginSeconds_ : lastSeconds_;
        hasTime_ = true;
        time_ = entry.time;
    }
    if (entry.kind == Entry::Kind::kEvent) {
        addEvent(entry.message);
    } else if (entry.kind == Entry::Kind::kPlain) {
        addMessage(entry);
    }
}

void RunStory::addMessage(const Entry& entry) {
    const std::string_view message = entry.message;
    for (const auto& [text, screen] : kScreens) {
        if (message.size() == text.size() && begins(message, text)) {
            screen_ = screen;
            if (screen == "connecting") {
                problem_.clear(); // a new try
                isDownloading_ = false;
            } else if (screen == "no internet") {
                problem_ = "There was no internet connection.";
            }
            return;
        }
    }
    for (const Failure& failure : kFailures) {
        if (begins(message, failure.begin)) {
            // What follows a failure at the end, such as analytics that are not sent, does not hide it.
            const bool isAside = failure.begin.starts_with("Analytics") || failure.begin.starts_with("createCi");
            if (!isAside || problem_.empty()) {
                problem_ = sentenceOf(failure, message);
            }
            return;
        }
    }
    if (begins(message, "Download started: ")) {
        isDownloading_ = true;
    } else if (message.ends_with("path does not exist.") && entry.level == "ERROR") {
        problem_ = "The application in the image is not there: " + std::string(message);
    } else if (begins(message, "Installer from path : ") && message.ends_with("Return value: 0")) {
        problem_ = "The installer told a failure when it ended.";
    }
}

void RunStory::addEvent(std::string_view json) {
    if (has(json, R"(EVT":"End")")) {
        hasEnd_ = true;
        if (isDownloading_ && problem_.empty()) {
            problem_ = "It was ended while the image was on its way.";
        }
    } else if (has(json, R"(EVT":"Download")")) {
        isDownloading_ = false;
    } else if (has(json, R"(EVT":"Config")")) {
        if (!has(json, R"(RSLT":"PASS")") && problem_.empty()) {
            problem_ = "The configuration has no active action, or none of its software is active.";
        }
    }
}

std::string RunStory::problem() const {
    if (problem_.empty() && isOpen()) {
        return "Nothing tells of its end: the program was killed, or it still runs.";
    }
    return problem_;
}

} // namespace portal::eventlog
