#include "platform/UrlSession.h"

#include "platform/DownloadDelivery.h"
#include "platform/DownloadProgress.h"
#include "platform/PartialDownload.h"
#include "platform/base/HttpRedirect.h"
#include "platform/base/SuggestedFilename.h"
#include "platform/base/TransferRequest.h"
#include "platform/base/UncaughtException.h"

#import <Foundation/Foundation.h>

#include <memory>
#include <utility>

namespace {

// Nil for an absent address, and for one that cannot be asked for: the system itself would also take data: and ftp:.
NSURL* urlOf(const std::optional<Address>& address) {
    return address && TransferRequest::canBeAskedFor(*address) ? [NSURL URLWithString:address->text.toNSString()] : nil;
}

TransportError errorWith(TransportError::Code code, const std::optional<Address>& address) {
    return {code, address ? address->text : QString()};
}

TransportError errorOf(NSError* error) {
    NSString* const address = [error.userInfo objectForKey:NSURLErrorFailingURLStringErrorKey];
    TransportError result{static_cast<TransportError::Code>(error.code), QString::fromNSString(address)};
    result.domain = QString::fromNSString(error.domain);
    result.sentence = QString::fromNSString(error.localizedDescription);
    return result;
}

UrlResponse responseOf(NSURLResponse* response) {
    UrlResponse result;
    result.address = QString::fromNSString(response.URL.absoluteString);
    result.isHttp = [response isKindOfClass:[NSHTTPURLResponse class]];
    result.statusCode = result.isHttp ? static_cast<int>(((NSHTTPURLResponse*)response).statusCode) : 0;
    result.suggestedFilename = SuggestedFilename::cleaned(QString::fromNSString(response.suggestedFilename));
    return result;
}

double seconds(std::chrono::milliseconds time) {
    return std::chrono::duration<double>(time).count();
}

NSURLRequest* requestOf(NSURL* url, const UrlRequest& request, const TransferLimits& limits) {
    NSMutableURLRequest* const result = [NSMutableURLRequest requestWithURL:url];
    result.HTTPMethod = request.method.toNSString();
    result.timeoutInterval = seconds(limits.idle);
    for (const auto& [name, value] : request.headers) {
        [result addValue:QString::fromUtf8(TransferRequest::headerText(value)).toNSString()
            forHTTPHeaderField:QString::fromUtf8(TransferRequest::headerText(name)).toNSString()];
    }
    if (!request.body.isEmpty()) {
        result.HTTPBody = request.body.toNSData();
    }
    return result;
}

// Not on the session's queue, which calls one completion after the other: one that does not return, because its thread
// is parked in a crash, would keep the final post's answer from ever arriving.
void onOwnThread(std::function<void()> body) {
    [NSThread detachNewThreadWithBlock:^{
      platform::reportingUncaughtExceptions(body);
    }];
}

} // namespace

// Which redirects a task may follow. What is refused cancels the task, and the code says why.
@interface RedirectRules : NSObject <NSURLSessionTaskDelegate> {
    long _left;
    std::optional<TransportError::Code> _refusal;
}
- (instancetype)initWithLimit:(long)limit;
- (std::optional<TransportError::Code>)refusal;
- (void)refuse:(TransportError::Code)code task:(NSURLSessionTask*)task;
@end

@implementation RedirectRules

- (instancetype)initWithLimit:(long)limit {
    self = [super init];
    if (self) {
        _left = limit;
    }
    return self;
}

- (std::optional<TransportError::Code>)refusal {
    return _refusal;
}

- (void)refuse:(TransportError::Code)code task:(NSURLSessionTask*)task {
    _refusal = code;
    [task cancel];
}

- (void)URLSession:(NSURLSession*)session
                          task:(NSURLSessionTask*)task
    willPerformHTTPRedirection:(NSHTTPURLResponse*)response
                    newRequest:(NSURLRequest*)request
             completionHandler:(void (^)(NSURLRequest*))completionHandler {
    const QString from = QString::fromNSString(response.URL.absoluteString);
    const bool mayFollow = HttpRedirect::mayFollow(from, QString::fromNSString(request.URL.absoluteString));
    if (mayFollow && _left-- > 0) {
        completionHandler(request);
        return;
    }
    [self refuse:mayFollow ? TransportError::kTooManyRedirects : TransportError::kUnsupportedAddress task:task];
    completionHandler(nil);
}

@end

// One download, from its session's own queue to the file and to the main thread.
@interface Download : RedirectRules <NSURLSessionDataDelegate> {
    std::shared_ptr<PartialDownload> _file;
    std::shared_ptr<DownloadProgress> _progress;
    UrlSession::DownloadCallbacks _callbacks;
    int64_t _expected;
}
- (instancetype)initWithFile:(std::shared_ptr<PartialDownload>)file
                   callbacks:(UrlSession::DownloadCallbacks)callbacks
                      limits:(const TransferLimits&)limits;
@end

@implementation Download

- (instancetype)initWithFile:(std::shared_ptr<PartialDownload>)file
                   callbacks:(UrlSession::DownloadCallbacks)callbacks
                      limits:(const TransferLimits&)limits {
    self = [super initWithLimit:limits.redirects];
    if (self) {
        _file = std::move(file);
        _progress = std::make_shared<DownloadProgress>(callbacks.didWriteData);
        _callbacks = std::move(callbacks);
        _expected = -1;
    }
    return self;
}

- (void)URLSession:(NSURLSession*)session
              dataTask:(NSURLSessionDataTask*)task
    didReceiveResponse:(NSURLResponse*)response
     completionHandler:(void (^)(NSURLSessionResponseDisposition))completionHandler {
    _expected = response.expectedContentLength;
    completionHandler(NSURLSessionResponseAllow);
}

- (void)URLSession:(NSURLSession*)session dataTask:(NSURLSessionDataTask*)task didReceiveData:(NSData*)data {
    if (!_file->write({static_cast<const char*>(data.bytes), data.length})) {
        [self refuse:TransportError::kCannotWriteFile task:task];
        return;
    }
    _progress->add(static_cast<int64_t>(data.length), _expected);
}

- (void)URLSession:(NSURLSession*)session task:(NSURLSessionTask*)task didCompleteWithError:(NSError*)error {
    [session finishTasksAndInvalidate]; // it keeps this object until then
    _progress->flush();
    const bool isWhole = _file->close();
    std::optional<TransportError> failure;
    if (error) {
        failure = errorOf(error);
    }
    const QString address = QString::fromNSString(task.originalRequest.URL.absoluteString);
    if (const auto refusal = [self refusal]) {
        failure = TransportError{*refusal, address};
    } else if (!failure && !isWhole) {
        failure = TransportError{TransportError::kCannotWriteFile, address};
    }
    if (!failure) {
        DownloadDelivery::finish(_callbacks, responseOf(task.response), _file);
    }
    _file.reset();
    DownloadDelivery::complete(_callbacks, failure);
}

@end

namespace UrlSession {

void dataTask(UrlRequest request, DataCompletion completion, const TransferLimits& limits) {
    NSURL* const url = urlOf(request.address);
    if (!url) {
        const TransportError error = errorWith(TransportError::kUnsupportedAddress, request.address);
        onOwnThread([completion, error] { completion(std::nullopt, std::nullopt, error); });
        return;
    }
    RedirectRules* const rules = [[RedirectRules alloc] initWithLimit:limits.redirects];
    const auto take = [=, address = request.address](NSData* data, NSURLResponse* response, NSError* error) {
        if (const auto refusal = [rules refusal]) {
            completion(std::nullopt, std::nullopt, errorWith(*refusal, address));
        } else if (error) {
            completion(std::nullopt, std::nullopt, errorOf(error));
        } else if (static_cast<std::int64_t>(data.length) > limits.data) {
            completion(std::nullopt, std::nullopt, errorWith(TransportError::kDataLengthExceedsMaximum, address));
        } else {
            // Of no bytes Qt would make an absent text.
            completion(data.length > 0 ? QByteArray::fromNSData(data) : QByteArray(""), responseOf(response),
                       std::nullopt);
        }
    };
    NSURLSessionDataTask* const task =
        [[NSURLSession sharedSession] dataTaskWithRequest:requestOf(url, request, limits)
                                        completionHandler:^(NSData* data, NSURLResponse* response, NSError* error) {
                                          onOwnThread([=] { take(data, response, error); });
                                        }];
    if (@available(macOS 12.0, *)) { // before, the shared session asks nobody about redirects
        task.delegate = rules;
    }
    [task resume];
}

void downloadTask(std::optional<Address> address, DownloadCallbacks callbacks, const TransferLimits& limits) {
    NSURL* const url = urlOf(address);
    auto file = url ? PartialDownload::create() : nullptr;
    if (!file) {
        const auto code = url ? TransportError::kCannotCreateFile : TransportError::kUnsupportedAddress;
        DownloadDelivery::complete(callbacks, errorWith(code, address));
        return;
    }
    NSURLSessionConfiguration* const configuration = [NSURLSessionConfiguration ephemeralSessionConfiguration];
    configuration.timeoutIntervalForRequest = seconds(limits.idle);
    configuration.timeoutIntervalForResource = seconds(limits.whole);
    NSOperationQueue* const queue = [[NSOperationQueue alloc] init];
    queue.maxConcurrentOperationCount = 1;
    Download* const download = [[Download alloc] initWithFile:std::move(file)
                                                    callbacks:std::move(callbacks)
                                                       limits:limits];
    NSURLSession* const session = [NSURLSession sessionWithConfiguration:configuration
                                                                delegate:download
                                                           delegateQueue:queue];
    [[session dataTaskWithRequest:[NSURLRequest requestWithURL:url]] resume];
}

void removeAbandonedDownloads() {
    // The folder belongs to all programs of this user, and nothing tells whose file one is.
}

void removePartialDownloads() {
    PartialDownload::removeAll();
}

} // namespace UrlSession
