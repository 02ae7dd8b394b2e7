// Foundation's values: texts, numbers, lists.
#import "Standins.h"

#include <QByteArray>
#include <QDateTime>
#include <QFile>
#include <QVariant>

#include <cstdlib>
#include <cstring>

using namespace Qt::StringLiterals;
using standins::kept;
using standins::keeping;

namespace standins {

void*& slot(const NSObject* object) {
    char* const start = reinterpret_cast<char*>(const_cast<NSObject*>(object));
    return *reinterpret_cast<void**>(start + class_getInstanceSize(object_getClass(const_cast<NSObject*>(object))));
}

NSString* stringOf(const QString& text) {
    return keeping([NSString class], text);
}

NSArray* arrayOf(std::vector<id> items) {
    return keeping([NSArray class], std::move(items));
}

NSDictionary* dictionaryOf(Pairs pairs) {
    return keeping([NSDictionary class], std::move(pairs));
}

void send(id receiver, SEL selector, id argument, id second) {
    objc_msg_lookup(receiver, selector)(receiver, selector, argument, second);
}

} // namespace standins

using standins::Pairs;
using standins::stringOf;
using standins::textOf;

@implementation NSObject
+ (void)initialize {
}
+ (instancetype)alloc {
    return class_createInstance(static_cast<Class>(self), sizeof(void*));
}
+ (instancetype)new {
    return [[self alloc] init];
}
+ (Class)class {
    return static_cast<Class>(self);
}
- (instancetype)init {
    return self;
}
- (void)dealloc {
}
- (id)copy {
    return self;
}
- (BOOL)isEqual:(id)object {
    return self == object;
}
- (NSUInteger)hash {
    return 0;
}
- (Class)class {
    return object_getClass(self);
}
- (instancetype)self {
    return self;
}
- (BOOL)isKindOfClass:(Class)type {
    for (Class own = object_getClass(self); own; own = class_getSuperclass(own)) {
        if (own == type) {
            return YES;
        }
    }
    return NO;
}
- (BOOL)conformsToProtocol:(Protocol*)protocol {
    std::abort();
}
- (BOOL)respondsToSelector:(SEL)selector {
    return class_respondsToSelector(object_getClass(self), selector);
}
- (NSString*)description {
    return stringOf(QString::fromUtf8(class_getName(object_getClass(self))));
}
@end

// What the compiler makes of @"…".
@interface NSConstantString : NSString {
    char* _bytes;
    unsigned _length;
}
- (QString)literal;
@end
@implementation NSConstantString
- (QString)literal {
    return QString::fromUtf8(_bytes, static_cast<qsizetype>(_length));
}
@end

QString standins::textOf(NSString* text) {
    return object_getClass(text) == [NSConstantString class] ? [(NSConstantString*)text literal] : kept<QString>(text);
}

@implementation NSString
- (BOOL)isEqualToString:(NSString*)other {
    return textOf(self) == textOf(other);
}
- (BOOL)isEqual:(id)other {
    return [other isKindOfClass:[NSString class]] && [self isEqualToString:other];
}
- (NSString*)description {
    return self;
}
@end

@implementation NSNumber
+ (NSNumber*)numberWithInteger:(NSInteger)value {
    return keeping([NSNumber class], QVariant::fromValue<qlonglong>(value));
}
- (BOOL)boolValue {
    return kept<QVariant>(self).toBool();
}
- (double)doubleValue {
    return kept<QVariant>(self).toDouble();
}
- (long long)longLongValue {
    return kept<QVariant>(self).toLongLong();
}
- (NSString*)description {
    return stringOf(kept<QVariant>(self).toString());
}
@end

constexpr CFTypeID kBoolean = 21;
CFTypeID CFBooleanGetTypeID() {
    return kBoolean;
}
CFTypeID CFGetTypeID(CFTypeRef reference) {
    return kept<QVariant>((__bridge NSNumber*)reference).typeId() == QMetaType::Bool ? kBoolean : 22;
}
Boolean CFNumberIsFloatType(CFNumberRef number) {
    return kept<QVariant>((__bridge NSNumber*)number).typeId() == QMetaType::Double;
}

@implementation NSData
+ (instancetype)dataWithContentsOfFile:(NSString*)path {
    QFile file(textOf(path));
    return file.open(QFile::ReadOnly) ? keeping([NSData class], file.readAll()) : nil;
}
- (NSUInteger)length {
    return static_cast<NSUInteger>(kept<QByteArray>(self).size());
}
- (const void*)bytes {
    return kept<QByteArray>(self).constData();
}
@end

@implementation NSDate
+ (NSDate*)distantPast {
    return keeping([NSDate class], -63114076800.0);
}
- (NSTimeInterval)timeIntervalSinceReferenceDate {
    return kept<double>(self);
}
@end

@implementation NSArray
+ (instancetype)array {
    return [self alloc];
}
+ (instancetype)arrayWithObjects:(const id _Nonnull[])objects count:(NSUInteger)count {
    return keeping(static_cast<Class>(self), std::vector<id>(objects, objects + count));
}
- (NSUInteger)count {
    return kept<std::vector<id>>(self).size();
}
- (id)firstObject {
    const auto& items = kept<std::vector<id>>(self);
    return items.empty() ? nil : items.front();
}
- (id)objectAtIndexedSubscript:(NSUInteger)index {
    return kept<std::vector<id>>(self).at(index);
}
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)length {
    auto& items = kept<std::vector<id>>(self);
    if (state->state != 0) {
        return 0;
    }
    state->state = 1;
    state->itemsPtr = items.data();
    state->mutationsPtr = &state->extra[0];
    return items.size();
}
@end

@implementation NSMutableArray
- (void)addObject:(id)object {
    kept<std::vector<id>>(self).push_back(object);
}
@end

@implementation NSDictionary
+ (instancetype)dictionaryWithObjects:(const id _Nonnull[])objects
                              forKeys:(const id _Nonnull[])keys
                                count:(NSUInteger)count {
    Pairs pairs;
    for (NSUInteger index = 0; index < count; ++index) {
        pairs.emplace_back(keys[index], objects[index]);
    }
    return keeping(static_cast<Class>(self), std::move(pairs));
}
- (NSUInteger)count {
    return kept<Pairs>(self).size();
}
- (id)objectForKey:(id)key {
    for (const auto& [own, value] : kept<Pairs>(self)) {
        if ([own isEqual:key]) {
            return value;
        }
    }
    return nil;
}
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)length {
    const auto& pairs = kept<Pairs>(self);
    NSUInteger count = 0;
    for (; count < length && state->state < pairs.size(); ++count) {
        buffer[count] = pairs[state->state++].first;
    }
    state->itemsPtr = buffer;
    state->mutationsPtr = &state->extra[0];
    return count;
}
@end

// What Qt has on macOS only.
QString QString::fromNSString(const NSString* text) {
    return text ? textOf(const_cast<NSString*>(text)) : QString();
}
NSString* QString::toNSString() const {
    return stringOf(*this);
}
QByteArray QByteArray::fromNSData(const NSData* data) {
    return data ? kept<QByteArray>(data) : QByteArray();
}
NSData* QByteArray::toNSData() const {
    return keeping([NSData class], *this);
}
QDateTime QDateTime::fromNSDate(const NSDate* date) {
    const double sinceReference = kept<double>(date);
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>((sinceReference + 978307200.0) * 1000));
}
