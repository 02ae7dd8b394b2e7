#pragma once
// posix_spawn of Linux, with what macOS has besides.
#include_next <spawn.h>

#define POSIX_SPAWN_CLOEXEC_DEFAULT 0x4000

#ifdef __cplusplus
extern "C" {
#endif
int standin_setflags(posix_spawnattr_t* attributes, short flags);
int standin_addinherit(posix_spawn_file_actions_t* actions, int descriptor);
int standin_adddup2(posix_spawn_file_actions_t* actions, int from, int to);
int standin_spawn(pid_t* child, const char* path, posix_spawn_file_actions_t* actions,
                  const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[]);
#ifdef __cplusplus
}
#endif
#define posix_spawnattr_setflags standin_setflags
#define posix_spawn_file_actions_addinherit_np standin_addinherit
#define posix_spawn_file_actions_adddup2 standin_adddup2
#define posix_spawn standin_spawn
