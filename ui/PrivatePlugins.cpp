#include "ui/PrivatePlugins.h"

#include "platform/Bundle.h"

#include <QCoreApplication>

namespace {

// What the toolkit puts above its list of plugin folders, and above its own choice among them.
constexpr const char* kPlatformPath = "QT_QPA_PLATFORM_PLUGIN_PATH";
constexpr const char* kPlatform = "QT_QPA_PLATFORM";

std::optional<QByteArray> variable(const char* name) {
    return qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt;
}

void restore(const char* name, const std::optional<QByteArray>& value) {
    if (value)
        qputenv(name, *value);
    else
        qunsetenv(name);
}

} // namespace

PrivatePlugins::PrivatePlugins(const QByteArray& windowSystem)
    : platformPath_(variable(kPlatformPath)), platform_(variable(kPlatform)) {
    QCoreApplication::setLibraryPaths({Bundle::mainBundle().path() + QStringLiteral("/Contents/PlugIns")});
    qunsetenv(kPlatformPath);
    qputenv(kPlatform, windowSystem);
}

PrivatePlugins::~PrivatePlugins() {
    restore(kPlatformPath, platformPath_);
    restore(kPlatform, platform_);
}
