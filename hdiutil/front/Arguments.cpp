#include "hdiutil/front/Arguments.h"

#include "hdiutil/image/Codec.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <functional>
#include <map>
#include <string_view>

namespace hdi {
namespace {

// Consumes the words of one option, its value included.
class Words {
public:
    explicit Words(const std::vector<std::string>& words) : words_(words) {}

    bool atEnd() const { return next_ == words_.size(); }
    const std::string& take() { return words_[next_++]; }
    const std::string& valueOf(const std::string& option) {
        if (atEnd()) {
            throw UsageError(option + ": needs a value");
        }
        return take();
    }

private:
    const std::vector<std::string>& words_;
    std::size_t next_ = 0;
};

using Handler = std::function<void(Arguments&, Words&)>;
using Handlers = std::map<std::string, Handler, std::less<>>;

Handler ignored() {
    return [](Arguments&, Words&) {};
}

Handler flag(bool Arguments::*field, bool value) {
    return [=](Arguments& arguments, Words&) { arguments.*field = value; };
}

Handler createText(const std::string& option, std::string CreateOptions::*field) {
    return [=](Arguments& arguments, Words& words) { arguments.create.*field = words.valueOf(option); };
}

[[noreturn]] void unknownValue(const std::string& option, const std::string& value) {
    throw UsageError(option + ": \"" + value + "\" is not one of the known values");
}

Handler createFormat(const std::string& option) {
    return [=](Arguments& arguments, Words& words) {
        const std::string& value = words.valueOf(option);
        const Codec* const codec = codecOf(value);
        if (codec == nullptr || codec->encode == nullptr) {
            unknownValue(option, value);
        }
        arguments.create.format = codec->type;
    };
}

Handler createChoice(const std::string& option, std::string CreateOptions::*field,
                     const std::vector<std::string>& choices) {
    return [=](Arguments& arguments, Words& words) {
        const std::string& value = words.valueOf(option);
        if (std::find(choices.begin(), choices.end(), value) == choices.end()) {
            unknownValue(option, value);
        }
        arguments.create.*field = value;
    };
}

// A number with a unit, as 512k, 20m, 1g or 8b, which are sectors.
std::uint64_t bytesOf(const std::string& option, const std::string& text) {
    constexpr std::string_view kUnits = "bkmgt";
    constexpr std::array<std::uint64_t, kUnits.size()> kBytes = {512, 1ULL << 10U, 1ULL << 20U, 1ULL << 30U,
                                                                 1ULL << 40U};
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    const std::size_t unit = rest + 1 == end ? kUnits.find(*rest) : std::string_view::npos;
    if (error != std::errc() || unit == std::string_view::npos || number == 0 ||
        number > (std::uint64_t{1} << 60U) / kBytes.at(unit)) {
        throw UsageError(option + ": \"" + text + "\" is no size such as 512k, 20m or 1g");
    }
    return number * kBytes.at(unit);
}

// Sets it for the verb that was given; only one of both looks.
Handler encryption(const std::string& option) {
    return [=](Arguments& arguments, Words& words) {
        const std::string& value = words.valueOf(option);
        if (value != "AES-128" && value != "AES-256") {
            unknownValue(option, value);
        }
        arguments.create.encryptionBits = value == "AES-128" ? 128 : 256;
        arguments.convert.encryptionBits = arguments.create.encryptionBits;
    };
}

// Formats that are the disk as it stands.
constexpr std::string_view kRawFormats[] = {"UDRW", "UDTO"};

Handler convertFormat(const std::string& option) {
    return [=](Arguments& arguments, Words& words) {
        const std::string& value = words.valueOf(option);
        const Codec* const codec = codecOf(value);
        const bool isRaw = std::ranges::find(kRawFormats, value) != std::end(kRawFormats);
        if (!isRaw && (codec == nullptr || codec->encode == nullptr)) {
            unknownValue(option, value);
        }
        arguments.convert.format = isRaw ? std::nullopt : std::optional(codec->type);
        arguments.convert.isFormatGiven = true;
    };
}

bool takesOperand(Verb verb) {
    return verb != Verb::kInfo && verb != Verb::kHelp && verb != Verb::kVersion;
}

void takeOperand(Arguments& arguments, const std::string& verb, const std::string& word) {
    const bool isFolder = arguments.verb == Verb::kExtract && !arguments.operand.empty();
    std::string& operand = isFolder ? arguments.folder : arguments.operand;
    if (!takesOperand(arguments.verb) || !operand.empty()) {
        throw UsageError(verb + ": \"" + word + "\" is one argument too many");
    }
    if (word.empty()) {
        throw UsageError(verb + ": an argument is empty");
    }
    operand = word;
}

// Everything that is mounted here is read-only and shown by nothing, so two options of macOS's tool are only
// accepted.
Handlers attachHandlers() {
    return {{"-mountpoint", [](Arguments& a, Words& words) { a.mountPoint = words.valueOf("-mountpoint"); }},
            {"-readonly", ignored()},
            {"-nobrowse", ignored()},
            {"-stdinpass", flag(&Arguments::passwordFromInput, true)},
            {"-noverify", flag(&Arguments::verify, false)},
            {"-quiet", flag(&Arguments::quiet, true)},
            {"-plist", flag(&Arguments::plist, true)}};
}

Handlers createHandlers() {
    return {{"-srcfolder", createText("-srcfolder", &CreateOptions::sourceFolder)},
            {"-volname", createText("-volname", &CreateOptions::volumeName)},
            {"-format", createFormat("-format")},
            {"-licence", createText("-licence", &CreateOptions::licencePath)},
            {"-fs", createChoice("-fs", &CreateOptions::fileSystem, {"HFS+", "HFSX"})},
            {"-layout", createChoice("-layout", &CreateOptions::layout, {"NONE", "GPTSPUD", "SPUD"})},
            {"-o", [](Arguments& a, Words& words) { takeOperand(a, "create", words.valueOf("-o")); }},
            {"-size", [](Arguments& a, Words& words) { a.create.size = bytesOf("-size", words.valueOf("-size")); }},
            {"-encryption", encryption("-encryption")},
            {"-stdinpass", flag(&Arguments::passwordFromInput, true)},
            {"-ov", [](Arguments& a, Words&) { a.create.replace = true; }},
            {"-quiet", flag(&Arguments::quiet, true)}};
}

Handlers convertHandlers() {
    return {{"-format", convertFormat("-format")},
            {"-o", [](Arguments& a, Words& words) { a.convert.output = words.valueOf("-o"); }},
            {"-encryption", encryption("-encryption")},
            {"-stdinpass", flag(&Arguments::passwordFromInput, true)},
            {"-ov", [](Arguments& a, Words&) { a.convert.replace = true; }},
            {"-quiet", flag(&Arguments::quiet, true)}};
}

Handlers handlersOf(Verb verb) {
    switch (verb) {
    case Verb::kAttach:
        return attachHandlers();
    case Verb::kDetach:
    case Verb::kUnmount:
        return {{"-force", flag(&Arguments::force, true)}, {"-quiet", flag(&Arguments::quiet, true)}};
    case Verb::kInfo:
        return {{"-plist", flag(&Arguments::plist, true)}};
    case Verb::kImageInfo:
        return {{"-plist", flag(&Arguments::plist, true)}, {"-stdinpass", flag(&Arguments::passwordFromInput, true)}};
    case Verb::kVerify:
        return {{"-quiet", flag(&Arguments::quiet, true)}, {"-stdinpass", flag(&Arguments::passwordFromInput, true)}};
    case Verb::kCreate:
        return createHandlers();
    case Verb::kConvert:
        return convertHandlers();
    case Verb::kExtract:
        return {{"-noverify", flag(&Arguments::verify, false)},
                {"-stdinpass", flag(&Arguments::passwordFromInput, true)},
                {"-quiet", flag(&Arguments::quiet, true)}};
    case Verb::kHelp:
    case Verb::kVersion:
        return {};
    }
    return {}; // of no enumerator
}

Verb verbNamed(const std::string& word) {
    static const std::map<std::string_view, Verb> kVerbs = {
        {"attach", Verb::kAttach},   {"mount", Verb::kAttach},        {"detach", Verb::kDetach},
        {"eject", Verb::kDetach},    {"unmount", Verb::kUnmount},     {"info", Verb::kInfo},
        {"verify", Verb::kVerify},   {"create", Verb::kCreate},       {"convert", Verb::kConvert},
        {"extract", Verb::kExtract}, {"imageinfo", Verb::kImageInfo}, {"--help", Verb::kHelp},
        {"-h", Verb::kHelp},         {"help", Verb::kHelp},           {"--version", Verb::kVersion},
        {"version", Verb::kVersion}};
    const auto found = kVerbs.find(word);
    if (found == kVerbs.end()) {
        throw UsageError("\"" + word + "\" is not a verb");
    }
    return found->second;
}

void requireConvertOptions(const ConvertOptions& options) {
    if (!options.isFormatGiven) {
        throw UsageError("convert: -format is missing");
    }
    if (options.output.empty()) {
        throw UsageError("convert: -o is missing");
    }
}

// What is not known before the end cannot be written there: the trailer says where everything lies.
void refuseStandardOutput(const std::string& verb, const std::string& path) {
    if (path == "-") {
        throw UsageError(verb + ": an image cannot be written to standard output, only to a file");
    }
}

void requireOperand(const Arguments& arguments, const std::string& verb) {
    if (takesOperand(arguments.verb) && arguments.operand.empty()) {
        const bool detaches = arguments.verb == Verb::kDetach || arguments.verb == Verb::kUnmount;
        throw UsageError(verb + ": " + (detaches ? "no device or mount point given" : "no image given"));
    }
    if (arguments.verb == Verb::kExtract && arguments.folder.empty()) {
        throw UsageError("extract: no folder given");
    }
    if (arguments.verb == Verb::kConvert) {
        requireConvertOptions(arguments.convert);
        refuseStandardOutput(verb, arguments.convert.output);
    }
    if (arguments.verb == Verb::kCreate) {
        refuseStandardOutput(verb, arguments.operand);
    }
    if (arguments.verb == Verb::kCreate && arguments.create.sourceFolder.empty() && arguments.create.size == 0) {
        throw UsageError("create: -srcfolder is missing");
    }
    if (arguments.verb == Verb::kCreate && arguments.create.volumeName.empty()) {
        throw UsageError("create: -volname is missing");
    }
}

[[noreturn]] void failAtOption(const std::string& verb, const std::string& word) {
    throw UsageError(verb + ": unknown option \"" + word + "\"");
}

} // namespace

Arguments parseArguments(const std::vector<std::string>& words) {
    if (words.empty()) {
        throw UsageError("no verb given");
    }
    Words rest(words);
    const std::string verb = rest.take();
    Arguments arguments;
    arguments.verb = verbNamed(verb);
    const Handlers handlers = handlersOf(arguments.verb);
    while (!rest.atEnd()) {
        const std::string& word = rest.take();
        const auto handler = handlers.find(word);
        if (handler != handlers.end()) {
            handler->second(arguments, rest);
        } else if (word.size() > 1 && word.front() == '-') {
            failAtOption(verb, word);
        } else {
            takeOperand(arguments, verb, word);
        }
    }
    requireOperand(arguments, verb);
    return arguments;
}

} // namespace hdi
