#pragma once
// Foundation, as far as used: developer.apple.com/documentation/foundation. A deprecation says since which macOS.
#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>
#include <limits.h>
#import <objc/NSObject.h>

#define FOUNDATION_EXPORT extern "C"
#define NS_ENUM(type, name)                                                                                            \
    enum name : type name;                                                                                             \
    enum name : type
#define NS_OPTIONS(type, name)                                                                                         \
    type name;                                                                                                         \
    enum : type // so that bits can be joined in C++
#define NS_FORMAT_FUNCTION(F, A) __attribute__((format(__NSString__, F, A)))
#define NS_DESIGNATED_INITIALIZER __attribute__((objc_designated_initializer))
#define NS_UNAVAILABLE __attribute__((unavailable))
#define NS_NOESCAPE __attribute__((noescape))

NS_ASSUME_NONNULL_BEGIN

typedef double NSTimeInterval;
typedef unsigned short unichar;
typedef NSString* NSNotificationName;
typedef NSString* NSExceptionName;
typedef NSString* NSErrorDomain;
typedef NSString* NSErrorUserInfoKey;
typedef NSString* NSLocaleKey;
typedef NSString* NSURLResourceKey;
typedef NSString* NSFileAttributeKey;

typedef struct {
    unsigned long state;
    id __unsafe_unretained _Nullable* _Nullable itemsPtr;
    unsigned long* _Nullable mutationsPtr;
    unsigned long extra[5];
} NSFastEnumerationState;

@class NSArray<__covariant ObjectType>, NSDictionary<__covariant KeyType, __covariant ObjectType>, NSData, NSDate,
    NSError, NSURL, NSURLRequest, NSURLResponse, NSHTTPURLResponse, NSOperationQueue, NSNotification;

@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)length;
@end

@protocol NSCopying
@end

@interface NSString : NSObject <NSCopying>
+ (nullable instancetype)stringWithUTF8String:(const char*)text;
+ (instancetype)stringWithFormat:(NSString*)format, ... NS_FORMAT_FUNCTION(1, 2);
@property(readonly) NSUInteger length;
@property(readonly, nullable) const char* UTF8String;
- (BOOL)isEqualToString:(NSString*)other;
@end

@interface NSNumber : NSObject <NSCopying>
+ (NSNumber*)numberWithInt:(int)value;
+ (NSNumber*)numberWithInteger:(NSInteger)value;
+ (NSNumber*)numberWithBool:(BOOL)value;
+ (NSNumber*)numberWithDouble:(double)value;
@property(readonly) BOOL boolValue;
@property(readonly) double doubleValue;
@property(readonly) long long longLongValue;
@end

@interface NSData : NSObject <NSCopying>
+ (nullable instancetype)dataWithContentsOfFile:(NSString*)path;
@property(readonly) NSUInteger length;
@property(readonly) const void* bytes;
@end

@interface NSDate : NSObject <NSCopying>
+ (instancetype)date;
@property(class, readonly, copy) NSDate* distantPast;
@property(readonly) NSTimeInterval timeIntervalSinceReferenceDate;
- (int)compare:(NSDate*)other NS_UNAVAILABLE; // the real one answers with an NSComparisonResult
@end

@interface NSArray<__covariant ObjectType> : NSObject <NSCopying, NSFastEnumeration>
+ (instancetype)array;
+ (instancetype)arrayWithObjects:(const ObjectType _Nonnull[_Nullable])objects count:(NSUInteger)count;
@property(readonly) NSUInteger count;
@property(readonly, nullable) ObjectType firstObject;
- (ObjectType)objectAtIndexedSubscript:(NSUInteger)index;
@end

@interface NSMutableArray<ObjectType> : NSArray <ObjectType>
- (void)addObject:(ObjectType)object;
@end

@interface NSDictionary<__covariant KeyType, __covariant ObjectType> : NSObject <NSCopying, NSFastEnumeration>
+ (instancetype)dictionaryWithObjects:(const ObjectType _Nonnull[_Nullable])objects
                              forKeys:(const KeyType<NSCopying> _Nonnull[_Nullable])keys
                                count:(NSUInteger)count;
@property(readonly) NSUInteger count;
- (nullable ObjectType)objectForKey:(KeyType)key;
- (nullable ObjectType)objectForKeyedSubscript:(KeyType)key;
@end

@interface NSError : NSObject <NSCopying>
@property(readonly) NSInteger code;
@property(readonly, copy) NSErrorDomain domain;
@property(readonly, copy) NSDictionary<NSErrorUserInfoKey, id>* userInfo;
@property(readonly, copy) NSString* localizedDescription;
@end

__attribute__((objc_exception))
@interface NSException : NSObject<NSCopying>
@property(readonly, copy) NSExceptionName name;
@property(readonly, copy, nullable) NSString* reason;
@property(readonly, copy, nullable) NSDictionary* userInfo;
+ (NSException*)exceptionWithName:(NSExceptionName)name
                           reason:(nullable NSString*)reason
                         userInfo:(nullable NSDictionary*)userInfo;
- (void)raise;
@end
typedef void NSUncaughtExceptionHandler(NSException* exception);
FOUNDATION_EXPORT NSUncaughtExceptionHandler* _Nullable NSGetUncaughtExceptionHandler(void);
FOUNDATION_EXPORT void NSSetUncaughtExceptionHandler(NSUncaughtExceptionHandler* _Nullable handler);

FOUNDATION_EXPORT void NSLog(NSString* format, ...) NS_FORMAT_FUNCTION(1, 2);
FOUNDATION_EXPORT NSString* NSHomeDirectory(void);
FOUNDATION_EXPORT NSString* NSUserName(void);
FOUNDATION_EXPORT NSString* NSTemporaryDirectory(void);

@interface NSURL : NSObject <NSCopying>
+ (nullable instancetype)URLWithString:(NSString*)text;
+ (NSURL*)fileURLWithPath:(NSString*)path;
+ (NSURL*)fileURLWithPath:(NSString*)path isDirectory:(BOOL)isDirectory;
@property(readonly, copy, nullable) NSString* absoluteString;
@property(readonly, copy, nullable) NSString* scheme;
@property(readonly, copy, nullable) NSString* path;
@end
FOUNDATION_EXPORT const NSURLResourceKey NSURLVolumeURLForRemountingKey;

@interface NSLocale : NSObject <NSCopying>
@property(class, readonly, copy) NSLocale* currentLocale;
@property(class, readonly, copy) NSArray<NSString*>* preferredLanguages;
- (nullable id)objectForKey:(NSLocaleKey)key;
@end
FOUNDATION_EXPORT const NSLocaleKey NSLocaleCountryCode;

@interface NSBundle : NSObject
@property(class, readonly, strong) NSBundle* mainBundle;
+ (nullable instancetype)bundleWithPath:(NSString*)path;
@property(readonly, copy) NSString* bundlePath;
@property(readonly, copy, nullable) NSString* bundleIdentifier;
@property(readonly, copy, nullable) NSString* executablePath;
@property(readonly, copy, nullable) NSDictionary<NSString*, id>* infoDictionary;
@property(readonly, copy) NSArray<NSString*>* preferredLocalizations;
- (nullable NSString*)pathForResource:(nullable NSString*)name ofType:(nullable NSString*)type;
- (NSString*)localizedStringForKey:(NSString*)key
                             value:(nullable NSString*)value
                             table:(nullable NSString*)table __attribute__((format_arg(1)));
@end

typedef NS_OPTIONS(NSUInteger, NSPropertyListReadOptions) { NSPropertyListImmutable = 0 };
typedef NS_ENUM(NSUInteger, NSPropertyListFormat) {
    NSPropertyListOpenStepFormat = 1,
    NSPropertyListXMLFormat_v1_0 = 100,
    NSPropertyListBinaryFormat_v1_0 = 200,
};
@interface NSPropertyListSerialization : NSObject
+ (nullable id)propertyListWithData:(NSData*)data
                            options:(NSPropertyListReadOptions)options
                             format:(nullable NSPropertyListFormat*)format
                              error:(NSError* _Nullable __autoreleasing* _Nullable)error;
@end

typedef NS_OPTIONS(NSUInteger, NSVolumeEnumerationOptions) { NSVolumeEnumerationSkipHiddenVolumes = 1UL << 1 };
@interface NSFileManager : NSObject
@property(class, readonly, strong) NSFileManager* defaultManager;
- (nullable NSArray<NSURL*>*)mountedVolumeURLsIncludingResourceValuesForKeys:(nullable NSArray<NSURLResourceKey>*)keys
                                                                     options:(NSVolumeEnumerationOptions)options;
- (BOOL)removeItemAtPath:(NSString*)path error:(NSError* _Nullable __autoreleasing* _Nullable)error;
- (BOOL)fileExistsAtPath:(NSString*)path isDirectory:(nullable BOOL*)isDirectory;
@end

typedef struct {
    NSInteger majorVersion;
    NSInteger minorVersion;
    NSInteger patchVersion;
} NSOperatingSystemVersion;
@interface NSProcessInfo : NSObject
@property(class, readonly, strong) NSProcessInfo* processInfo;
@property(readonly) NSOperatingSystemVersion operatingSystemVersion;
@end

@interface NSThread : NSObject
+ (void)detachNewThreadWithBlock:(void (^)(void))block;
@property(class, readonly) BOOL isMainThread;
@end

@interface NSOperationQueue : NSObject
@property(class, readonly, strong) NSOperationQueue* mainQueue;
@property NSInteger maxConcurrentOperationCount;
- (void)addOperationWithBlock:(void (^)(void))block;
@end

@interface NSNotification : NSObject <NSCopying>
@property(readonly, copy) NSNotificationName name;
@property(readonly, strong, nullable) id object;
@end
@interface NSNotificationCenter : NSObject
@property(class, readonly, strong) NSNotificationCenter* defaultCenter;
- (void)addObserver:(id)observer
           selector:(SEL)selector
               name:(nullable NSNotificationName)name
             object:(nullable id)object;
- (id<NSObject>)addObserverForName:(nullable NSNotificationName)name
                            object:(nullable id)object
                             queue:(nullable NSOperationQueue*)queue
                        usingBlock:(void (^)(NSNotification* notification))block;
@end

@interface NSAppleEventDescriptor : NSObject <NSCopying>
@property(readonly, copy, nullable) NSString* stringValue;
- (nullable NSAppleEventDescriptor*)paramDescriptorForKeyword:(FourCharCode)keyword;
@end
@interface NSAppleEventManager : NSObject
+ (NSAppleEventManager*)sharedAppleEventManager;
- (void)setEventHandler:(id)handler
            andSelector:(SEL)handleEventSelector
          forEventClass:(FourCharCode)eventClass
             andEventID:(FourCharCode)eventID;
@end

// Addresses' transfers.
FOUNDATION_EXPORT const NSErrorDomain NSURLErrorDomain;
FOUNDATION_EXPORT NSString* const NSURLErrorFailingURLStringErrorKey;
enum : NSInteger {
    NSURLErrorCancelled = -999,
    NSURLErrorUnsupportedURL = -1002,
    NSURLErrorHTTPTooManyRedirects = -1007,
    NSURLErrorDataLengthExceedsMaximum = -1103,
};

@interface NSURLRequest : NSObject <NSCopying>
+ (instancetype)requestWithURL:(NSURL*)address;
@property(readonly, copy, nullable) NSURL* URL;
@end
@interface NSMutableURLRequest : NSURLRequest
@property NSTimeInterval timeoutInterval;
@property(copy) NSString* HTTPMethod;
@property(copy, nullable) NSData* HTTPBody;
- (void)addValue:(NSString*)value forHTTPHeaderField:(NSString*)field;
@end
@interface NSURLResponse : NSObject <NSCopying>
@property(readonly, copy, nullable) NSURL* URL;
@property(readonly, copy, nullable) NSString* MIMEType;
@property(readonly) long long expectedContentLength;
@property(readonly, copy, nullable) NSString* suggestedFilename;
@end
@interface NSHTTPURLResponse : NSURLResponse
@property(readonly) NSInteger statusCode;
@end

@class NSURLSession, NSURLSessionDataTask, NSURLSessionDownloadTask;
@interface NSURLSessionTask : NSObject <NSCopying>
@property(readonly, copy, nullable) NSURLResponse* response;
@property(readonly, copy, nullable) NSURLRequest* originalRequest;
@property(readonly, copy, nullable) NSError* error;
- (void)resume;
- (void)cancel;
@end
@interface NSURLSessionDataTask : NSURLSessionTask
@end
@interface NSURLSessionDownloadTask : NSURLSessionTask
@end

@interface NSURLSessionConfiguration : NSObject <NSCopying>
@property(class, readonly, strong) NSURLSessionConfiguration* defaultSessionConfiguration;
@property(class, readonly, strong) NSURLSessionConfiguration* ephemeralSessionConfiguration;
@property NSTimeInterval timeoutIntervalForRequest;
@property NSTimeInterval timeoutIntervalForResource;
@end

@protocol NSURLSessionDelegate <NSObject>
@end
@protocol NSURLSessionTaskDelegate <NSURLSessionDelegate>
@optional
- (void)URLSession:(NSURLSession*)session
                          task:(NSURLSessionTask*)task
    willPerformHTTPRedirection:(NSHTTPURLResponse*)response
                    newRequest:(NSURLRequest*)request
             completionHandler:(void (^)(NSURLRequest* _Nullable))completionHandler;
- (void)URLSession:(NSURLSession*)session task:(NSURLSessionTask*)task didCompleteWithError:(nullable NSError*)error;
@end
typedef NS_ENUM(NSInteger, NSURLSessionResponseDisposition) {
    NSURLSessionResponseCancel = 0,
    NSURLSessionResponseAllow = 1,
};
@protocol NSURLSessionDataDelegate <NSURLSessionTaskDelegate>
@optional
- (void)URLSession:(NSURLSession*)session
              dataTask:(NSURLSessionDataTask*)task
    didReceiveResponse:(NSURLResponse*)response
     completionHandler:(void (^)(NSURLSessionResponseDisposition))completionHandler;
- (void)URLSession:(NSURLSession*)session dataTask:(NSURLSessionDataTask*)task didReceiveData:(NSData*)data;
@end
@protocol NSURLSessionDownloadDelegate <NSURLSessionTaskDelegate>
- (void)URLSession:(NSURLSession*)session
                 downloadTask:(NSURLSessionDownloadTask*)task
    didFinishDownloadingToURL:(NSURL*)location;
@optional
- (void)URLSession:(NSURLSession*)session
                 downloadTask:(NSURLSessionDownloadTask*)task
                 didWriteData:(int64_t)bytes
            totalBytesWritten:(int64_t)total
    totalBytesExpectedToWrite:(int64_t)expected;
@end

@interface NSURLSession : NSObject
@property(class, readonly, strong) NSURLSession* sharedSession;
+ (NSURLSession*)sessionWithConfiguration:(NSURLSessionConfiguration*)configuration
                                 delegate:(nullable id<NSURLSessionDelegate>)delegate
                            delegateQueue:(nullable NSOperationQueue*)queue;
@property(readonly, copy) NSURLSessionConfiguration* configuration;
- (void)finishTasksAndInvalidate;
- (void)invalidateAndCancel;
- (NSURLSessionDataTask*)dataTaskWithRequest:(NSURLRequest*)request;
- (NSURLSessionDataTask*)dataTaskWithRequest:(NSURLRequest*)request
                           completionHandler:(void (^)(NSData* _Nullable data, NSURLResponse* _Nullable response,
                                                       NSError* _Nullable error))completionHandler;
- (NSURLSessionDownloadTask*)downloadTaskWithURL:(NSURL*)address;
- (NSURLSessionDownloadTask*)downloadTaskWithRequest:(NSURLRequest*)request;
@end
@interface NSURLSessionTask (Delegate)
// "Available: macOS 12.0".
@property(strong, nullable) id<NSURLSessionTaskDelegate> delegate API_AVAILABLE_MACOS(12.0);
@end

NS_ASSUME_NONNULL_END
