#include "platform/Bundle.h"

#include <QDateTime>
#include <QVariantList>

#import <Foundation/Foundation.h>

#include <utility>

namespace {

QVariant variantOf(id value);

QVariantMap mapOf(NSDictionary* dictionary) {
    QVariantMap map;
    for (NSString* key in dictionary) {
        map.insert(QString::fromNSString(key), variantOf(dictionary[key]));
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

NSBundle* nativeBundle(const QString& path) {
    return [NSBundle bundleWithPath:path.toNSString()];
}

} // namespace

const Bundle& Bundle::mainBundle() {
    static const Bundle bundle = [] {
        Bundle made(QString::fromNSString([NSBundle mainBundle].bundlePath));
        made.info_ = mapOf([NSBundle mainBundle].infoDictionary);
        return made;
    }();
    return bundle;
}

std::optional<Bundle> Bundle::bundleWithPath(const QString& path) {
    NSBundle* const native = nativeBundle(path);
    if (!native) {
        return std::nullopt;
    }
    Bundle made(QString::fromNSString(native.bundlePath));
    made.info_ = mapOf(native.infoDictionary);
    return made;
}

Bundle::Bundle(QString path) : path_(std::move(path)) {}

std::optional<QString> Bundle::bundleIdentifier() const {
    return textOf(nativeBundle(path_).bundleIdentifier);
}

std::optional<QString> Bundle::executablePath() const {
    return textOf(nativeBundle(path_).executablePath);
}

std::optional<QString> Bundle::pathForResource(const QString& name, const QString& type) const {
    return textOf([nativeBundle(path_) pathForResource:name.toNSString() ofType:type.toNSString()]);
}

// Given no value the system answers with the key, so it is given one that no table holds.
QString localizedString(const QString& key) {
    NSString* const missing = @"\uE000missing";
    NSString* const text = [[NSBundle mainBundle] localizedStringForKey:key.toNSString() value:missing table:nil];
    return [text isEqualToString:missing] ? QString() : QString::fromNSString(text);
}

QString chosenLocalization() {
    return QString::fromNSString([NSBundle mainBundle].preferredLocalizations.firstObject);
}
