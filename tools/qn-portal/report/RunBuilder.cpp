#include "tools/qn-portal/report/RunBuilder.h"

#include <cmath>

namespace portal::report {

namespace {

constexpr std::size_t kMostOpenRuns = 100'000;
constexpr std::size_t kMostFailures = 100; // of one run; a user may press "try again" for hours

// FNV-1a over the bytes, stirred so that neighbours lie far apart. It is written into databases and stays as it is.
std::uint64_t digest(std::string_view bytes, std::uint64_t seed) {
    std::uint64_t value = 0xCBF29CE484222325U ^ seed;
    for (const char byte : bytes) {
        value = (value ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;
    }
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31U);
}

// An error's description ends with what the system knew about it: addresses, folders, numbers that differ in each run.
std::string_view withoutUserInfo(std::string_view reason) {
    return reason.substr(0, reason.find(" UserInfo={"));
}

std::optional<std::int64_t> milliseconds(const std::optional<double>& seconds) {
    constexpr double kLongest = 1e9; // seconds; what is beyond was no measurement
    if (!seconds || !(*seconds >= 0) || *seconds > kLongest) {
        return std::nullopt;
    }
    return std::llround(*seconds * 1000);
}

} // namespace

void RunBuilder::add(const Event& event) {
    Run& run = runOf(event);
    ++run.lines;
    run.lastTime = event.time;
    describe(run, event);
    judge(run, event);
    if (event.name == "End") {
        run.hasEnded = true;
        endRun(byClient_.at(run.client));
    }
}

void RunBuilder::finish() {
    while (!open_.empty()) {
        endRun(open_.begin());
    }
}

Run& RunBuilder::runOf(const Event& event) {
    const std::uint64_t client = digest(event.identifier, 0);
    const auto key = static_cast<std::int64_t>(client);
    if (const auto found = byClient_.find(key); found != byClient_.end()) {
        if (event.name != "Start") {
            return *found->second;
        }
        endRun(found->second);
    }
    if (open_.size() >= kMostOpenRuns) {
        endRun(open_.begin());
    }
    Run& run = open_.emplace_back();
    byClient_.emplace(key, std::prev(open_.end()));
    run.client = key;
    run.identity = identityOf(event);
    run.firstTime = event.time;
    return run;
}

std::int64_t RunBuilder::identityOf(const Event& event) {
    constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15U;
    const std::uint64_t first = digest(event.identifier, static_cast<std::uint64_t>(event.time));
    if (sameSecond_.size() >= kMostOpenRuns) {
        sameSecond_.clear();
    }
    const std::uint64_t number = sameSecond_[static_cast<std::int64_t>(first)]++;
    return static_cast<std::int64_t>(first + number * kOdd);
}

void RunBuilder::endRun(OpenRuns::iterator run) {
    ++(store_.add(*run) ? added_ : known_);
    byClient_.erase(run->client);
    open_.erase(run);
}

void RunBuilder::describe(Run& run, const Event& event) {
    const auto learn = [&](TextId& place, std::string_view text) {
        if (place == 0 && !text.empty()) {
            place = store_.textId(text);
        }
    };
    learn(run.product, event.product);
    learn(run.version, event.version);
    learn(run.country, event.country);
    learn(run.language, event.language);
    learn(run.processor, event.processor);
    if (run.system == 0 && !event.systemVersion.empty()) {
        system_.assign(event.system).append(event.system.empty() ? "" : " ").append(event.systemVersion);
        run.system = store_.textId(system_);
    }
}

void RunBuilder::judge(Run& run, const Event& event) {
    if (event.result == "FAIL") {
        run.hasFailedSinceDownload = true;
        if (run.failures.size() < kMostFailures) {
            run.failures.emplace_back(store_.textId(event.name), store_.textId(withoutUserInfo(event.reason)));
        }
    }
    const bool isPass = event.result == "PASS";
    if (event.name == "Start") {
        run.hasStarted = true;
    } else if (event.name == "Config" && isPass) {
        run.isConfigured = true;
        run.configMilliseconds = milliseconds(event.seconds);
    } else if (event.name == "Download" && isPass) {
        run.isDownloaded = true;
        run.hasFailedSinceDownload = false;
        run.downloadMilliseconds = milliseconds(event.seconds);
    }
}

} // namespace portal::report
