// Errors and exceptions.
#import "Standins.h"

using standins::kept;
using standins::keeping;
using standins::stringOf;

extern "C" void objc_exception_throw(id exception);

namespace {

struct ErrorFacts {
    QString domain, sentence, address;
    long code = 0;
};

struct ExceptionFacts {
    NSString* name = nil;
    NSString* reason = nil;
    NSDictionary* userInfo = nil;
};

} // namespace

NSError* standins::errorOf(const QString& domain, long code, const QString& sentence, const QString& address) {
    return keeping([NSError class], ErrorFacts { domain, sentence, address, code });
}

const NSErrorDomain NSURLErrorDomain = @"NSURLErrorDomain";
NSString* const NSURLErrorFailingURLStringErrorKey = @"NSErrorFailingURLStringKey";

@implementation NSError
- (NSInteger)code {
    return kept<ErrorFacts>(self).code;
}
- (NSErrorDomain)domain {
    return stringOf(kept<ErrorFacts>(self).domain);
}
- (NSString*)localizedDescription {
    return stringOf(kept<ErrorFacts>(self).sentence);
}
- (NSDictionary*)userInfo {
    return @{NSURLErrorFailingURLStringErrorKey : stringOf(kept<ErrorFacts>(self).address)};
}
@end

@implementation NSException
+ (NSException*)exceptionWithName:(NSExceptionName)name reason:(NSString*)reason userInfo:(NSDictionary*)userInfo {
    return keeping(static_cast<Class>(self), ExceptionFacts{name, reason, userInfo});
}
- (void)raise {
    objc_exception_throw(self);
}
- (NSExceptionName)name {
    return kept<ExceptionFacts>(self).name;
}
- (NSString*)reason {
    return kept<ExceptionFacts>(self).reason;
}
- (NSDictionary*)userInfo {
    return kept<ExceptionFacts>(self).userInfo;
}
@end
