// macOS closes each descriptor that no action names; Linux is told which those are.
#include <crt_externs.h>
#include <spawn.h>
#include <unistd.h>

#include <set>

#undef posix_spawn
#undef posix_spawnattr_setflags
#undef posix_spawn_file_actions_adddup2

namespace {

std::set<int> named; // by the actions that are made now
bool closesTheRest = false;

} // namespace

int standin_setflags(posix_spawnattr_t* attributes, short flags) {
    closesTheRest = (flags & POSIX_SPAWN_CLOEXEC_DEFAULT) != 0;
    return ::posix_spawnattr_setflags(attributes, static_cast<short>(flags & ~POSIX_SPAWN_CLOEXEC_DEFAULT));
}

int standin_addinherit(posix_spawn_file_actions_t* actions, int descriptor) {
    return standin_adddup2(actions, descriptor, descriptor);
}

int standin_adddup2(posix_spawn_file_actions_t* actions, int from, int to) {
    named.insert(to);
    return ::posix_spawn_file_actions_adddup2(actions, from, to);
}

int standin_spawn(pid_t* child, const char* path, posix_spawn_file_actions_t* actions,
                  const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[]) {
    for (int descriptor = 0; closesTheRest && descriptor <= STDERR_FILENO; ++descriptor) {
        if (!named.contains(descriptor)) {
            ::posix_spawn_file_actions_addclose(actions, descriptor);
        }
    }
    if (closesTheRest) {
        ::posix_spawn_file_actions_addclosefrom_np(actions, STDERR_FILENO + 1);
    }
    named.clear();
    return ::posix_spawn(child, path, actions, attributes, arguments, environment);
}

char*** _NSGetEnviron() {
    return &environ;
}
