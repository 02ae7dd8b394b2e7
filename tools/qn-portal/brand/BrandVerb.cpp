#include "tools/qn-portal/brand/BrandVerb.h"

#include "tools/qn-portal/Verb.h"
#include "tools/qn-portal/brand/NewBrand.h"
#include "tools/qn-portal/brand/Preview.h"
#include "tools/qn-portal/check/Settings.h"
#include "tools/qn-portal/screens/Stage.h"

#include <QFileInfo>

#include <cstdio>
#include <exception>

using namespace Qt::StringLiterals;

namespace portal {

namespace {

constexpr const char* kHelp = R"(qn-portal brand new NAME
qn-portal brand preview NAME [LANGUAGE…]

Makes the folder NAME for a brand: an Info.plist with every setting and what it is for, a table for each language in which
texts can be replaced, and a folder for pictures. NAME is small letters, digits and hyphens.

preview makes a picture of every screen in every language (or in those that are named) with that brand, in the folder
NAME-preview: index.html shows them all, contact-sheet.png is one picture of all. It needs no display; for a brand with
pictures of its own it needs rsvg-convert (librsvg2-bin).

Exit status: 0 made, 2 a wrong command line, a brand that cannot be used, or a folder that is there already
or cannot be made.
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

QStringList languagesIn(const std::span<const std::string> words) {
    QStringList languages;
    for (const std::string& word : words) {
        languages += QString::fromStdString(word);
    }
    if (languages.isEmpty()) {
        for (const std::string_view language : check::languages()) {
            languages += QString::fromUtf8(language.data(), static_cast<qsizetype>(language.size()));
        }
    }
    return languages;
}

int preview(const std::string& name, std::span<const std::string> languages) try {
    brand::PreviewOptions options;
    options.brand = QString::fromStdString(name);
    options.program = QFileInfo(u"/proc/self/exe"_s).symLinkTarget();
    options.bundle = screens::installerBundle(options.program);
    options.output = options.brand + u"-preview"_s;
    options.languages = languagesIn(languages);
    brand::makePreview(options);
    std::printf("Made %s/index.html and contact-sheet.png.\n", options.output.toLocal8Bit().constData());
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
    if (arguments.size() >= 2 && arguments[0] == "preview") {
        return preview(arguments[1], arguments.subspan(2));
    }
    return refuse("what is wanted?");
}

} // namespace portal
