// Bundles and property lists.
#import "Standins.h"
#include "platform/base/PropertyList.h"

#include <QFileInfo>
#include <QVariantMap>

using namespace Qt::StringLiterals;
using standins::arrayOf;
using standins::kept;
using standins::keeping;
using standins::stringOf;
using standins::textOf;

@implementation NSBundle
+ (NSBundle*)mainBundle {
    return
        [self bundleWithPath:stringOf(QFileInfo(u"/proc/self/exe"_s).symLinkTarget().section(u"/Contents/"_s, 0, 0))];
}
+ (instancetype)bundleWithPath:(NSString*)path {
    return keeping(static_cast<Class>(self), textOf(path));
}
- (NSString*)bundlePath {
    return stringOf(kept<QString>(self));
}
- (NSString*)pathForResource:(NSString*)name ofType:(NSString*)type {
    const QString path = kept<QString>(self) + u"/Contents/Resources/"_s + textOf(name) + u'.' + textOf(type);
    return QFileInfo(path).isFile() ? stringOf(path) : nil;
}
// One text is known; another one is answered as the documentation says: with the given value.
- (NSString*)localizedStringForKey:(NSString*)key value:(NSString*)value table:(NSString*)table {
    return [key isEqualToString:@"KNOWN"] && !table ? stringOf(u"der Text"_s) : value;
}
- (NSArray*)preferredLocalizations {
    return arrayOf({stringOf(u"de"_s), stringOf(u"en"_s)});
}
@end

namespace {

id objectOf(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::QString:
        return stringOf(value.toString());
    case QMetaType::QByteArray:
        return value.toByteArray().toNSData();
    case QMetaType::QVariantList: {
        std::vector<id> items;
        for (const QVariant& item : value.toList()) {
            items.push_back(objectOf(item));
        }
        return arrayOf(std::move(items));
    }
    case QMetaType::QVariantMap: {
        standins::Pairs pairs;
        const QVariantMap map = value.toMap();
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
            pairs.emplace_back(stringOf(entry.key()), objectOf(entry.value()));
        }
        return standins::dictionaryOf(std::move(pairs));
    }
    default:
        return keeping([NSNumber class], value);
    }
}

} // namespace

@implementation NSPropertyListSerialization
+ (id)propertyListWithData:(NSData*)data
                   options:(NSPropertyListReadOptions)options
                    format:(NSPropertyListFormat*)format
                     error:(NSError* _Nullable*)error {
    const QByteArray bytes = QByteArray::fromNSData(data);
    if (bytes.startsWith("{")) { // the old form, which macOS reads as well
        *format = NSPropertyListOpenStepFormat;
        return standins::dictionaryOf({{stringOf(u"a"_s), stringOf(u"b"_s)}});
    }
    const auto list = PropertyList::parse(bytes);
    *format = bytes.startsWith("bplist") ? NSPropertyListBinaryFormat_v1_0 : NSPropertyListXMLFormat_v1_0;
    return list ? objectOf(*list) : nil;
}
@end
