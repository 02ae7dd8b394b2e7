#include "platform/Machine.h"

#include "platform/linux/MachineFacts.h"
#include "platform/linux/ScreenPixels.h"
#include "platform/linux/SystemFile.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <sys/utsname.h>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

utsname kernelNames() {
    utsname names{};
    if (::uname(&names) != 0) {
        return {};
    }
    return names;
}

} // namespace

std::array<int, 3> operatingSystemVersion() {
    // The second is where distributions put it, and the first usually a link to it (os-release(5)).
    const auto own = readSystemFile(u"/etc/os-release"_s);
    const auto release = own ? own : readSystemFile(u"/usr/lib/os-release"_s);
    const auto identifier = release ? versionIdOf(*release) : std::nullopt;
    if (const auto numbers = identifier ? versionNumbers(*identifier) : std::nullopt) {
        return *numbers;
    }
    const auto kernel = versionNumbers(QString::fromLocal8Bit(kernelNames().release));
    return kernel.value_or(std::array<int, 3>{});
}

QSizeF mainScreenSize() {
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) == nullptr) {
        return {0, 0};
    }
    const QWindow* const focused = QGuiApplication::focusWindow();
    const QScreen* const screen = focused != nullptr ? focused->screen() : QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return {0, 0};
    }
    const std::optional<QSize> pixels = pixelsOf(*screen);
    // No size comes out a hair below a whole number of points.
    constexpr double kHair = 1.0e-6;
    return pixels ? QSizeF(*pixels) / screen->devicePixelRatio() + QSizeF(kHair, kHair)
                  : QSizeF(screen->geometry().size());
}

std::optional<QString> localArchitectureDescription() {
    return architectureDescription(QString::fromLocal8Bit(kernelNames().machine));
}

} // namespace platform
