#include "platform/Bundle.h"

#include <QDateTime>
#include <QFileInfo>
#include <QVariantList>

#import <Foundation/Foundation.h>

using namespace Qt::StringLiterals;

#include <utility>

namespace {

QVariant variantOf(id value);

QVariantMap mapOf(NSDictionary* dictionary) {
    QVariantMap map;
    for (NSString* key in dictionary) {
        map.insert(QString::fromNSString(key), variantOf([dictionary objectForKey:key]));
    }
    return map;
}

QVariant numberOf(NSNumber* number) {
    if (CFGetTypeID((__bridge CFTypeRef)number) == CFBooleanGetTypeID()) {
        return QVariant(static_cast<bool>(number.boolValue));
    }
    return CFNumberIsFloatType((__bridge CFNumberRef)number) ? QVariant(number.doubleValue)
                                                             : QVariant(static_cast<qint64>(number.longLongValue));
}

QVariant variantOf(id value) {
    if ([value isKindOfClass:[NSString class]]) {
        return QString::fromNSString(value);
    }
    if ([value isKindOfClass:[NSDictionary class]]) {
        return mapOf(value);
    }
    if ([value isKindOfClass:[NSArray class]]) {
        QVariantList list;
        for (id item in (NSArray*)value) {
            list.append(variantOf(item));
        }
        return list;
    }
    if ([value isKindOfClass:[NSNumber class]]) {
        return numberOf(value);
    }
    if ([value isKindOfClass:[NSData class]]) {
        return QByteArray::fromNSData(value);
    }
    return [value isKindOfClass:[NSDate class]] ? QVariant(QDateTime::fromNSDate(value)) : QVariant();
}

std::optional<QString> textOf(NSString* text) {
    return text ? std::optional(QString::fromNSString(text)) : std::nullopt;
}

// Read from the file and not asked of NSBundle, which keeps what it once saw at a path (an earlier image's bundle, too)
// and shows entries of its own for a list that is broken. Old-style text lists are none.
QVariantMap readInformation(const QString& bundle) {
    const QString file = bundle + u"/Contents/Info.plist"_s;
    NSData* const bytes = [NSData dataWithContentsOfFile:file.toNSString()];
    NSPropertyListFormat format = NSPropertyListOpenStepFormat;
    id const list = bytes ? [NSPropertyListSerialization propertyListWithData:bytes
                                                                      options:NSPropertyListImmutable
                                                                       format:&format
                                                                        error:nil]
                          : nil;
    const bool isUsable = format != NSPropertyListOpenStepFormat && [list isKindOfClass:[NSDictionary class]];
    return isUsable ? mapOf(list) : QVariantMap();
}

} // namespace

const Bundle& Bundle::mainBundle() {
    static const Bundle bundle = [] {
        Bundle made(QString::fromNSString([NSBundle mainBundle].bundlePath));
        made.info_ = readInformation(made.path_);
        return made;
    }();
    return bundle;
}

std::optional<Bundle> Bundle::bundleWithPath(const QString& path) {
    if (!QFileInfo(path).isDir()) {
        return std::nullopt;
    }
    QString plain = path;
    while (plain.size() > 1 && plain.endsWith(u'/')) {
        plain.chop(1);
    }
    Bundle made(plain);
    made.info_ = readInformation(plain);
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
    return QFileInfo(executable).isFile() ? std::optional(executable) : std::nullopt;
}

std::optional<QString> Bundle::pathForResource(const QString& name, const QString& type) const {
    NSBundle* const native = [NSBundle bundleWithPath:path_.toNSString()];
    return textOf([native pathForResource:name.toNSString() ofType:type.toNSString()]);
}

namespace platform {

// Given no value the system answers with the key, so it is given one that no table holds.
QString localizedString(const QString& key) {
    NSString* const missing = @"\uE000missing";
    NSString* const text = [[NSBundle mainBundle] localizedStringForKey:key.toNSString() value:missing table:nil];
    return [text isEqualToString:missing] ? QString() : QString::fromNSString(text);
}

QString chosenLocalization() {
    return QString::fromNSString([NSBundle mainBundle].preferredLocalizations.firstObject);
}

} // namespace platform
