#include "platform/base/WindowPlugin.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QPluginLoader>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace platform {

bool hasWindowPlugin(const QString& folder, const QString& name, const QString& suffix) {
    const auto answersTo = [&name](const QStaticPlugin& plugin) {
        return plugin.metaData().value("MetaData"_L1).toObject().value("Keys"_L1).toArray().contains(name);
    };
    const QVector<QStaticPlugin> linked = QPluginLoader::staticPlugins();
    const QDir platforms(folder + u"/platforms"_s);
    return std::any_of(linked.begin(), linked.end(), answersTo) ||
           !platforms.entryList({u"libq"_s + name + u'*' + suffix}, QDir::Files).isEmpty();
}

} // namespace platform
