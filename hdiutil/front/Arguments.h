#pragma once

#include "hdiutil/front/FrontError.h"
#include "hdiutil/image/UdifTable.h"

#include <optional>
#include <string>
#include <vector>

namespace hdi {

enum class Verb {
    kAttach,
    kDetach,
    kUnmount,
    kInfo,
    kImageInfo,
    kVerify,
    kCreate,
    kConvert,
    kExtract,
    kHelp,
    kVersion
};

// What `create` was asked for.
struct CreateOptions {
    std::string sourceFolder;
    std::string volumeName;
    RunType format = RunType::kZlib; // of a codec that encodes
    std::string fileSystem = "HFS+";
    std::string layout = "GPTSPUD";
    std::string licencePath;
    std::uint64_t size = 0; // of the volume, in bytes, at least
    bool replace = false;
    std::uint32_t encryptionBits = 0; // 0: not encrypted
};

// What `convert` was asked for.
struct ConvertOptions {
    std::string output;
    std::optional<RunType> format; // of a codec that encodes; absent: raw
    bool isFormatGiven = false;
    bool replace = false;
    std::uint32_t encryptionBits = 0; // 0: not encrypted
};

// A command line that was understood.
struct Arguments {
    Verb verb = Verb::kHelp;
    std::string operand; // image, mount point or device; empty where the verb has none
    std::string folder;  // of `extract`
    std::optional<std::string> mountPoint;
    bool verify = true;
    bool quiet = false;
    bool plist = false;
    bool force = false;
    bool passwordFromInput = false;
    CreateOptions create;
    ConvertOptions convert;
};

// A command line that was not. what() names the offending word; the caller adds where help is to be had.
class UsageError : public FrontError {
public:
    explicit UsageError(const std::string& message) : FrontError(message, kStatusUsage) {}
};

// Reads the words after the program's name. Options may stand before or after the operand, as users of the tool write
// them. Throws UsageError. Pure.
Arguments parseArguments(const std::vector<std::string>& words);

// What --help prints.
std::string helpText();

} // namespace hdi
