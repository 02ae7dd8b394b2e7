#include "hdiutil/front/Arguments.h"

#include "hdiutil/image/Codec.h"

#include <algorithm>
#include <array>
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

// The formats that images are made with, as "UDRO|UDZO".
std::string formatNames() {
    std::string names;
    for (const Codec& codec : codecs()) {
        if (codec.encode != nullptr) {
            names += (names.empty() ? "" : "|") + std::string(codec.format);
        }
    }
    return names;
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

// Everything that is mounted here is read-only and shown by nothing, so two options of macOS's tool are only
// accepted.
Handlers attachHandlers() {
    return {{"-mountpoint", [](Arguments& a, Words& words) { a.mountPoint = words.valueOf("-mountpoint"); }},
            {"-readonly", ignored()},
            {"-nobrowse", ignored()},
            {"-noverify", flag(&Arguments::verify, false)},
            {"-quiet", flag(&Arguments::quiet, true)},
            {"-plist", flag(&Arguments::plist, true)}};
}

Handlers createHandlers() {
    return {{"-srcfolder", createText("-srcfolder", &CreateOptions::sourceFolder)},
            {"-volname", createText("-volname", &CreateOptions::volumeName)},
            {"-format", createFormat("-format")},
            {"-fs", createChoice("-fs", &CreateOptions::fileSystem, {"HFS+", "HFSX"})},
            {"-layout", createChoice("-layout", &CreateOptions::layout, {"NONE", "GPTSPUD", "SPUD"})},
            {"-ov", [](Arguments& a, Words&) { a.create.replace = true; }},
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
    case Verb::kImageInfo:
        return {{"-plist", flag(&Arguments::plist, true)}};
    case Verb::kVerify:
        return {{"-quiet", flag(&Arguments::quiet, true)}};
    case Verb::kCreate:
        return createHandlers();
    case Verb::kHelp:
    case Verb::kVersion:
        return {};
    }
    return {}; // of no enumerator
}

Verb verbNamed(const std::string& word) {
    static const std::map<std::string_view, Verb> kVerbs = {
        {"attach", Verb::kAttach},     {"mount", Verb::kAttach},    {"detach", Verb::kDetach},
        {"eject", Verb::kDetach},      {"unmount", Verb::kUnmount}, {"info", Verb::kInfo},
        {"verify", Verb::kVerify},     {"create", Verb::kCreate},   {"imageinfo", Verb::kImageInfo},
        {"--help", Verb::kHelp},       {"-h", Verb::kHelp},         {"help", Verb::kHelp},
        {"--version", Verb::kVersion}, {"version", Verb::kVersion}};
    const auto found = kVerbs.find(word);
    if (found == kVerbs.end()) {
        throw UsageError("\"" + word + "\" is not a verb");
    }
    return found->second;
}

bool takesOperand(Verb verb) {
    return verb != Verb::kInfo && verb != Verb::kHelp && verb != Verb::kVersion;
}

void requireOperand(const Arguments& arguments, const std::string& verb) {
    if (takesOperand(arguments.verb) && arguments.operand.empty()) {
        const bool detaches = arguments.verb == Verb::kDetach || arguments.verb == Verb::kUnmount;
        throw UsageError(verb + ": " + (detaches ? "no device or mount point given" : "no image given"));
    }
    if (arguments.verb == Verb::kCreate && arguments.create.sourceFolder.empty()) {
        throw UsageError("create: -srcfolder is missing");
    }
    if (arguments.verb == Verb::kCreate && arguments.create.volumeName.empty()) {
        throw UsageError("create: -volname is missing");
    }
}

void takeOperand(Arguments& arguments, const std::string& verb, const std::string& word) {
    if (!takesOperand(arguments.verb) || !arguments.operand.empty()) {
        throw UsageError(verb + ": \"" + word + "\" is one argument too many");
    }
    if (word.empty()) {
        throw UsageError(verb + ": an argument is empty");
    }
    arguments.operand = word;
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

std::string helpText() {
    return "Usage: hdiutil VERB [OPTIONS] [ARGUMENT]\n"
           "\n"
           "  attach, mount IMAGE     show the volumes of a disk image below /Volumes; prints one line per partition\n"
           "      -mountpoint FOLDER  use this folder instead of /Volumes/NAME (image with one volume); an empty one, "
           "or\n"
           "                          one that is made now and goes with detach\n"
           "      -noverify           do not check the image's checksum\n"
           "      -plist              print a property list instead of the table\n"
           "      -quiet              print nothing; the exit status tells\n"
           "      -readonly, -nobrowse  accepted; volumes are always read-only and never shown\n"
           "  detach, eject DISK      take back what attach did; DISK is /Volumes/NAME, a folder, diskN or /dev/diskN\n"
           "  unmount VOLUME          the same for one volume, the disk stays attached\n"
           "      -force              also when files are open\n"
           "  info [-plist]           list what is attached\n"
           "  imageinfo IMAGE [-plist]  describe an image\n"
           "  verify IMAGE            check all checksums of an image\n"
           "  create -srcfolder FOLDER -volname NAME [OPTIONS] IMAGE\n"
           "      -format " +
           formatNames() +
           "   (UDZO)\n"
           "      -fs HFS+|HFSX                      (HFS+)\n"
           "      -layout NONE|GPTSPUD|SPUD          (GPTSPUD)\n"
           "      -ov                                replace an image that is there\n"
           "  --help, --version\n"
           "\n"
           "Exit status: 0 done, 1 failed, 16 busy, 64 wrong usage.\n"
           "/Volumes stands for $QN_SYSTEM_ROOT/Volumes, else $XDG_RUNTIME_DIR/Volumes, else /tmp/volumes-UID.\n";
}

} // namespace hdi
