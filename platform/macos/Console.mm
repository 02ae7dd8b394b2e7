#include "platform/Console.h"

#import <Foundation/Foundation.h>

namespace platform {

void consoleLog(const QString& text) {
    NSLog(@"%@", text.toNSString());
}

void captureQtMessages() {
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& message) {
        consoleLog(QStringLiteral("Qt: ") + message);
    });
}

} // namespace platform
