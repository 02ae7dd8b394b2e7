#pragma once
// issetugid(2).
#ifdef __cplusplus
extern "C"
#endif
    int
    issetugid(void);
