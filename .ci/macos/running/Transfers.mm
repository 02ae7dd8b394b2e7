// Sessions, over libcurl: what they tell their delegates, and on which thread, follows the documentation of
// NSURLSession.
#import "Transfers.h"

#include "platform/base/ContentDisposition.h"
#include "platform/base/CurlErrors.h"
#include "platform/base/HttpRedirect.h"
#include "platform/base/TransportError.h"

#include <QUrl>

#include <curl/curl.h>

#include <dispatch/dispatch.h>

#include <chrono>
#include <cstdlib>
#include <thread>

using namespace Qt::StringLiterals;
using standins::Completion;
using standins::factsOf;
using standins::kept;
using standins::keeping;
using standins::RequestFacts;
using standins::ResponseFacts;
using standins::SessionFacts;
using standins::stringOf;
using standins::TaskFacts;
using standins::textOf;

extern "C" void* _Block_copy(const void*);

namespace {

using Clock = std::chrono::steady_clock;

// One task on its way through redirects, on a thread of its own.
class Transfer {
public:
    explicit Transfer(NSURLSessionTask* task)
        : task_(task), facts_(factsOf(task)), request_(kept<RequestFacts>(facts_.request)),
          address_(textOf(request_.address.absoluteString)), start_(Clock::now()), lastByte_(start_) {
        session_ = kept<SessionFacts>(facts_.session);
        asked_ = facts_.delegate ? facts_.delegate : session_.delegate;
    }

    void run() {
        NSError* error = nil;
        do {
            again_ = false;
            error = perform();
        } while (again_ && !error);
        finish(error);
    }

private:
    NSError* perform() {
        static const QStringList schemes = {u"http"_s, u"https"_s, u"file"_s};
        if (!schemes.contains(QUrl(address_).scheme())) {
            return failure(NSURLErrorUnsupportedURL);
        }
        response_ = {};
        response_.address = address_;
        isTold_ = false;
        location_.clear();
        CURL* const easy = curl_easy_init();
        curl_slist* headers = curl_slist_append(nullptr, "Expect:");
        for (const QByteArray& header : request_.headers) {
            headers = curl_slist_append(headers, header.constData());
        }
        const QByteArray address = address_.toUtf8();
        const QByteArray method = request_.method.toUtf8();
        curl_easy_setopt(easy, CURLOPT_URL, address.constData());
        curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
        if (!request_.body.isEmpty()) {
            curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(request_.body.size()));
            curl_easy_setopt(easy, CURLOPT_POSTFIELDS, request_.body.constData());
        }
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, method.constData());
        curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
        curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
        if (const char* const trusted = std::getenv("SSL_CERT_FILE")) { // what the keychain is on macOS
            curl_easy_setopt(easy, CURLOPT_CAINFO, trusted);
        }
        curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, takeHeader);
        curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
        curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, takeBody);
        curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
        curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, takeProgress);
        curl_easy_setopt(easy, CURLOPT_XFERINFODATA, this);
        curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
        const CURLcode code = curl_easy_perform(easy);
        long systemError = 0;
        curl_easy_getinfo(easy, CURLINFO_OS_ERRNO, &systemError);
        curl_slist_free_all(headers);
        curl_easy_cleanup(easy);
        return errorOf(code, systemError);
    }

    NSError* errorOf(CURLcode code, long systemError) {
        if (facts_.isCancelled) {
            return failure(NSURLErrorCancelled);
        }
        if (isLate_) {
            return failure(TransportError::kTimedOut);
        }
        if (code != CURLE_OK) {
            return failure(platform::transportErrorCode(code, systemError, true));
        }
        if (!location_.isEmpty() && HttpRedirect::isRedirect(response_.status)) {
            redirect();
            return facts_.isCancelled ? failure(NSURLErrorCancelled) : nil;
        }
        tellResponse();
        return nil;
    }

    // Asks whoever has to be asked; nobody is when the delegate does not have the method.
    void redirect() {
        const QString next = QUrl(address_).resolved(QUrl(location_)).toString(QUrl::FullyEncoded);
        NSURLRequest* const proposed = [NSURLRequest requestWithURL:[NSURL URLWithString:stringOf(next)]];
        __block bool mayFollow = true;
        if ([asked_ respondsToSelector:@selector
                    (URLSession:task:willPerformHTTPRedirection:newRequest:completionHandler:)]) {
            [asked_ URLSession:facts_.session
                                      task:task_
                willPerformHTTPRedirection:keeping([NSHTTPURLResponse class], response_)
                                newRequest:proposed
                         completionHandler:^(NSURLRequest* chosen) {
                           mayFollow = chosen != nil;
                         }];
        }
        if (!mayFollow || facts_.isCancelled) {
            return;
        }
        const QString method = HttpRedirect::methodAfter(response_.status, request_.method);
        if (method != request_.method) {
            request_.body.clear();
        }
        request_.method = method;
        address_ = next;
        again_ = true;
    }

    NSError* failure(long code) const {
        const TransportError error{static_cast<TransportError::Code>(code), textOf(request_.address.absoluteString)};
        return standins::errorOf(u"NSURLErrorDomain"_s, code, error.localizedDescription(), error.failingAddress);
    }

    // The name is what the server wrote, not made harmless.
    void tellResponse() {
        if (std::exchange(isTold_, true)) {
            return;
        }
        if (response_.name.isEmpty()) {
            response_.name = QUrl(address_).path(QUrl::FullyDecoded).section(u'/', -1);
        }
        const bool isHttp = address_.startsWith(u"http"_s, Qt::CaseInsensitive);
        facts_.response =
            isHttp ? keeping([NSHTTPURLResponse class], response_) : keeping([NSURLResponse class], response_);
        if (!facts_.completion) {
            [session_.delegate URLSession:facts_.session
                                 dataTask:(NSURLSessionDataTask*)task_
                       didReceiveResponse:facts_.response
                        completionHandler:^(NSURLSessionResponseDisposition){
                        }];
        }
    }

    void finish(NSError* error) {
        if (!facts_.completion) {
            [session_.delegate URLSession:facts_.session task:task_ didCompleteWithError:error];
            return;
        }
        NSData* const data = error ? nil : body_.toNSData();
        NSURLResponse* const response = error ? nil : facts_.response;
        // All completions of the shared session are called by one queue, one after the other.
        static dispatch_queue_t const queue = dispatch_queue_create("shared session", DISPATCH_QUEUE_SERIAL);
        Completion const completion = facts_.completion;
        dispatch_async(queue, ^{
          completion(data, response, error);
        });
    }

    static size_t takeHeader(char* bytes, size_t size, size_t count, void* self) {
        auto& transfer = *static_cast<Transfer*>(self);
        const QByteArray line = QByteArray(bytes, static_cast<qsizetype>(size * count)).trimmed();
        const QByteArray name = line.left(line.indexOf(':')).toLower();
        const QByteArray value = line.mid(line.indexOf(':') + 1).trimmed();
        if (line.startsWith("HTTP/")) {
            transfer.response_ = {transfer.address_, {}, {}, -1, line.split(' ').value(1).toLong()};
        } else if (name == "location") {
            transfer.location_ = QString::fromUtf8(value);
        } else if (name == "content-length") {
            transfer.response_.length = value.toLongLong();
        } else if (name == "content-encoding") {
            transfer.response_.length = -1;
        } else if (name == "content-disposition") {
            transfer.response_.name = ContentDisposition::filename(value).value_or(QString());
        }
        return size * count;
    }

    static size_t takeBody(char* bytes, size_t size, size_t count, void* self) {
        auto& transfer = *static_cast<Transfer*>(self);
        const QByteArray data(bytes, static_cast<qsizetype>(size * count));
        transfer.lastByte_ = Clock::now();
        if (HttpRedirect::isRedirect(transfer.response_.status) && !transfer.location_.isEmpty()) {
            return size * count;
        }
        transfer.tellResponse();
        if (transfer.facts_.completion) {
            transfer.body_ += data;
        } else {
            [transfer.session_.delegate URLSession:transfer.facts_.session
                                          dataTask:(NSURLSessionDataTask*)transfer.task_
                                    didReceiveData:data.toNSData()];
        }
        return transfer.facts_.isCancelled ? 0 : size * count;
    }

    static int takeProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
        auto& transfer = *static_cast<Transfer*>(self);
        const auto since = [](Clock::time_point time) {
            return std::chrono::duration<double>(Clock::now() - time).count();
        };
        transfer.isLate_ = since(transfer.lastByte_) > transfer.request_.idle.value_or(transfer.session_.idle) ||
                           since(transfer.start_) > transfer.session_.whole;
        return transfer.isLate_ || transfer.facts_.isCancelled ? 1 : 0;
    }

    NSURLSessionTask* task_;
    TaskFacts& facts_;
    SessionFacts session_;
    RequestFacts request_;
    id asked_ = nil;
    QString address_, location_;
    ResponseFacts response_;
    QByteArray body_;
    Clock::time_point start_, lastByte_;
    bool again_ = false, isTold_ = false, isLate_ = false;
};

NSURLSessionDataTask* taskOf(NSURLSession* session, NSURLRequest* request, Completion completion) {
    auto facts = std::make_shared<TaskFacts>();
    facts->session = session;
    facts->request = request;
    facts->completion = completion ? (__bridge Completion)_Block_copy((__bridge const void*)completion) : Completion();
    return keeping([NSURLSessionDataTask class], std::move(facts));
}

} // namespace

@implementation NSURLSessionTask
- (void)resume {
    std::thread([self] { Transfer(self).run(); }).detach();
}
- (void)cancel {
    factsOf(self).isCancelled = true;
}
- (void)setDelegate:(id<NSURLSessionTaskDelegate>)delegate {
    factsOf(self).delegate = delegate;
}
- (NSURLResponse*)response {
    return factsOf(self).response;
}
- (NSURLRequest*)originalRequest {
    return factsOf(self).request;
}
@end
@implementation NSURLSessionDataTask
@end

@implementation NSURLSession
+ (NSURLSession*)sharedSession {
    static NSURLSession* const session = [NSURLSession alloc];
    return session;
}
+ (NSURLSession*)sessionWithConfiguration:(NSURLSessionConfiguration*)configuration
                                 delegate:(id<NSURLSessionDelegate>)delegate
                            delegateQueue:(NSOperationQueue*)queue {
    const auto [idle, whole] = kept<std::pair<double, double>>(configuration);
    NSURLSession* const made = keeping([NSURLSession class], SessionFacts { delegate, idle, whole });
    return made;
}
- (void)finishTasksAndInvalidate {
}
- (NSURLSessionDataTask*)dataTaskWithRequest:(NSURLRequest*)request {
    return taskOf(self, request, Completion());
}
- (NSURLSessionDataTask*)dataTaskWithRequest:(NSURLRequest*)request completionHandler:(Completion)completion {
    return taskOf(self, request, completion);
}
@end
