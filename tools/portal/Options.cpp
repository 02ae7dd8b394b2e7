#include "tools/portal/Options.h"

#include <array>
#include <charconv>
#include <functional>

namespace portal {

namespace {

struct EndingName {
    const char* name;
    Ending ending;
    bool needsImage;
};

constexpr std::array kEndings{
    EndingName{"install", Ending::kInstall, true},           EndingName{"open-link", Ending::kOpenLink, false},
    EndingName{"config-error", Ending::kConfigError, false}, EndingName{"http-404", Ending::kHttp404, false},
    EndingName{"bad-image", Ending::kBadImage, false},       EndingName{"two-apps", Ending::kTwoApps, true},
};

// Takes a value into the options; a text says what is wrong with it.
using Setter = std::function<std::optional<std::string>(Options&, const std::string&)>;

std::optional<std::string> setEnding(Options& options, const std::string& value) {
    for (const auto& known : kEndings) {
        if (value == known.name) {
            options.ending = known.ending;
            return std::nullopt;
        }
    }
    return "there is no ending \"" + value + "\"";
}

std::optional<std::string> setPort(Options& options, const std::string& value) {
    constexpr int kLargest = 65535;
    const char* const end = value.data() + value.size();
    const auto result = std::from_chars(value.data(), end, options.port);
    if (result.ec == std::errc() && result.ptr == end && options.port >= 0 && options.port <= kLargest) {
        return std::nullopt;
    }
    return "\"" + value + "\" is no port";
}

template <typename Field>
Setter into(Field Options::*field) {
    return [field](Options& options, const std::string& value) {
        options.*field = value;
        return std::optional<std::string>();
    };
}

struct ValueOption {
    std::string name;
    Setter set;
};

const std::vector<ValueOption>& valueOptions() {
    static const std::vector<ValueOption> options{
        {"--ending", setEnding},
        {"--config", into(&Options::configFile)},
        {"--image", into(&Options::imageFile)},
        {"--record", into(&Options::recordFile)},
        {"--link", into(&Options::link)},
        {"--app-name", into(&Options::appName)},
        {"--command-line-args", into(&Options::commandLineArgs)},
        {"--port", setPort},
    };
    return options;
}

const ValueOption* findOption(const std::string& name) {
    for (const auto& option : valueOptions()) {
        if (option.name == name) {
            return &option;
        }
    }
    return nullptr;
}

std::optional<std::string> whatIsMissing(const Options& options) {
    for (const auto& known : kEndings) {
        const bool isChosen = options.ending == known.ending && !options.configFile;
        if (isChosen && known.needsImage && !options.imageFile) {
            return std::string("the ending \"") + known.name + "\" needs --image FILE";
        }
    }
    return std::nullopt;
}

} // namespace

std::variant<Options, HelpWanted, Refusal> parseOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const auto& name = arguments[at];
        if (name == "--help" || name == "-h") {
            return HelpWanted{};
        }
        if (name == "--auto-open") {
            options.autoOpen = true;
            continue;
        }
        const auto* const option = findOption(name);
        if (!option) {
            return Refusal{"there is no option \"" + name + "\""};
        }
        if (++at == arguments.size()) {
            return Refusal{name + " needs a value"};
        }
        if (const auto wrong = option->set(options, arguments[at])) {
            return Refusal{*wrong};
        }
    }
    if (const auto missing = whatIsMissing(options)) {
        return Refusal{*missing};
    }
    return options;
}

std::string helpText() {
    return R"(portal: the server side of an installation, on the loopback interface, for trying things out.

usage: portal [--ending NAME | --config FILE] [--image FILE] [--record FILE] [options]

It serves a configuration, a disk image and an analytics endpoint on 127.0.0.1 until SIGTERM or SIGINT, and prints one
line of JSON on standard output as soon as it can be reached:

  {"analytics":"http://127.0.0.1:PORT/analytics","config":"http://127.0.0.1:PORT/config.json",
   "image":"http://127.0.0.1:PORT/download/Installer.dmg","port":PORT}

Start the installer with the "config" address as its first argument, or put it into its settings. Each request is told
on standard error in a line of its own.

  --ending NAME     what the installer is to meet:
      install         (default) a configuration whose action is "install", and the image; needs --image
      open-link       a configuration whose action is "openLink"
      config-error    a configuration that is not JSON
      http-404        a good configuration, but the image is answered with status 404
      bad-image       a good configuration, but the image is garbage
      two-apps        as install; --image names an image that holds two applications
  --auto-open       with open-link: the link is opened at once instead of waiting for the user
  --link ADDRESS    with open-link: the link; without this option a page of the portal's own
  --config FILE     serve this file as the configuration instead; @PORTAL@ in it stands for http://127.0.0.1:PORT
  --image FILE      the disk image; read anew for each request, never held in memory
  --app-name NAME   the product's name in the configuration (Sample)
  --command-line-args TEXT
                    what the configuration has the sample installer be given
  --record FILE     append each request as a line of JSON: "time" (seconds since 1970), "method", "target", "headers"
                    (an array of name and value, sorted by name), "body", "status". The line is written before the
                    answer is sent.
  --port NUMBER     listen on this port (any free one)
  --help            this text

Exit status: 0 after SIGTERM or SIGINT, 1 when a file or the port cannot be used, 2 for a wrong command line.
)";
}

} // namespace portal
