#pragma once
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef struct mach_timebase_info {
    uint32_t numer;
    uint32_t denom;
} mach_timebase_info_data_t;
int mach_timebase_info(struct mach_timebase_info* info);
uint64_t mach_absolute_time(void);
#ifdef __cplusplus
}
#endif
