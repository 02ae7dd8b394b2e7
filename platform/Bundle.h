#pragma once

#include <QString>
#include <QVariantMap>

#include <optional>

// An application bundle: a folder NAME.app with Contents/Info.plist, Contents/MacOS/NAME and Contents/Resources.
// Format: Apple's Bundle Programming Guide.
//
// Threads: any; what is read once is kept.
class Bundle {
public:
    // The bundle that this process's executable lies in, found from the executable's own path.
    static const Bundle& mainBundle();
    // Absent when the path is no folder.
    static std::optional<Bundle> bundleWithPath(const QString& path);

    const QString& path() const { return path_; }
    // Empty when Info.plist is missing or damaged.
    const QVariantMap& infoDictionary() const { return info_; }
    std::optional<QString> bundleIdentifier() const;
    // Contents/MacOS/ + "CFBundleExecutable", else + the bundle's name without .app; absent when there is no such file.
    std::optional<QString> executablePath() const;
    // Contents/Resources/name.type, or the same in the chosen language's .lproj or in Base.lproj.
    std::optional<QString> pathForResource(const QString& name, const QString& type) const;

private:
    explicit Bundle(QString path);

    QString path_;
    QVariantMap info_;
};

namespace platform {

// The text of `key` in the main bundle's table Localizable.strings of the one chosen language. A missing text is empty,
// never its key, and is not looked up in another language.
QString localizedString(const QString& key);

// The language chosen for the main bundle, such as "de-DE".
QString chosenLocalization();

} // namespace platform
