#include "platform/Console.h"

#import <Foundation/Foundation.h>

using namespace Qt::StringLiterals;

namespace platform {

void consoleLog(const QString& text) {
    NSLog(@"%@", text.toNSString());
}

void captureQtMessages() {
    qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString& message) { consoleLog(u"Qt: "_s + message); });
}

void awaitWindowSystem() {}

void windowSystemIsReady() {}

} // namespace platform
