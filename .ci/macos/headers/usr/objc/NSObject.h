#pragma once
// The root class and protocol: the documentation of the Objective-C Runtime. Needs an Objective-C compiler.
#include <Availability.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if defined(__arm64__)
typedef bool BOOL;
#else
typedef signed char BOOL;
#endif
#define YES __objc_yes
#define NO __objc_no
#define nil nullptr
typedef long NSInteger;
typedef unsigned long NSUInteger;

#define NSIntegerMax LONG_MAX
#define NS_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define NS_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")

NS_ASSUME_NONNULL_BEGIN
@class NSString;
@class NSMethodSignature;

@protocol NSObject
- (BOOL)isEqual:(nullable id)object;
@property(readonly) NSUInteger hash;
- (Class)class;
- (instancetype)self;
- (BOOL)isKindOfClass:(Class)aClass;
- (BOOL)conformsToProtocol:(Protocol*)aProtocol;
- (BOOL)respondsToSelector:(SEL)aSelector;
@property(readonly, copy) NSString* description;
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject> {
    Class isa;
}
+ (instancetype)alloc;
+ (instancetype)new;
+ (Class)class;
- (instancetype)init __attribute__((objc_designated_initializer));
- (void)dealloc;
- (id)copy __attribute__((ns_returns_retained));
@end
NS_ASSUME_NONNULL_END
