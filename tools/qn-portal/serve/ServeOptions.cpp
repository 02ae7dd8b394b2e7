#include "tools/qn-portal/serve/ServeOptions.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iomanip>
#include <sstream>
#include <string_view>
#include <utility>

namespace portal::serve {

namespace {

constexpr const char* kHelp = R"(qn-portal serve [OPTION…]

A portal in a box: a configuration, an image and an analytics endpoint on 127.0.0.1, until SIGTERM or SIGINT. One line of
JSON on standard output tells the addresses as soon as they can be reached: "config", "image", "analytics", "page" (the
requests, live), "port", and with TLS "authority", the file that a client must trust (SSL_CERT_FILE).

  --ending NAME      install (the default), open-link, config-error, http-404, bad-image, two-apps
  --image FILE       the disk image (otherwise one is made, with an application that does nothing)
  --config FILE      serve this file as the configuration; @PORTAL@ in it stands for the portal's address
  --auto-open, --link ADDRESS, --app-name NAME, --command-line-args TEXT
                     what the built-in configurations say
  --port PORT        instead of any free one
  --record FILE      append each request as a line of JSON
  --tls              https, with an authority of its own
  --authority FILE   where its certificate is written (otherwise a temporary file)
  --fault NAME[=VALUE][@ANSWER]
                     do this wrong; may be given more than once. What each answer can have goes wrong with all three,
                     or with the one that is named: config, image or analytics
  --list-faults      every fault, and what its value means
  --latency MS       wait so many milliseconds before each answer
  --bandwidth KIB    send at most so many KiB a second on each connection
  --collect FILE     keep the analytics in this database, for qn-portal report
  --help             this text

Exit status: 0 after a signal, 2 a wrong command line, or a port or a file that cannot be had or is not of its kind.
)";

std::optional<std::uint64_t> wholeNumber(const std::string& text) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    constexpr std::uint64_t kLargest = 1000000000;
    const bool isNumber = result.ec == std::errc() && result.ptr == end && number <= kLargest;
    return isNumber ? std::optional(number) : std::nullopt;
}

constexpr std::array<std::pair<std::string_view, faults::Target>, faults::kTargets> kAnswers{
    {{"config", faults::Target::kConfiguration},
     {"image", faults::Target::kImage},
     {"analytics", faults::Target::kAnalytics}}};

// A sentence when it is wrong.
std::optional<std::string> addFault(ServeOptions& options, std::string text) {
    std::optional<faults::Target> target;
    const std::string whole = text;
    if (const std::size_t at = text.find('@'); at != std::string::npos) {
        const auto known =
            std::ranges::find(kAnswers, text.substr(at + 1), &std::pair<std::string_view, faults::Target>::first);
        if (known == kAnswers.end()) {
            return "behind @ stands config, image or analytics, not in " + whole;
        }
        target = known->second;
        text.resize(at);
    }
    const std::size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    const faults::Scenario* const scenario = faults::scenarioCalled(name);
    if (scenario == nullptr) {
        return "there is no fault \"" + name + "\"; --list-faults lists them";
    }
    if (target && scenario->spoil == nullptr) {
        return "the fault " + name + " takes no answer's name behind @";
    }
    if (equals == std::string::npos) {
        options.faults.push_back({scenario, std::string(scenario->value), target});
        return std::nullopt;
    }
    const std::string value = text.substr(equals + 1);
    if (scenario->value.empty() || !wholeNumber(value)) {
        return "the fault " + name + (scenario->value.empty() ? " takes no value" : " needs a whole number behind =");
    }
    options.faults.push_back({scenario, value, target});
    return std::nullopt;
}

std::optional<std::string> setNumber(std::uint64_t& number, const std::string& name, const std::string& value) {
    const auto parsed = wholeNumber(value);
    number = parsed.value_or(0);
    return parsed ? std::nullopt : std::optional(name + " needs a whole number");
}

std::optional<std::string> setValue(ServeOptions& options, const std::string& name, const std::string& value) {
    if (name == "--fault") {
        return addFault(options, value);
    }
    if (name == "--authority") {
        options.authorityFile = value;
        return std::nullopt;
    }
    if (name == "--collect") {
        options.collectFile = value;
        return std::nullopt;
    }
    std::uint64_t number = 0;
    auto wrong = setNumber(number, name, value);
    if (name == "--latency") {
        options.latency = std::chrono::milliseconds(number);
    } else {
        options.bytesPerSecond = number * 1024;
    }
    return wrong;
}

bool takesValue(const std::string& name) {
    static constexpr std::array kNames{"--fault", "--authority", "--collect", "--latency", "--bandwidth"};
    return std::ranges::find(kNames, name) != kNames.end();
}

std::optional<std::string> whatIsWrong(const ServeOptions& options) {
    for (const faults::ChosenFault& fault : options.faults) {
        if (fault.scenario->needsTls && !options.hasTls) {
            return "the fault " + std::string(fault.scenario->name) + " needs --tls";
        }
    }
    return std::nullopt;
}

} // namespace

std::variant<ServeOptions, HelpWanted, ListWanted, Refusal> parseServeOptions(std::span<const std::string> arguments) {
    ServeOptions options;
    std::vector<std::string> rest;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string& name = arguments[at];
        if (name == "--list-faults") {
            return ListWanted{};
        }
        if (name == "--tls") {
            options.hasTls = true;
        } else if (!takesValue(name)) {
            rest.push_back(name);
        } else if (++at == arguments.size()) {
            return Refusal{name + " needs a value"};
        } else if (const auto wrong = setValue(options, name, arguments[at])) {
            return Refusal{*wrong};
        }
    }
    // The program `portal` cannot do without an image; a box makes one.
    if (std::ranges::find(rest, "--image") == rest.end()) {
        rest.insert(rest.begin(), {"--image", ""});
    }
    auto common = parseOptions(rest);
    if (std::holds_alternative<HelpWanted>(common)) {
        return HelpWanted{};
    }
    if (const auto* const refusal = std::get_if<Refusal>(&common)) {
        return *refusal;
    }
    options.portal = std::get<portal::Options>(common);
    const auto wrong = whatIsWrong(options);
    return wrong ? std::variant<ServeOptions, HelpWanted, ListWanted, Refusal>(Refusal{*wrong}) : options;
}

std::string serveHelp() {
    return kHelp;
}

std::string faultList() {
    std::ostringstream text;
    for (const faults::Scenario* const scenario : faults::scenarios()) {
        const std::string value = scenario->value.empty() ? "" : "=" + std::string(scenario->value);
        const char* const answer = scenario->spoil == nullptr ? "" : "[@ANSWER]";
        text << std::left << std::setw(36) << std::string(scenario->name) + value + answer << scenario->meaning
             << (scenario->isOfProxy ? " (with http_proxy and https_proxy set to this portal)" : "") << '\n';
    }
    return text.str();
}

} // namespace portal::serve
