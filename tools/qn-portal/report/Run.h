#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace portal::report {

// A text's number in the database.
using TextId = std::int64_t;

// A run, as far as its lines have told. Numbers of texts stand for texts; see Schema.h for what the fields mean.
struct Run {
    std::int64_t identity = 0;
    std::int64_t client = 0;
    std::int64_t lines = 0;
    std::int64_t firstTime = 0;
    std::int64_t lastTime = 0;
    bool hasStarted = false;
    bool isConfigured = false;
    bool isDownloaded = false;
    bool hasEnded = false;
    bool hasFailedSinceDownload = false;
    TextId product = 0, version = 0, country = 0, language = 0, system = 0, processor = 0; // 0: not told yet
    std::optional<std::int64_t> configMilliseconds;
    std::optional<std::int64_t> downloadMilliseconds;
    std::vector<std::pair<TextId, TextId>> failures; // event and reason
};

} // namespace portal::report
