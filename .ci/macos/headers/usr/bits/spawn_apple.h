#pragma once
// posix_spawnattr_setflags(3) and posix_spawn_file_actions_addinherit_np(3): macOS 10.7.
#define POSIX_SPAWN_CLOEXEC_DEFAULT 0x4000
#ifdef __cplusplus
extern "C"
#endif
    int
    posix_spawn_file_actions_addinherit_np(posix_spawn_file_actions_t*, int);
