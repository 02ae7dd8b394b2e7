#include "platform/EndSignals.h"

#include "platform/base/Termination.h"

#import <Foundation/Foundation.h>

#include <csignal>

namespace platform {

void terminateOnSignals() {
    static NSMutableArray* const sources = [NSMutableArray array];
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        std::signal(signal, SIG_IGN); // the source sees it all the same
        dispatch_source_t source = dispatch_source_create(DISPATCH_SOURCE_TYPE_SIGNAL, static_cast<uintptr_t>(signal),
                                                          0, dispatch_get_main_queue());
        dispatch_source_set_event_handler(source, ^{
          terminate();
        });
        dispatch_resume(source);
        [sources addObject:source];
    }
}

} // namespace platform
