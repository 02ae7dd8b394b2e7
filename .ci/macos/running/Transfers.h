#pragma once
// What is kept for the objects around a session.
#import "Standins.h"

#include <QByteArray>
#include <QList>

#include <atomic>
#include <memory>
#include <optional>

namespace standins {

using Completion = void (^)(NSData*, NSURLResponse*, NSError*);

struct RequestFacts {
    NSURL* address = nil;
    QString method = QString::fromLatin1("GET");
    QByteArray body;
    QList<QByteArray> headers;
    std::optional<double> idle; // the session's without one
};

struct ResponseFacts {
    QString address, name, type;
    long long length = -1;
    long status = 0;
};

struct SessionFacts {
    id delegate = nil;
    double idle = 60; // seconds
    double whole = 604800;
};

struct TaskFacts {
    NSURLSession* session = nil;
    NSURLRequest* request = nil;
    NSURLResponse* response = nil;
    Completion completion = nullptr;
    id delegate = nil;
    std::atomic<bool> isCancelled = false;
};

inline TaskFacts& factsOf(NSURLSessionTask* task) {
    return *kept<std::shared_ptr<TaskFacts>>(task);
}

} // namespace standins
