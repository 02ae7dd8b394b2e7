// Reads a file of JSON lines with simdjson, takes of each what `qn-portal log` shows, and prints how long parsing took,
// without reading the file, and with it.
//
//   simdjson_lines FILE

#include <simdjson.h>

#include <chrono>
#include <cstdio>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("simdjson_lines FILE\n", stderr);
        return 2;
    }
    const auto start = Clock::now();
    simdjson::padded_string json;
    if (simdjson::padded_string::load(argv[1]).get(json) != simdjson::SUCCESS) {
        std::fprintf(stderr, "%s cannot be read\n", argv[1]);
        return 1;
    }
    const auto loaded = Clock::now();
    simdjson::ondemand::parser parser;
    simdjson::ondemand::document_stream lines;
    if (parser.iterate_many(json, std::size_t{1} << 20U).get(lines) != simdjson::SUCCESS) {
        return 1;
    }
    std::size_t count = 0;
    std::size_t bytes = 0;
    for (auto line : lines) {
        std::string_view time;
        std::string_view level;
        std::string_view message;
        if (line["time"].get_string().get(time) != simdjson::SUCCESS ||
            line["trace"].get_string().get(level) != simdjson::SUCCESS) {
            return 1;
        }
        auto value = line["message"];
        if (value.get_string().get(message) != simdjson::SUCCESS) {
            message = value.raw_json_token(); // an event's object
        }
        bytes += time.size() + level.size() + message.size();
        ++count;
    }
    std::printf("%zu %zu %.3f %.3f\n", count, bytes, secondsSince(loaded), secondsSince(start));
    return 0;
}
