#pragma once
// arc4random(3), getprogname(3).
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
uint32_t arc4random(void);
void arc4random_buf(void*, size_t);
uint32_t arc4random_uniform(uint32_t);
const char* getprogname(void);
#ifdef __cplusplus
}
#endif
