#include "platform/SystemExceptions.h"

#include "platform/base/UncaughtException.h"

#include <QVariantMap>

#import <Foundation/Foundation.h>

namespace platform {
namespace {

PlatformException translated(NSException* exception) {
    QVariantMap userInfo;
    for (id key in exception.userInfo) {
        id const value = [exception.userInfo objectForKey:key];
        userInfo.insert(QString::fromNSString([key description]), QString::fromNSString([value description]));
    }
    return {QString::fromNSString(exception.name), QString::fromNSString(exception.reason), userInfo};
}

void report(NSException* exception) {
    if (const UncaughtExceptionHandler handler = uncaughtExceptionHandler()) {
        handler(translated(exception));
    }
}

} // namespace

void translatingSystemExceptions(const std::function<void()>& body) {
    @try {
        body();
    } @catch (NSException* exception) {
        throw translated(exception);
    }
}

void reportUncaughtSystemExceptions() {
    setExceptionTranslation(translatingSystemExceptions);
    NSSetUncaughtExceptionHandler(report);
}

} // namespace platform
