#include "ui/PrivatePlugins.h"

#include "platform/Bundle.h"

#include <QCoreApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

// Qt puts the variables QT_QPA_PLATFORM_PLUGIN_PATH and QT_QPA_PLATFORM above its list of plugin folders and
// its own choice among them, and these options above the variables. An empty path is none.
PrivatePlugins::PrivatePlugins(const char* program, const QByteArray& windowSystem) {
    QCoreApplication::setLibraryPaths({Bundle::mainBundle().path() + u"/Contents/PlugIns"_s});
    words_ = {program, "-platformpluginpath", "", "-platform", windowSystem};
    std::transform(words_.begin(), words_.end(), arguments_.begin(), [](QByteArray& word) { return word.data(); });
}
