#pragma once
// What the stand-ins for macOS's classes share. GCC's runtime lays objects out at compile time, and the headers declare
// no fields: what a stand-in knows of an object hangs on a pointer behind it.
#include <QString>

#import <Foundation/Foundation.h>

#include <functional>
#include <utility>
#include <vector>

extern "C" {
using Method = id (*)(id, SEL, ...);
id class_createInstance(Class type, size_t extra);
size_t class_getInstanceSize(Class type);
Class class_getSuperclass(Class type);
const char* class_getName(Class type);
bool class_respondsToSelector(Class type, SEL selector);
Method objc_msg_lookup(id receiver, SEL selector);
}

// Its first field.
inline Class object_getClass(id object) {
    return *reinterpret_cast<Class*>(object);
}

namespace standins {

void*& slot(const NSObject* object);

// What is kept for an object, made at the first question.
template <typename Value>
Value& kept(const NSObject* object) {
    void*& place = slot(object);
    if (!place) {
        place = new Value(); // nothing is ever freed: there are no reference counts without ARC
    }
    return *static_cast<Value*>(place);
}

template <typename Value>
id keeping(Class type, Value value) {
    id const made = [type alloc];
    kept<Value>(made) = std::move(value);
    return made;
}

QString textOf(NSString* text);
NSString* stringOf(const QString& text);
NSArray* arrayOf(std::vector<id> items);
using Pairs = std::vector<std::pair<id, id>>;
NSDictionary* dictionaryOf(Pairs pairs);
NSError* errorOf(const QString& domain, long code, const QString& sentence, const QString& address);

// [receiver selector:argument]
void send(id receiver, SEL selector, id argument, id second = nil);

} // namespace standins
