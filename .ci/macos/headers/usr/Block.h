#pragma once
// The language of blocks: Block_copy and Block_release, as clang documents them.
#ifdef __cplusplus
extern "C" {
#endif
void* _Block_copy(const void*);
void _Block_release(const void*);
#ifdef __cplusplus
}
#endif
