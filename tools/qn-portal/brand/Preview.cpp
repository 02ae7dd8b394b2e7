#include "tools/qn-portal/brand/Preview.h"

#include "tools/qn-portal/check/Settings.h"
#include "tools/qn-portal/screens/BrandedBundle.h"
#include "tools/qn-portal/screens/Stage.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>

#include <array>
#include <stdexcept>
#include <vector>

using namespace Qt::StringLiterals;

namespace portal::brand {

namespace {

constexpr int kThumbnail = 360; // pixels across

struct Screen {
    QString file;
    QString title;
};

const std::array<Screen, 5>& shownScreens() {
    static const std::array<Screen, 5> kScreens{
        Screen{u"connecting"_s, u"Connecting"_s}, Screen{u"download"_s, u"Download"_s},
        Screen{u"no-internet"_s, u"No internet"_s}, Screen{u"error"_s, u"Error"_s}, Screen{u"alert"_s, u"Question"_s}};
    return kScreens;
}

void takePictures(const screens::Stage& stage, const PreviewOptions& options) {
    std::vector<screens::Showing> showings;
    for (const QString& language : options.languages) {
        const QString prefix = QDir(options.output).absoluteFilePath(language + u'-');
        showings.push_back({check::localeFor(language), u"1"_s, {u"pictures"_s, prefix}});
    }
    stage.show(showings, [](const screens::Showing& showing, const std::optional<QByteArray>& printed) {
        if (!printed) {
            throw std::runtime_error("the screens cannot be shown in " + showing.locale.toStdString());
        }
    });
}

QString fileOf(const QString& language, const Screen& screen) {
    return u"%1-%2.png"_s.arg(language, screen.file);
}

void writePage(const PreviewOptions& options) {
    QString rows;
    for (const QString& language : options.languages) {
        rows += u"<tr><th scope=\"row\">%1</th>"_s.arg(language);
        for (const Screen& screen : shownScreens()) {
            rows += u"<td><a href=\"%1\"><img loading=\"lazy\" src=\"%1\" alt=\"%2 in %3\"></a></td>"_s.arg(
                fileOf(language, screen), screen.title, language);
        }
        rows += u"</tr>\n"_s;
    }
    QString heads;
    for (const Screen& screen : shownScreens()) {
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
        for (std::size_t column = 0; column < shownScreens().size(); ++column) {
            const QImage picture(folder.filePath(fileOf(options.languages[row], shownScreens()[column])));
            const QImage small = picture.scaledToWidth(kThumbnail, Qt::SmoothTransformation);
            if (sheet.isNull()) {
                height = small.height();
                sheet = QImage(kThumbnail * static_cast<int>(shownScreens().size()),
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
    const screens::Stage stage(options.bundle, options.program);
    screens::putBrand(options.brand, stage.bundle());
    takePictures(stage, options);
    writePage(options);
    writeSheet(options);
}

} // namespace portal::brand
