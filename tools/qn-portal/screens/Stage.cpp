#include "tools/qn-portal/screens/Stage.h"

#include "tools/qn-portal/screens/ShownScreens.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>

#include <algorithm>
#include <array>
#include <deque>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <thread>

using namespace Qt::StringLiterals;

namespace portal::screens {

namespace {

constexpr int kLongestShowing = 120'000; // milliseconds

void copy(const QString& from, const QString& to) {
    std::filesystem::copy(from.toStdString(), to.toStdString(), std::filesystem::copy_options::recursive);
}

void write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush()) {
        throw std::runtime_error((path + u" cannot be written: "_s + file.errorString()).toStdString());
    }
}

QProcessEnvironment environmentIn(const QTemporaryDir& folder, const Showing& showing) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"LANGUAGE"_s, u"LC_ALL"_s, u"LC_MESSAGES"_s,
                                u"QT_QPA_PLATFORM_PLUGIN_PATH"_s}) {
        environment.remove(name);
    }
    environment.insert(u"HOME"_s, folder.filePath(u"home"_s));
    environment.insert(u"XDG_RUNTIME_DIR"_s, folder.filePath(u"runtime"_s));
    environment.insert(u"QN_SYSTEM_ROOT"_s, folder.filePath(u"root"_s));
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"disabled:"_s);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    environment.insert(u"QT_SCALE_FACTOR"_s, showing.scale);
    environment.insert(u"LANG"_s, QString(showing.locale).replace(u'-', u'_') + u".UTF-8"_s);
    return environment;
}

std::optional<QByteArray> printedBy(QProcess& process) {
    const bool hasEnded = process.waitForFinished(kLongestShowing);
    const bool isGood = hasEnded && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!hasEnded) {
        process.kill();
        process.waitForFinished();
    }
    return isGood ? std::optional(process.readAllStandardOutput()) : std::nullopt;
}

} // namespace

QString installerBundle(const QString& program) {
    const QDir folder = QFileInfo(program).canonicalPath();
    for (const QString& place : {u"QNInstaller.app"_s, u"../lib/qn-portal/QNInstaller.app"_s}) {
        if (QFileInfo(folder.filePath(place)).isDir()) {
            return folder.filePath(place);
        }
    }
    throw std::runtime_error("the installer's bundle, QNInstaller.app, is not beside " + program.toStdString());
}

Stage::Stage(const QString& bundle, const QString& program) {
    for (const QString& folder : {u"Shown.app/Contents/MacOS"_s, u"home"_s, u"runtime"_s, u"root/proc/net"_s}) {
        if (!QDir(folder_.path()).mkpath(folder)) {
            throw std::runtime_error("no room for the screens in " + folder_.path().toStdString());
        }
    }
    std::filesystem::permissions(folder_.filePath(u"runtime"_s).toStdString(), std::filesystem::perms::owner_all);
    copy(bundle + u"/Contents/Info.plist"_s, this->bundle() + u"/Contents/Info.plist"_s);
    copy(bundle + u"/Contents/Resources"_s, this->bundle() + u"/Contents/Resources"_s);
    copy(program, this->bundle() + u"/Contents/MacOS/QNInstaller"_s);
    write(folder_.filePath(u"root/proc/net/route"_s),
          "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\n");
    write(folder_.filePath(u"root/proc/net/ipv6_route"_s), {});
}

QString Stage::bundle() const {
    return folder_.filePath(u"Shown.app"_s);
}

void Stage::show(const std::vector<Showing>& showings, const Seen& seen) const {
    const std::size_t atOnce = std::max(1U, std::thread::hardware_concurrency());
    const QString shows = QString::fromUtf8(kShowScreens.data(), static_cast<qsizetype>(kShowScreens.size()));
    std::deque<std::pair<const Showing*, std::unique_ptr<QProcess>>> running;
    const auto awaitFirst = [&] {
        seen(*running.front().first, printedBy(*running.front().second));
        running.pop_front();
    };
    for (const Showing& showing : showings) {
        if (running.size() == atOnce) {
            awaitFirst();
        }
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(environmentIn(folder_, showing));
        process->setStandardErrorFile(QProcess::nullDevice());
        process->start(bundle() + u"/Contents/MacOS/QNInstaller"_s, QStringList{shows} + showing.words);
        running.emplace_back(&showing, std::move(process));
    }
    while (!running.empty()) {
        awaitFirst();
    }
}

} // namespace portal::screens
