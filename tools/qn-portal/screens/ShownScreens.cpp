#include "tools/qn-portal/screens/ShownScreens.h"

#include "tools/qn-portal/screens/TextFit.h"
#include "tools/screens/ScreenTour.h"
#include "ui/Layer.h"
#include "ui/Shadow.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QApplication>
#include <QFont>
#include <QFontMetricsF>
#include <QImage>
#include <QPainter>

#include <nlohmann/json.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace portal::screens {

namespace {

constexpr int kAround = 56; // points of desktop around the window
constexpr QRgb kDesktop = qRgb(0xd7, 0xde, 0xe8);

// As a compositor would show it: shadow, rounded corners, a quiet desktop.
bool savePicture(const Window& window, const QString& path) {
    QCoreApplication::processEvents();
    View& content = *window.contentView();
    const double scale = window.devicePixelRatioF();
    const QSize size = content.size() + QSize(2 * kAround, 2 * kAround);
    QImage picture((QSizeF(size) * scale).toSize(), QImage::Format_RGB32);
    picture.setDevicePixelRatio(scale);
    picture.fill(kDesktop);
    QPainter painter(&picture);
    const QPoint corner(kAround, kAround);
    Shadow::paint(painter, QRectF(corner, content.size()), content.layer().cornerRadius);
    content.render(&painter, corner, {}, QWidget::DrawChildren);
    return painter.end() && picture.save(path, "png");
}

int savePictures(const QString& prefix) {
    bool isSaved = true;
    tourScreens([&](const QString& screen, const Window& window) {
        isSaved = savePicture(window, prefix + screen + u".png"_s) && isSaved;
    });
    return isSaved ? 0 : 1;
}

int printMisfits() {
    nlohmann::json all = nlohmann::json::array();
    tourScreens([&](const QString& screen, Window& window) {
        for (const Misfit& misfit : misfitsOf(window)) {
            all.push_back({{"screen", screen.toStdString()},
                           {"text", misfit.text.toStdString()},
                           {"how", misfit.how.toStdString()}});
        }
    });
    std::puts(all.dump().c_str());
    return std::fflush(stdout) == 0 ? 0 : 1;
}

// A font's tables are read with the first text that is set in it. (fontFor() would choose the language.)
void loadFonts() {
    for (const QFont::Weight weight : {QFont::Light, QFont::Normal, QFont::Medium, QFont::Bold}) {
        const QFont font(u"Inter"_s, -1, weight);
        static_cast<void>(QFontMetricsF(font).horizontalAdvance(u"Text"_s));
    }
}

// A language is chosen once in a process. Most of a process's time is its start, so each language gets a copy of one
// that has started, with its fonts, and that has one thread.
int printMisfitsIn(std::span<const std::string> locales) {
    loadFonts();
    for (std::string locale : locales) {
        std::ranges::replace(locale, '-', '_');
        std::fflush(stdout);
        const pid_t copy = ::fork();
        if (copy == 0) {
            ::setenv("LANG", (locale + ".UTF-8").c_str(), 1);
            std::_Exit(printMisfits());
        }
        int status = -1;
        if (copy < 0 || ::waitpid(copy, &status, 0) != copy || status != 0) {
            std::puts("null");
        }
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}

} // namespace

int showScreens(std::span<const std::string> arguments) {
    int count = 1;
    std::string name = "qn-portal";
    char* words[] = {name.data(), nullptr};
    const QApplication application(count, words);
    if (arguments.size() == 2 && arguments[0] == "pictures") {
        return savePictures(QString::fromStdString(arguments[1]));
    }
    return !arguments.empty() && arguments[0] == "texts" ? printMisfitsIn(arguments.subspan(1)) : 2;
}

} // namespace portal::screens
