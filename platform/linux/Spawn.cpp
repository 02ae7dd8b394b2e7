#include "platform/linux/Spawn.h"

#include "platform/linux/OwnEnvironment.h"

#include <QByteArray>
#include <QFile>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>
#include <vector>

namespace platform {
namespace {

class FileActions {
public:
    FileActions() { ::posix_spawn_file_actions_init(&actions_); }
    ~FileActions() { ::posix_spawn_file_actions_destroy(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    void sendStandardOutputTo(int descriptor) {
        ::posix_spawn_file_actions_adddup2(&actions_, descriptor, STDOUT_FILENO);
    }
    void closeAllBehindStandardError() { ::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1); }
    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

class Attributes {
public:
    explicit Attributes(bool ownSession) {
        ::posix_spawnattr_init(&attributes_);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        ::posix_spawnattr_setsigmask(&attributes_, &none);
        ::posix_spawnattr_setsigdefault(&attributes_, &all);
        const int group = ownSession ? POSIX_SPAWN_SETSID : POSIX_SPAWN_SETPGROUP;
        ::posix_spawnattr_setflags(&attributes_,
                                   static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | group));
    }
    ~Attributes() { ::posix_spawnattr_destroy(&attributes_); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

} // namespace

std::optional<pid_t> spawn(const SpawnRequest& request) {
    std::vector<QByteArray> texts{QFile::encodeName(request.program)};
    for (const QString& argument : request.arguments) {
        texts.push_back(argument.toUtf8());
    }
    std::vector<char*> arguments;
    arguments.reserve(texts.size() + 1);
    for (QByteArray& text : texts) {
        arguments.push_back(text.data());
    }
    arguments.push_back(nullptr);

    FileActions actions;
    if (request.standardOutput) {
        actions.sendStandardOutputTo(*request.standardOutput);
    }
    actions.closeAllBehindStandardError();
    const Attributes attributes(request.ownSession);
    std::vector<char*> environment = environmentForPrograms();
    QByteArray variable = request.variable;
    if (!variable.isEmpty()) {
        const QByteArray name = variable.left(variable.indexOf('=') + 1);
        std::erase_if(environment,
                      [&name](const char* other) { return other && QByteArrayView(other).startsWith(name); });
        environment.insert(environment.begin(), variable.data());
    }
    pid_t child = -1;
    const auto start = request.searchPath ? &::posix_spawnp : &::posix_spawn;
    const int error =
        start(&child, arguments[0], actions.get(), attributes.get(), arguments.data(), environment.data());
    if (error != 0) {
        errno = error;
        return std::nullopt;
    }
    return child;
}

void collectInBackground(pid_t child) {
    try {
        std::thread([child] {
            while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
            }
        }).detach();
    } catch (const std::system_error&) {
        // Without a thread to wait on, the kernel keeps one table entry until this program ends.
    }
}

} // namespace platform
