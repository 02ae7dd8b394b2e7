#pragma once
// dispatch(3) and the documentation of Dispatch. Under ARC a dispatch object is an Objective-C object.
#include <Availability.h>
#include <stdint.h>
#ifdef __OBJC__
#import <objc/NSObject.h>
#define STUB_DISPATCH_TYPE(name)                                                                                       \
    @protocol OS_                                                                                                      \
    ##name<NSObject> @end                                                                                              \
    typedef NSObject<OS_##name>* name##_t
#else
#define STUB_DISPATCH_TYPE(name) typedef struct name##_s* name##_t
#endif
STUB_DISPATCH_TYPE(dispatch_queue);
STUB_DISPATCH_TYPE(dispatch_source);
STUB_DISPATCH_TYPE(dispatch_semaphore);

#ifdef __cplusplus
extern "C" {
#endif
typedef void (^dispatch_block_t)(void);
typedef uint64_t dispatch_time_t;
typedef long dispatch_once_t;
#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_TIME_FOREVER (~0ull)
#define NSEC_PER_SEC 1000000000ull
#define QOS_CLASS_USER_INITIATED 0x19

#ifdef __OBJC__
extern __kindof dispatch_queue_t _dispatch_main_q;
#define dispatch_get_main_queue() (_dispatch_main_q)
typedef const struct dispatch_source_type_s* dispatch_source_type_t;
extern const struct dispatch_source_type_s _dispatch_source_type_signal;
#define DISPATCH_SOURCE_TYPE_SIGNAL (&_dispatch_source_type_signal)
dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle, uintptr_t mask,
                                         dispatch_queue_t queue) __attribute__((ns_returns_retained));
void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler);
void dispatch_resume(NSObject* object);
#endif
#ifdef __OBJC__
@protocol OS_dispatch_queue_attr <NSObject>
@end
typedef NSObject<OS_dispatch_queue_attr>* dispatch_queue_attr_t;
#define DISPATCH_QUEUE_SERIAL nil
dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attributes)
    __attribute__((ns_returns_retained));
#endif
dispatch_queue_t dispatch_get_global_queue(intptr_t identifier, uintptr_t flags);
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block);
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);
#ifdef __cplusplus
}
#endif
