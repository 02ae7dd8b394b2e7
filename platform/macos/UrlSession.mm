#include "platform/UrlSession.h"

#include "platform/base/UncaughtException.h"

#import <Foundation/Foundation.h>

#include <memory>

namespace {

NSURL* urlOf(const std::optional<Address>& address) {
    return address ? [NSURL URLWithString:address->text.toNSString()] : nil;
}

TransportError errorOf(NSError* error) {
    NSString* const address = error.userInfo[NSURLErrorFailingURLStringErrorKey];
    return {static_cast<TransportError::Code>(error.code), QString::fromNSString(address)};
}

UrlResponse responseOf(NSURLResponse* response) {
    UrlResponse result;
    result.address = QString::fromNSString(response.URL.absoluteString);
    result.isHttp = [response isKindOfClass:[NSHTTPURLResponse class]];
    result.statusCode = result.isHttp ? static_cast<int>(((NSHTTPURLResponse*)response).statusCode) : 0;
    result.suggestedFilename = QString::fromNSString(response.suggestedFilename);
    return result;
}

NSMutableURLRequest* requestOf(const UrlRequest& request, const TransferLimits& limits) {
    NSMutableURLRequest* const result = [NSMutableURLRequest requestWithURL:urlOf(request.address)];
    result.HTTPMethod = request.method.toNSString();
    result.timeoutInterval = std::chrono::duration<double>(limits.idle).count();
    for (const auto& [name, value] : request.headers) {
        [result addValue:value.toNSString() forHTTPHeaderField:name.toNSString()];
    }
    if (!request.body.isEmpty()) {
        result.HTTPBody = request.body.toNSData();
    }
    return result;
}

void complete(const UrlSession::DataCompletion& completion, NSData* data, NSURLResponse* response, NSError* error) {
    if (error) {
        completion(std::nullopt, std::nullopt, errorOf(error));
    } else {
        completion(QByteArray::fromNSData(data), responseOf(response), std::nullopt);
    }
}

} // namespace

// Hands the session's messages on; the session keeps it until it is invalidated.
@interface DownloadDelegate : NSObject <NSURLSessionDownloadDelegate>
- (instancetype)initWithCallbacks:(UrlSession::DownloadCallbacks)callbacks;
@end

@implementation DownloadDelegate {
    UrlSession::DownloadCallbacks _callbacks;
}

- (instancetype)initWithCallbacks:(UrlSession::DownloadCallbacks)callbacks {
    self = [super init];
    if (self) {
        _callbacks = std::move(callbacks);
    }
    return self;
}

- (void)URLSession:(NSURLSession*)session
                 downloadTask:(NSURLSessionDownloadTask*)task
                 didWriteData:(int64_t)bytes
            totalBytesWritten:(int64_t)total
    totalBytesExpectedToWrite:(int64_t)expected {
    platform::reportingUncaughtExceptions([&] {
        if (_callbacks.didWriteData) {
            _callbacks.didWriteData(bytes, total, expected);
        }
    });
}

- (void)URLSession:(NSURLSession*)session
                 downloadTask:(NSURLSessionDownloadTask*)task
    didFinishDownloadingToURL:(NSURL*)location {
    platform::reportingUncaughtExceptions([&] {
        if (_callbacks.didFinishDownloading) {
            _callbacks.didFinishDownloading(responseOf(task.response), QString::fromNSString(location.path));
        }
    });
}

- (void)URLSession:(NSURLSession*)session task:(NSURLSessionTask*)task didCompleteWithError:(NSError*)error {
    platform::reportingUncaughtExceptions([&] {
        if (_callbacks.didComplete) {
            _callbacks.didComplete(error ? std::optional(errorOf(error)) : std::nullopt);
        }
    });
    [session finishTasksAndInvalidate];
}

@end

namespace UrlSession {

void dataTask(UrlRequest request, DataCompletion completion, const TransferLimits& limits) {
    const auto handler = std::make_shared<DataCompletion>(std::move(completion));
    [[[NSURLSession sharedSession]
        dataTaskWithRequest:requestOf(request, limits)
          completionHandler:^(NSData* data, NSURLResponse* response, NSError* error) {
            platform::reportingUncaughtExceptions([&] { complete(*handler, data, response, error); });
          }] resume];
}

void downloadTask(std::optional<Address> address, DownloadCallbacks callbacks, const TransferLimits& limits) {
    NSURLSessionConfiguration* const configuration = [NSURLSessionConfiguration ephemeralSessionConfiguration];
    configuration.timeoutIntervalForRequest = std::chrono::duration<double>(limits.idle).count();
    configuration.timeoutIntervalForResource = std::chrono::duration<double>(limits.whole).count();
    NSURLSession* const session =
        [NSURLSession sessionWithConfiguration:configuration
                                      delegate:[[DownloadDelegate alloc] initWithCallbacks:std::move(callbacks)]
                                 delegateQueue:[NSOperationQueue mainQueue]];
    [[session downloadTaskWithURL:urlOf(address)] resume];
}

void removeAbandonedDownloads() {
    // The folder belongs to all programs of this user, and nothing tells whose file one is.
}

void removePartialDownloads() {
    // The system deletes what its sessions leave behind.
}

} // namespace UrlSession
