#include "platform/Bundle.h"

#include "platform/RealPath.h"
#include "platform/UserLocale.h"
#include "platform/base/PropertyList.h"
#include "platform/base/StringsTable.h"
#include "platform/linux/SystemFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <unistd.h>

#include <array>
#include <climits>

using namespace Qt::StringLiterals;

namespace {

const QString kLocalizationSuffix = u".lproj"_s;

QString pathOfThisExecutable() {
    std::array<char, PATH_MAX> buffer{};
    const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
    return length > 0 ? QFile::decodeName(QByteArray(buffer.data(), length)) : QString();
}

// A program outside a bundle counts as the main executable of a bundle that is its folder.
QString pathOfMainBundle() {
    const QString folder = pathOfThisExecutable().section(u'/', 0, -2);
    const QString inBundle = u"/Contents/MacOS"_s;
    return folder.endsWith(inBundle) ? folder.chopped(inBundle.size()) : folder;
}

// `folder` is where the bundle lies on disk.
QVariantMap readInformation(const QString& folder) {
    const auto bytes = platform::readFileAt(folder + u"/Contents/Info.plist"_s);
    const auto list = bytes ? PropertyList::parse(*bytes) : std::nullopt;
    return list ? list->toMap() : QVariantMap();
}

bool isFile(const QString& plain) {
    return QFileInfo(platform::realPath(plain)).isFile();
}

QString resourcesOf(const QString& bundle) {
    return bundle + u"/Contents/Resources"_s;
}

QString chooseLocalizationOf(const Bundle& bundle) {
    const QDir resources(platform::realPath(resourcesOf(bundle.path())));
    QStringList available;
    for (const QString& folder : resources.entryList({u'*' + kLocalizationSuffix}, QDir::Dirs, QDir::Name)) {
        if (folder != u"Base.lproj"_s) {
            available += folder.chopped(kLocalizationSuffix.size());
        }
    }
    const QString developmentRegion = bundle.infoDictionary().value(u"CFBundleDevelopmentRegion"_s, u"en"_s).toString();
    return StringsTable::chooseLocalization(platform::preferredLanguages(), available, developmentRegion);
}

StringsTable::Table readChosenTable() {
    const QString path = resourcesOf(Bundle::mainBundle().path()) + u'/' + platform::chosenLocalization() +
                         kLocalizationSuffix + u"/Localizable.strings"_s;
    const auto bytes = platform::readSystemFile(path);
    const auto table = bytes ? StringsTable::parse(*bytes) : std::nullopt;
    return table.value_or(StringsTable::Table());
}

} // namespace

// The information of the main bundle is read without mapping the path: mapping asks for the main bundle.
const Bundle& Bundle::mainBundle() {
    static const Bundle bundle = [] {
        Bundle made(pathOfMainBundle());
        made.info_ = readInformation(made.path_);
        return made;
    }();
    return bundle;
}

std::optional<Bundle> Bundle::bundleWithPath(const QString& path) {
    const QString folder = platform::realPath(path);
    if (!QFileInfo(folder).isDir()) {
        return std::nullopt;
    }
    QString plain = path;
    while (plain.size() > 1 && plain.endsWith(u'/')) {
        plain.chop(1);
    }
    Bundle made(plain);
    made.info_ = readInformation(folder);
    return made;
}

Bundle::Bundle(QString path) : path_(std::move(path)) {}

std::optional<QString> Bundle::bundleIdentifier() const {
    const QVariant identifier = info_.value(u"CFBundleIdentifier"_s);
    return identifier.typeId() == QMetaType::QString ? std::optional(identifier.toString()) : std::nullopt;
}

std::optional<QString> Bundle::executablePath() const {
    QString name = info_.value(u"CFBundleExecutable"_s).toString();
    if (name.isEmpty()) {
        name = path_.section(u'/', -1);
        name = name.endsWith(u".app"_s) ? name.chopped(4) : name;
    }
    const QString executable = path_ + u"/Contents/MacOS/"_s + name;
    return isFile(executable) ? std::optional(executable) : std::nullopt;
}

std::optional<QString> Bundle::pathForResource(const QString& name, const QString& type) const {
    const QString file = type.isEmpty() ? name : name + u'.' + type;
    const QString resources = resourcesOf(path_);
    const bool isMain = this == &mainBundle();
    const QString language = isMain ? platform::chosenLocalization() : chooseLocalizationOf(*this);
    for (const QString& folder : {QString(), u'/' + language + kLocalizationSuffix, u"/Base.lproj"_s}) {
        if (const QString path = resources + folder + u'/' + file; isFile(path)) {
            return path;
        }
    }
    return std::nullopt;
}

namespace platform {

QString localizedString(const QString& key) {
    static const StringsTable::Table table = readChosenTable();
    return table.value(key);
}

QString chosenLocalization() {
    static const QString chosen = chooseLocalizationOf(Bundle::mainBundle());
    return chosen;
}

} // namespace platform
