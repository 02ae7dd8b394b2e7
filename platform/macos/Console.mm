#include "platform/Console.h"

#import <Foundation/Foundation.h>

namespace platform {

void consoleLog(const QString& text) {
    NSLog(@"%@", text.toNSString());
}

} // namespace platform
