#pragma once
// Core Foundation, as far as used: developer.apple.com/documentation/corefoundation.
#include <Availability.h>
#include <stddef.h>
#include <stdint.h>
#define CF_EXPORT extern "C"
#define CF_BRIDGED_TYPE(T) __attribute__((objc_bridge(T)))

typedef unsigned char Boolean;
typedef unsigned char UInt8;
typedef signed int SInt32;
typedef unsigned int UInt32;
typedef unsigned int FourCharCode;
typedef unsigned long CFTypeID;
typedef signed long CFIndex;
typedef double CFTimeInterval;
typedef const void* CF_BRIDGED_TYPE(id) CFTypeRef;
typedef const struct CF_BRIDGED_TYPE(id) __CFAllocator* CFAllocatorRef;
typedef const struct CF_BRIDGED_TYPE(NSNumber) __CFNumber* CFNumberRef;
typedef const struct CF_BRIDGED_TYPE(id) __CFBoolean* CFBooleanRef;
typedef const struct CF_BRIDGED_TYPE(NSString) __CFString* CFStringRef;

CF_EXPORT const CFAllocatorRef kCFAllocatorDefault;
CF_EXPORT void CFRelease(CFTypeRef cf);
CF_EXPORT CFTypeID CFGetTypeID(CFTypeRef cf);
CF_EXPORT CFTypeID CFBooleanGetTypeID(void);
CF_EXPORT Boolean CFNumberIsFloatType(CFNumberRef number);
CF_EXPORT int __CFConstantStringClassReference[]; // the class of @"…"
