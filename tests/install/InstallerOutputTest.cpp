#include "install/InstallerOutput.h"
#include "platform/base/PlatformException.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using InstallerOutput::progressOf;

namespace {

using Numbers = std::optional<std::pair<double, double>>;

QString reasonOf(const QString& chunk) {
    try {
        progressOf(chunk);
    } catch (const PlatformException& exception) {
        return exception.name() + u": "_s + exception.reason();
    }
    return u"nothing was raised"_s;
}

} // namespace

TEST(InstallerOutput, ReadsBothNumbersOfAProgressLine) {
    const std::pair<QString, Numbers> rows[] = {
        {u"PROGRESS: 45/100\n"_s, std::pair(45.0, 100.0)},
        {u"PROGRESS: 3.5/7 extra"_s, std::pair(3.5, 7.0)},
        {u"PROGRESS: abc/def"_s, std::pair(0.0, 0.0)},
        {u"PROGRESS: /"_s, std::pair(0.0, 0.0)},
        {u"words before PROGRESS: 1/2\r\n"_s, std::pair(1.0, 2.0)},
        {u"PROGRESS: 1/2\nPROGRESS: 3/4\n"_s, std::pair(1.0, 2.0)},
        {u"no progress"_s, std::nullopt},
        {u"PROGRESS:1/2"_s, std::nullopt},
        {u"progress: 1/2"_s, std::nullopt},
        {u"a/b"_s, std::nullopt},
        {u""_s, std::nullopt},
    };
    for (const auto& [chunk, numbers] : rows) {
        EXPECT_EQ(progressOf(chunk), numbers) << chunk.toStdString();
    }
}

TEST(InstallerOutput, RaisesARangeErrorWithoutASlash) {
    EXPECT_EQ(reasonOf(u"PROGRESS: 50"_s),
              u"NSRangeException: *** -[__NSCFString substringWithRange:]: Range {10, 9223372036854775797} out of "
              "bounds; string length 12"_s);
}

TEST(InstallerOutput, RaisesARangeErrorWhenTheFirstSlashStandsBeforeThePrefix) {
    EXPECT_EQ(reasonOf(u"a/b PROGRESS: 1/2"_s),
              u"NSRangeException: *** -[__NSCFString substringWithRange:]: Range {14, 18446744073709551603} out of "
              "bounds; string length 17"_s);
}
