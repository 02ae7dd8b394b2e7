#include "hdiutil/front/Verbs.h"

#include "base/Files.h"
#include "hdiutil/front/Abandoned.h"
#include "hdiutil/front/Arguments.h"
#include "hdiutil/front/Attach.h"
#include "hdiutil/front/Convert.h"
#include "hdiutil/front/Create.h"
#include "hdiutil/front/Detach.h"
#include "hdiutil/front/Extract.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/MountTable.h"
#include "hdiutil/front/PropertyListText.h"
#include "hdiutil/front/Reports.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <new>
#include <string_view>

namespace hdi {
namespace {

// Nobody may read it; the work is done all the same.
void putError(std::string_view text) {
    (void)base::writeAll(STDERR_FILENO, text);
}

struct Output {
    std::string standardOutput;
    std::string standardError;
    std::string attached; // the disk that this run attached, of which nobody knows yet
};

std::string absolute(const std::string& path) {
    return std::filesystem::absolute(path).string();
}

Output attach(const Arguments& arguments) {
    AttachOptions options;
    options.imagePath = absolute(arguments.operand);
    options.verify = arguments.verify;
    options.passwordFromInput = arguments.passwordFromInput;
    if (arguments.mountPoint) {
        options.mountPoint = absolute(*arguments.mountPoint);
    }
    const AttachResult result = attachImage(options);
    return {arguments.plist ? attachPlist(result.rows) : tableText(result.rows), result.messages,
            result.isNew ? result.rows.front().device : ""};
}

// Those that look after what is attached do so under their own lock, at the right moment.
bool needsWhatIsAttached(Verb verb) {
    return verb == Verb::kAttach || verb == Verb::kDetach || verb == Verb::kUnmount || verb == Verb::kInfo;
}

Output extract(const Arguments& arguments) {
    AttachOptions options;
    options.imagePath = absolute(arguments.operand);
    options.verify = arguments.verify;
    options.passwordFromInput = arguments.passwordFromInput;
    return {"", extractImage(options, arguments.folder), ""};
}

Output run(const Arguments& arguments) {
    if (!needsWhatIsAttached(arguments.verb)) {
        reapBeside();
    }
    switch (arguments.verb) {
    case Verb::kAttach:
        return attach(arguments);
    case Verb::kDetach:
        return {detachImage({arguments.operand, true, arguments.force}), "", ""};
    case Verb::kUnmount:
        return {detachImage({arguments.operand, false, arguments.force}), "", ""};
    case Verb::kInfo:
        return {arguments.plist ? infoPlist(attachedImages()) : infoText(attachedImages()), "", ""};
    case Verb::kImageInfo:
        return {describeImage(arguments.operand, arguments.plist, arguments.passwordFromInput), "", ""};
    case Verb::kVerify:
        return {"", verifyImage(arguments.operand, arguments.passwordFromInput), ""};
    case Verb::kCreate:
        return {createImage(arguments.create, arguments.operand, arguments.passwordFromInput), "", ""};
    case Verb::kConvert:
        return {convertImage(arguments.convert, arguments.operand, arguments.passwordFromInput), "", ""};
    case Verb::kExtract:
        return extract(arguments);
    case Verb::kHelp:
        return {helpText(), "", ""};
    case Verb::kVersion:
        return {"hdiutil " HDIUTIL_VERSION "\n", "", ""};
    }
    return {};
}

// Whoever was to be told of a disk will not look for it, so it does not stay.
void putOutput(const Output& output) {
    if (base::writeAll(STDOUT_FILENO, output.standardOutput)) {
        return;
    }
    const std::string reason = errorText(errno);
    if (!output.attached.empty()) {
        detachImage({output.attached, true, true});
    }
    throw FrontError("standard output - " + reason);
}

int runArguments(const Arguments& arguments) {
    const auto complain = [&](const std::string& message) {
        putError(arguments.quiet ? "" : "hdiutil: " + message + "\n");
    };
    try {
        const Output output = run(arguments);
        if (!arguments.quiet) {
            putError(output.standardError);
            putOutput(output);
        }
        return 0;
    } catch (const FrontError& error) {
        complain(error.what());
        return error.status();
    } catch (const std::bad_alloc&) {
        complain("Cannot allocate memory");
    } catch (const std::exception& error) {
        complain(error.what());
    }
    return kStatusFailed;
}

} // namespace

int runVerb(const std::vector<std::string>& words) {
    std::signal(SIGPIPE, SIG_IGN); // NOLINT(cert-err33-c): always allowed
    try {
        return runArguments(parseArguments(words));
    } catch (const UsageError& error) {
        putError(std::string("hdiutil: ") + error.what() + "\nhdiutil: try \"hdiutil --help\"\n");
        return error.status();
    }
}

} // namespace hdi
