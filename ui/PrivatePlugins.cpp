#include "ui/PrivatePlugins.h"

#include "platform/Bundle.h"

#include <QCoreApplication>

namespace {

// The one variable that the toolkit puts above its list of plugin folders.
constexpr const char* kPlatformPath = "QT_QPA_PLATFORM_PLUGIN_PATH";

} // namespace

PrivatePlugins::PrivatePlugins() {
    QCoreApplication::setLibraryPaths({Bundle::mainBundle().path() + QStringLiteral("/Contents/PlugIns")});
    if (qEnvironmentVariableIsSet(kPlatformPath))
        platformPath_ = qgetenv(kPlatformPath);
    qunsetenv(kPlatformPath);
}

PrivatePlugins::~PrivatePlugins() {
    if (platformPath_)
        qputenv(kPlatformPath, *platformPath_);
}
