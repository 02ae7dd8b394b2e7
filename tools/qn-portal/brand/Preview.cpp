#include "tools/qn-portal/brand/Preview.h"

#include "tools/qn-portal/brand/BrandedBundle.h"
#include "tools/qn-portal/check/Settings.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <array>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <vector>

using namespace Qt::StringLiterals;

namespace portal::brand {

namespace {

constexpr std::size_t kAtOnce = 3;
constexpr int kThumbnail = 360;      // pixels across
constexpr int kLongestRun = 120'000; // milliseconds

struct Screen {
    QString file;
    QString title;
};

const std::array<Screen, 5>& screens() {
    static const std::array<Screen, 5> kScreens{
        Screen{u"connecting"_s, u"Connecting"_s}, Screen{u"download"_s, u"Download"_s},
        Screen{u"no-internet"_s, u"No internet"_s}, Screen{u"error"_s, u"Error"_s}, Screen{u"alert"_s, u"Question"_s}};
    return kScreens;
}

// A copy of the bundle with the brand, a home and a machine without a network: a stage for the screens.
class Stage {
public:
    explicit Stage(const PreviewOptions& options) {
        const std::filesystem::path copy = path(u"Preview.app"_s).toStdString();
        std::filesystem::copy(options.bundle.toStdString(), copy,
                              std::filesystem::copy_options::recursive | std::filesystem::copy_options::copy_symlinks);
        std::filesystem::copy_file(options.program.toStdString(), copy / "Contents/MacOS/QNInstaller",
                                   std::filesystem::copy_options::overwrite_existing);
        putBrand(options.brand, path(u"Preview.app"_s));
        for (const QString& folder : {u"home"_s, u"runtime"_s, u"root/proc/net"_s}) {
            QDir().mkpath(path(folder));
        }
        std::filesystem::permissions(path(u"runtime"_s).toStdString(), std::filesystem::perms::owner_all);
        for (const QString& name : {u"route"_s, u"ipv6_route"_s}) {
            QFile file(path(u"root/proc/net/"_s + name));
            if (!file.open(QIODevice::WriteOnly)) {
                throw std::runtime_error("no room for the preview");
            }
            file.write(name == u"route" ? "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\n" : "");
        }
    }

    QString path(const QString& name) const { return folder_.filePath(name); }

    QProcessEnvironment environment(const QString& language) const {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const QString& name : {u"WAYLAND_DISPLAY"_s, u"LANGUAGE"_s, u"LC_ALL"_s, u"LC_MESSAGES"_s}) {
            environment.remove(name);
        }
        environment.insert(u"HOME"_s, path(u"home"_s));
        environment.insert(u"XDG_RUNTIME_DIR"_s, path(u"runtime"_s));
        environment.insert(u"QN_SYSTEM_ROOT"_s, path(u"root"_s));
        environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        environment.insert(u"LANG"_s, check::localeFor(language).replace(u'-', u'_') + u".UTF-8"_s);
        return environment;
    }

private:
    QTemporaryDir folder_;
};

std::unique_ptr<QProcess> started(const Stage& stage, const QString& language, const QString& prefix) {
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(stage.environment(language));
    process->setProcessChannelMode(QProcess::MergedChannels);
    // The compositor has no word to say that it is ready; its first picture would be a grey screen.
    process->start(u"xvfb-run"_s, {u"-a"_s, u"-s"_s, u"-screen 0 1920x1400x24 -noreset"_s, u"sh"_s, u"-c"_s,
                                   u"xcompmgr & sleep 1; \"$0\" \"$1\"; status=$?; kill $!; exit $status"_s,
                                   stage.path(u"Preview.app/Contents/MacOS/QNInstaller"_s), prefix});
    return process;
}

void awaitEnd(QProcess& process, const QString& language) {
    const bool hasEnded = process.waitForFinished(kLongestRun);
    if (!hasEnded || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        const QString said = QString::fromUtf8(process.readAll()).trimmed().section(u'\n', -1);
        process.kill();
        process.waitForFinished();
        throw std::runtime_error(
            (u"no pictures in "_s + language + u": "_s + process.errorString() + u" "_s + said).toStdString());
    }
}

// Some languages at once: each has a display of its own.
void takePictures(const Stage& stage, const PreviewOptions& options) {
    std::vector<std::pair<QString, std::unique_ptr<QProcess>>> running;
    for (const QString& language : options.languages) {
        if (running.size() == kAtOnce) {
            awaitEnd(*running.front().second, running.front().first);
            running.erase(running.begin());
        }
        const QString prefix = QDir(options.output).absoluteFilePath(language + u'-');
        running.emplace_back(language, started(stage, language, prefix));
    }
    for (const auto& [language, process] : running) {
        awaitEnd(*process, language);
    }
}

QString fileOf(const QString& language, const Screen& screen) {
    return u"%1-%2.png"_s.arg(language, screen.file);
}

void writePage(const PreviewOptions& options) {
    QString rows;
    for (const QString& language : options.languages) {
        rows += u"<tr><th scope=\"row\">%1</th>"_s.arg(language);
        for (const Screen& screen : screens()) {
            rows += u"<td><a href=\"%1\"><img loading=\"lazy\" src=\"%1\" alt=\"%2 in %3\"></a></td>"_s.arg(
                fileOf(language, screen), screen.title, language);
        }
        rows += u"</tr>\n"_s;
    }
    QString heads;
    for (const Screen& screen : screens()) {
        heads += u"<th scope=\"col\">%1</th>"_s.arg(screen.title);
    }
    const QString name = QDir(options.brand).dirName().toHtmlEscaped();
    const QString page =
        u"<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>%1</title>\n<style>:root { "
        "color-scheme: light dark; } body { font: 15px/1.4 system-ui, sans-serif; margin: 1.5rem; } img { width: "
        "320px; }"
        " th { text-align: left; }</style></head><body>\n<h1>%1</h1>\n<table><thead><tr><th "
        "scope=\"col\">Language</th>%2</tr></thead><tbody>\n%3</tbody></table></body></html>\n"_s.arg(name, heads,
                                                                                                      rows);
    QFile file(QDir(options.output).filePath(u"index.html"_s));
    if (!file.open(QIODevice::WriteOnly) || file.write(page.toUtf8()) < 0) {
        throw std::runtime_error((file.fileName() + u" cannot be written"_s).toStdString());
    }
}

void writeSheet(const PreviewOptions& options) {
    const QDir folder(options.output);
    int height = 0;
    QImage sheet;
    for (qsizetype row = 0; row < options.languages.size(); ++row) {
        for (std::size_t column = 0; column < screens().size(); ++column) {
            const QImage picture(folder.filePath(fileOf(options.languages[row], screens()[column])));
            const QImage small = picture.scaledToWidth(kThumbnail, Qt::SmoothTransformation);
            if (sheet.isNull()) {
                height = small.height();
                sheet = QImage(kThumbnail * static_cast<int>(screens().size()),
                               height * static_cast<int>(options.languages.size()), QImage::Format_RGB32);
                sheet.fill(Qt::white);
            }
            QPainter(&sheet).drawImage(kThumbnail * static_cast<int>(column), height * static_cast<int>(row), small);
        }
    }
    if (!sheet.save(folder.filePath(u"contact-sheet.png"_s))) {
        throw std::runtime_error("the contact sheet cannot be written");
    }
}

} // namespace

void makePreview(const PreviewOptions& options) {
    if (!QDir().mkdir(options.output)) {
        throw std::runtime_error((options.output + u" is there already, or cannot be made"_s).toStdString());
    }
    const Stage stage(options);
    takePictures(stage, options);
    writePage(options);
    writeSheet(options);
}

} // namespace portal::brand
