#include "tools/qn-portal/report/Figures.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <map>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace portal::report {

namespace {

constexpr std::int64_t kSecondsOfADay = 86'400;
constexpr std::int64_t kMostEmptyDays = 3'660; // clocks go wrong by decades; such a gap is not filled
constexpr std::array<const char*, 6> kDimensions{"product", "version", "country", "language", "system", "processor"};
constexpr std::array<const char*, 3> kDurations{"configuration", "download", "whole run"};

// Columns of the query in readRuns().
enum Column { kId, kClient, kFirst, kLast, kEnded, kStarted, kConfigured, kDownloaded, kFinished, kProduct };
constexpr int kConfigMilliseconds = kProduct + 6;
constexpr int kDownloadMilliseconds = kConfigMilliseconds + 1;

void count(Stages& stages, const Statement& row) {
    stages.started += row.integer(kStarted);
    stages.configured += row.integer(kConfigured);
    stages.downloaded += row.integer(kDownloaded);
    stages.finished += row.integer(kFinished);
}

std::string dateOf(std::int64_t day) {
    const std::chrono::year_month_day date{std::chrono::sys_days(std::chrono::days(day))};
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return text.data();
}

// Where the ranges of a distribution end, in milliseconds; the last range has no end.
constexpr std::array<std::int64_t, 18> kRangeEnds{100,     200,       500,       1'000,     2'000,     5'000,
                                                  10'000,  20'000,    30'000,    60'000,    120'000,   300'000,
                                                  600'000, 1'200'000, 1'800'000, 3'600'000, 7'200'000, 18'000'000};

std::vector<Distribution::Range> rangesOf(const std::vector<std::int64_t>& sorted) {
    std::vector<Distribution::Range> ranges;
    auto at = sorted.begin();
    double from = 0;
    for (const std::int64_t to : kRangeEnds) {
        const auto end = std::lower_bound(at, sorted.end(), to);
        ranges.push_back({from, static_cast<double>(to) / 1000, end - at});
        from = ranges.back().to;
        at = end;
    }
    ranges.push_back({from, std::numeric_limits<double>::infinity(), sorted.end() - at});
    const auto isFilled = [](const Distribution::Range& range) { return range.runs > 0; };
    ranges.erase(std::find_if(ranges.rbegin(), ranges.rend(), isFilled).base(), ranges.end());
    ranges.erase(ranges.begin(), std::find_if(ranges.begin(), ranges.end(), isFilled));
    return ranges;
}

Distribution distributionOf(const char* name, std::vector<std::int64_t>& milliseconds) {
    Distribution result;
    result.name = name;
    result.runs = static_cast<std::int64_t>(milliseconds.size());
    if (milliseconds.empty()) {
        return result;
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    // The smallest value that at least this part of all does not exceed.
    const auto at = [&](double part) {
        const auto rank = static_cast<std::size_t>(std::ceil(part * static_cast<double>(milliseconds.size())));
        return static_cast<double>(milliseconds[std::max<std::size_t>(rank, 1) - 1]) / 1000;
    };
    result.p10 = at(0.10);
    result.p50 = at(0.50);
    result.p90 = at(0.90);
    result.p99 = at(0.99);
    result.longest = at(1);
    result.ranges = rangesOf(milliseconds);
    return result;
}

class Reader {
public:
    Reader(Database& database, const Period& period) : database_(database), period_(period) {}

    Figures read() {
        readRuns();
        std::ranges::sort(clients_);
        figures_.machines = std::unique(clients_.begin(), clients_.end()) - clients_.begin();
        for (std::size_t i = 0; i < kDimensions.size(); ++i) {
            figures_.dimensions[i] = {kDimensions[i], slicesOf(byText_[i])};
        }
        for (std::size_t i = 0; i < kDurations.size(); ++i) {
            figures_.durations[i] = distributionOf(kDurations[i], milliseconds_[i]);
        }
        rankReasons();
        listDays();
        return std::move(figures_);
    }

private:
    struct Tally {
        std::int64_t lines = 0;
        std::int64_t runs = 0;
        std::int64_t lastRun = -1;
    };

    // Both tables are walked in the order of the runs, side by side.
    void readRuns() {
        Statement runs = database_.prepare(
            "SELECT id, client, first_time, last_time, ended, started, configured, downloaded, finished, product, "
            "version, country, language, system, processor, config_ms, download_ms FROM run "
            "WHERE first_time >= ?1 AND first_time < ?2 ORDER BY id");
        Statement failures = database_.prepare("SELECT run, event, reason FROM failure ORDER BY run, number");
        const std::int64_t config = idOf("Config");
        const std::int64_t download = idOf("Download");
        runs.bind(1, period_.from).bind(2, period_.to);
        bool hasFailure = failures.step();
        while (runs.step()) {
            const std::int64_t id = runs.integer(kId);
            bool hasConfig = false;
            bool hasDownload = false;
            for (; hasFailure && failures.integer(0) <= id; hasFailure = failures.step()) {
                if (failures.integer(0) == id && runs.integer(kStarted) != 0) {
                    addFailure(id, failures.integer(1), failures.integer(2));
                    hasConfig = hasConfig || failures.integer(1) == config;
                    hasDownload = hasDownload || failures.integer(1) == download;
                }
            }
            figures_.configFails += hasConfig ? 1 : 0;
            figures_.downloadFails += hasDownload ? 1 : 0;
            addRun(runs);
        }
    }

    void addFailure(std::int64_t run, std::int64_t event, std::int64_t reason) {
        Tally& tally = reasons_[{event, reason}];
        ++tally.lines;
        tally.runs += tally.lastRun == run ? 0 : 1;
        tally.lastRun = run;
    }

    void addRun(const Statement& run) {
        if (run.integer(kStarted) == 0) {
            ++figures_.withoutStart;
            return;
        }
        count(figures_.funnel, run);
        count(days_[run.integer(kFirst) / kSecondsOfADay], run);
        for (std::size_t i = 0; i < byText_.size(); ++i) {
            count(byText_[i][run.integer(kProduct + static_cast<int>(i))], run);
        }
        clients_.push_back(run.integer(kClient));
        if (!run.isNull(kConfigMilliseconds)) {
            milliseconds_[0].push_back(run.integer(kConfigMilliseconds));
        }
        if (!run.isNull(kDownloadMilliseconds)) {
            milliseconds_[1].push_back(run.integer(kDownloadMilliseconds));
        }
        if (run.integer(kEnded) == 0) {
            ++figures_.withoutEnd;
        } else {
            milliseconds_[2].push_back(std::max<std::int64_t>(run.integer(kLast) - run.integer(kFirst), 0) * 1000);
        }
    }

    std::vector<Slice> slicesOf(const std::unordered_map<std::int64_t, Stages>& byText) {
        std::vector<Slice> slices;
        slices.reserve(byText.size());
        for (const auto& [id, stages] : byText) {
            slices.push_back({textOf(id), stages});
        }
        std::ranges::sort(slices, [](const Slice& left, const Slice& right) {
            return std::pair(-left.stages.started, left.name) < std::pair(-right.stages.started, right.name);
        });
        return slices;
    }

    void rankReasons() {
        for (const auto& [key, tally] : reasons_) {
            figures_.reasons.push_back({textOf(key.first), textOf(key.second), tally.lines, tally.runs});
        }
        std::ranges::sort(figures_.reasons, [](const Reason& left, const Reason& right) {
            return std::tuple(-left.lines, left.event, left.reason) <
                   std::tuple(-right.lines, right.event, right.reason);
        });
    }

    void listDays() {
        for (auto day = days_.begin(); day != days_.end(); ++day) {
            if (day != days_.begin()) {
                const std::int64_t before = std::prev(day)->first;
                for (auto empty = before + 1; empty < day->first && day->first - before < kMostEmptyDays; ++empty) {
                    figures_.days.push_back({dateOf(empty), {}});
                }
            }
            figures_.days.push_back({dateOf(day->first), day->second});
        }
    }

    std::string textOf(std::int64_t id) {
        find_.reset();
        find_.bind(1, id);
        return find_.step() ? std::string(find_.text(0)) : std::string();
    }

    std::int64_t idOf(std::string_view text) {
        Statement statement = database_.prepare("SELECT id FROM text WHERE value = ?1");
        statement.bind(1, text);
        return statement.step() ? statement.integer(0) : 0;
    }

    Database& database_;
    Period period_;
    Statement find_ = database_.prepare("SELECT value FROM text WHERE id = ?1");
    Figures figures_;
    std::array<std::unordered_map<std::int64_t, Stages>, kDimensions.size()> byText_;
    std::map<std::pair<std::int64_t, std::int64_t>, Tally> reasons_;
    std::map<std::int64_t, Stages> days_;
    std::vector<std::int64_t> clients_;
    std::array<std::vector<std::int64_t>, kDurations.size()> milliseconds_;
};

} // namespace

Figures figuresOf(Database& database, const Period& period) {
    return Reader(database, period).read();
}

} // namespace portal::report
