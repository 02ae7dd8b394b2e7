// What sessions are asked and answer: addresses, requests, responses, settings.
#import "Transfers.h"

#include <QUrl>

using namespace Qt::StringLiterals;
using standins::kept;
using standins::keeping;
using standins::RequestFacts;
using standins::ResponseFacts;
using standins::stringOf;
using standins::textOf;

@implementation NSURL
// As macOS before 14: a text that RFC 2396 does not allow is no address.
+ (instancetype)URLWithString:(NSString*)text {
    const QString address = textOf(text);
    const QUrl parsed(address, QUrl::StrictMode);
    return address.isEmpty() || !parsed.isValid() || address.contains(u' ') ? nil : keeping([NSURL class], address);
}
+ (NSURL*)fileURLWithPath:(NSString*)path {
    return keeping([NSURL class], QString(u"file://"_s + textOf(path)));
}
- (NSString*)absoluteString {
    return stringOf(kept<QString>(self));
}
- (NSString*)path {
    return stringOf(QUrl(kept<QString>(self)).path());
}
@end

@implementation NSURLRequest
+ (instancetype)requestWithURL:(NSURL*)address {
    NSURLRequest* const made = [static_cast<Class>(self) alloc];
    kept<RequestFacts>(made).address = address;
    return made;
}
- (NSURL*)URL {
    return kept<RequestFacts>(self).address;
}
@end
@implementation NSMutableURLRequest
- (void)setHTTPMethod:(NSString*)method {
    kept<RequestFacts>(self).method = textOf(method);
}
- (void)setHTTPBody:(NSData*)body {
    kept<RequestFacts>(self).body = QByteArray::fromNSData(body);
}
- (void)setTimeoutInterval:(NSTimeInterval)seconds {
    kept<RequestFacts>(self).idle = seconds;
}
- (void)addValue:(NSString*)value forHTTPHeaderField:(NSString*)field {
    // An empty value is written so for libcurl.
    const QString line = textOf(value).isEmpty() ? textOf(field) + u';' : textOf(field) + u": "_s + textOf(value);
    kept<RequestFacts>(self).headers.append(line.toUtf8());
}
@end

@implementation NSURLResponse
- (NSURL*)URL {
    return [NSURL URLWithString:stringOf(kept<ResponseFacts>(self).address)];
}
- (long long)expectedContentLength {
    return kept<ResponseFacts>(self).length;
}
- (NSString*)suggestedFilename {
    return stringOf(kept<ResponseFacts>(self).name);
}
@end
@implementation NSHTTPURLResponse
- (NSInteger)statusCode {
    return kept<ResponseFacts>(self).status;
}
@end

@implementation NSURLSessionConfiguration
+ (NSURLSessionConfiguration*)ephemeralSessionConfiguration {
    return [self alloc];
}
- (void)setTimeoutIntervalForRequest:(NSTimeInterval)seconds {
    kept<std::pair<double, double>>(self).first = seconds;
}
- (void)setTimeoutIntervalForResource:(NSTimeInterval)seconds {
    kept<std::pair<double, double>>(self).second = seconds;
}
@end

@implementation NSOperationQueue
- (void)setMaxConcurrentOperationCount:(NSInteger)count {
}
@end
