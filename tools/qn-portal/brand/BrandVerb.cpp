#include "tools/qn-portal/brand/BrandVerb.h"

#include "tools/qn-portal/Verb.h"
#include "tools/qn-portal/brand/NewBrand.h"

#include <cstdio>
#include <exception>

namespace portal {

namespace {

constexpr const char* kHelp = R"(qn-portal brand new NAME

Makes the folder NAME for a brand: an Info.plist with every setting and what it is for, a table for each language in which
texts can be replaced, and a folder for pictures. NAME is small letters, digits and hyphens.

Exit status: 0 made, 2 a wrong command line, or a folder that is there already or cannot be made.
)";

int refuse(const std::string& reason) {
    std::fprintf(stderr, "qn-portal brand: %s; see qn-portal brand --help\n", reason.c_str());
    return kCannotDo;
}

int makeNew(const std::string& name) try {
    if (!brand::isBrandName(name)) {
        return refuse("\"" + name + "\" is no name for a brand");
    }
    brand::makeBrand(name, name);
    std::printf("Made %s. Fill its Info.plist in, then: qn-portal check --offline %s\n", name.c_str(), name.c_str());
    return kGood;
} catch (const std::exception& error) {
    std::fprintf(stderr, "qn-portal brand: %s\n", error.what());
    return kCannotDo;
}

} // namespace

int runBrand(std::span<const std::string> arguments) {
    if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
        std::fputs(kHelp, stdout);
        return kGood;
    }
    if (arguments.size() == 2 && arguments[0] == "new") {
        return makeNew(arguments[1]);
    }
    return refuse("what is wanted?");
}

} // namespace portal
