#include "platform/linux/CopyRegistry.h"

#include "platform/Console.h"
#include "platform/linux/PrivateFolder.h"

#include <QByteArray>
#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <optional>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

// One text record for each entry: a process number, padded with blanks.
constexpr off_t kRecordSize = 16;
// Locked while the list is read or changed; the byte of entry n follows as number n + 1. Locks need no contents below.
constexpr off_t kListByte = 0;

struct flock lockOf(off_t byte, short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

class Registry {
public:
    static std::optional<Registry> open(const QString& path) {
        const int file = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        return file >= 0 ? std::optional(Registry(file)) : std::nullopt;
    }

    std::vector<pid_t> registerAndList() {
        setLock(F_OFD_SETLKW, kListByte, F_WRLCK);
        const off_t entries = countOfEntries();
        std::vector<pid_t> processes;
        off_t next = 0;
        for (off_t entry = 0; entry < entries; ++entry) {
            if (entry == own_ || isTaken(entry)) {
                processes.push_back(processOf(entry));
                next = entry + 1;
            }
        }
        if (own_ < 0) {
            take(next);
            processes.push_back(::getpid());
        }
        setLock(F_OFD_SETLK, kListByte, F_UNLCK);
        std::reverse(processes.begin(), processes.end());
        return processes;
    }

private:
    // The descriptor stays open as long as the process lives: closing it would free the entry.
    explicit Registry(int file) : file_(file) {}

    bool setLock(int command, off_t byte, short type) {
        struct flock lock = lockOf(byte, type);
        int result = -1;
        do {
            result = ::fcntl(file_, command, &lock);
        } while (result != 0 && errno == EINTR);
        return result == 0;
    }

    bool isTaken(off_t entry) const {
        struct flock lock = lockOf(entry + 1, F_WRLCK);
        return ::fcntl(file_, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    }

    // A file that somebody made larger, a hole of gigabytes, say, must not keep the window away.
    off_t countOfEntries() const {
        constexpr off_t kMost = 4096;
        struct stat status {};
        return ::fstat(file_, &status) == 0 ? std::min(status.st_size / kRecordSize, kMost) : 0;
    }

    pid_t processOf(off_t entry) const {
        std::array<char, kRecordSize> record{};
        const ssize_t count = ::pread(file_, record.data(), record.size(), entry * kRecordSize);
        pid_t process = 0;
        if (count > 0) {
            std::from_chars(record.data(), record.data() + count, process);
        }
        return process;
    }

    // Behind the newest entry that lives, so that the order of the entries is that of their making.
    void take(off_t entry) {
        const QByteArray record = QByteArray::number(::getpid()).leftJustified(kRecordSize, ' ');
        const bool written = ::pwrite(file_, record.constData(), kRecordSize, entry * kRecordSize) == kRecordSize &&
                             ::ftruncate(file_, (entry + 1) * kRecordSize) == 0;
        if (written && setLock(F_OFD_SETLK, entry + 1, F_WRLCK)) {
            own_ = entry;
        }
    }

    int file_;
    off_t own_ = -1;
};

std::optional<Registry> openRegistry(const QString& identifier) {
    const auto folder = runtimeFolder();
    auto registry =
        folder ? Registry::open(*folder + u'/' + QString(identifier).replace(u'/', u'_') + u".copies"_s) : std::nullopt;
    if (!registry) {
        consoleLog(u"Other copies cannot be found: the list in the runtime folder cannot be opened."_s);
    }
    return registry;
}

} // namespace

std::vector<pid_t> registerAndListCopies(const QString& identifier) {
    static std::optional<Registry> registry = openRegistry(identifier);
    return registry ? registry->registerAndList() : std::vector<pid_t>{::getpid()};
}

} // namespace platform
