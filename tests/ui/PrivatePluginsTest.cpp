#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <gtest/gtest.h>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

const QString kProgram = u"" BUILT_BUNDLE "/Contents/MacOS/QNInstaller"_s;
const QString kPlugins = QDir(u"" BUILT_BUNDLE "/Contents/PlugIns"_s).canonicalPath();

// Runs the built program to its first screen under strace and ends it in order; every file that it opened.
QStringList filesOpenedAtStart(const QProcessEnvironment& environment) {
    const QString trace = test::folder() + u"/trace"_s;
    QProcess strace;
    strace.setProcessEnvironment(environment);
    strace.setStandardErrorFile(QProcess::nullDevice());
    strace.start(u"strace"_s, {u"-f"_s, u"-e"_s, u"trace=openat,open"_s, u"-o"_s, trace, kProgram});
    const auto lines = [&] { return QString::fromUtf8(test::readFile(trace)).split(u'\n', Qt::SkipEmptyParts); };
    const bool shown = test::waitFor([&] {
        return QFile::exists(trace) && !lines().filter(u"no_internet"_s).isEmpty() &&
               !lines().filter(u"window_close"_s).isEmpty();
    });
    EXPECT_TRUE(shown);
    if (shown) {
        kill(lines().first().section(u' ', 0, 0).toInt(), SIGTERM);
    }
    EXPECT_TRUE(strace.waitForFinished());
    QStringList files;
    for (const QString& line : lines()) {
        if (!line.contains(u" = -1 "_s)) {
            files += line.section(u'"', 1, 1);
        }
    }
    return files;
}

} // namespace

TEST(PrivatePlugins, AreTheOnlyOnesThatTheProgramOpens) {
    test::putSystemFile(u"/proc/net/route"_s, "Iface\tDestination\tGateway\tFlags\n");
    test::putSystemFile(u"/proc/net/ipv6_route"_s, "");
    // Folders where Qt would look, with the system's own plugins in them.
    const QString foreign = u"" QT_PLUGINS ""_s;
    ASSERT_TRUE(QFile::exists(foreign + u"/platforms/libqxcb.so"_s));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_PLUGIN_PATH"_s, foreign);
    environment.insert(u"QT_QPA_PLATFORM_PLUGIN_PATH"_s, foreign + u"/platforms"_s);
    environment.insert(u"QT_QPA_PLATFORMTHEME"_s, u"gtk3"_s);
    environment.insert(u"QT_STYLE_OVERRIDE"_s, u"Adwaita"_s);
    const QStringList files = filesOpenedAtStart(environment);
    QStringList own;
    for (const QString& file : files) {
        EXPECT_FALSE(file.startsWith(foreign)) << qPrintable(file);
        if (QDir::cleanPath(file).startsWith(kPlugins) && file.endsWith(u".so"_s)) {
            own += QFileInfo(file).fileName();
        }
    }
    own.removeDuplicates();
    EXPECT_EQ(own, QStringList{u"libqxcb.so"_s});
}
