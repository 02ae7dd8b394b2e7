#include "tests/platform/ProgramBundle.h"

#include "tests/support/TestEnvironment.h"

#include <filesystem>
#include <system_error>

using namespace Qt::StringLiterals;

std::string putIntoBundle(const char* program, const QString& name, const QString& identifier) {
    namespace fs = std::filesystem;
    const QString contents = test::folder() + u'/' + name + u".app/Contents"_s;
    test::writeFile(contents + u"/Info.plist"_s, "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" +
                                                     identifier.toUtf8() + "</string></dict></plist>");
    const fs::path target = (contents + u"/MacOS/"_s + name).toStdString();
    fs::create_directories(target.parent_path());
    std::error_code error;
    if (!fs::exists(target)) {
        fs::create_hard_link(program, target, error);
    }
    if (error) {
        fs::copy_file(program, target);
    }
    return target.string();
}
