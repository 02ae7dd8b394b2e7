#include "platform/Display.h"

#include "base/Descriptor.h"
#include "platform/base/WindowPlugin.h"

#include <QFile>
#include <QFileInfo>

#include <fontconfig/fontconfig.h>
#include <xcb/xcb.h>

#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>
#include <future>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

// The socket of the compositor: $WAYLAND_DISPLAY, below the runtime folder unless it is absolute.
QByteArray waylandSocket() {
    const QByteArray name = qgetenv("WAYLAND_DISPLAY");
    return name.isEmpty() || name.startsWith('/') ? name : qgetenv("XDG_RUNTIME_DIR") + '/' + name;
}

bool waylandAnswers() {
    const QByteArray path = waylandSocket();
    sockaddr_un address{};
    if (path.isEmpty() || static_cast<std::size_t>(path.size()) >= sizeof address.sun_path) {
        return false;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    const base::Descriptor compositor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto* const general = reinterpret_cast<const sockaddr*>(&address); // NOLINT: the API's way
    return ::connect(compositor.get(), general, sizeof address) == 0;
}

bool xServerAnswers() {
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

// A system without a configuration may have fonts all the same; fontconfig by itself would complain on the console.
constexpr const char* kPlainConfiguration = "<fontconfig><dir>/usr/share/fonts</dir><dir prefix=\"xdg\">fonts</dir>"
                                            "<cachedir prefix=\"xdg\">fontconfig</cachedir></fontconfig>";

const FcChar8* letters(const char* text) {
    return reinterpret_cast<const FcChar8*>(text); // NOLINT: the API's way
}

void readFonts(const QByteArray& ownFonts) {
    FcConfig* const fonts = FcConfigCreate();
    FcChar8* const configuration = FcConfigGetFilename(fonts, nullptr);
    if (configuration != nullptr) {
        FcConfigParseAndLoad(fonts, configuration, FcFalse);
    } else {
        FcConfigParseAndLoadFromMemory(fonts, letters(kPlainConfiguration), FcFalse);
    }
    FcStrFree(configuration);
    FcConfigBuildFonts(fonts);
    FcConfigAppFontAddDir(fonts, letters(ownFonts.constData()));
    FcConfigSetCurrent(fonts);
    FcConfigDestroy(fonts); // which keeps it, being the current one
}

std::future<void>& readingFonts() {
    static auto* const reading = new std::future<void>; // never destroyed: the process ends without waiting for it
    return *reading;
}

} // namespace

std::optional<QByteArray> windowSystemPlugin(const QString& pluginsFolder) {
    if (hasWindowPlugin(pluginsFolder, u"wayland"_s, u".so"_s) && waylandAnswers()) {
        return "wayland";
    }
    if (hasWindowPlugin(pluginsFolder, u"xcb"_s, u".so"_s) && xServerAnswers()) {
        return "xcb";
    }
    return std::nullopt;
}

// Where no thread is to be had, they are read by whoever waits.
void addOwnFonts(const QString& folder) {
    if (QFileInfo(folder).isDir()) {
        readingFonts() = std::async([path = QFile::encodeName(folder)] { readFonts(path); });
    }
}

void waitForOwnFonts() {
    if (readingFonts().valid()) {
        readingFonts().wait();
    }
}

} // namespace platform
