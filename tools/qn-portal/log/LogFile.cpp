#include "tools/qn-portal/log/LogFile.h"

#include "tools/qn-portal/log/LogError.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace portal::eventlog {

namespace {

[[noreturn]] void failReading(const std::string& path) {
    throw LogError(path + " cannot be read: " + std::strerror(errno));
}

} // namespace

LogFile::LogFile(std::string path)
    : path_(std::move(path)), file_(path_ == "-" ? dup(STDIN_FILENO) : open(path_.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (!file_) {
        failReading(path_);
    }
}

// 0 at the end, and when a signal came.
std::size_t LogFile::fill(EntryReader& reader) {
    const std::span<char> room = reader.room();
    const ssize_t count = read(file_.get(), room.data(), room.size());
    if (count < 0 && errno != EINTR) {
        failReading(path_);
    }
    const auto size = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    reader.filled(size);
    return size;
}

void LogFile::readAll(const EntryReader::Receiver& receiver) {
    try {
        EntryReader reader(receiver);
        while (fill(reader) > 0) {
        }
        reader.finish();
    } catch (const NoEventLog& error) {
        throw LogError(path_ + " " + error.what());
    }
}

void LogFile::follow(const EntryReader::Receiver& receiver, const std::function<void()>& onPause,
                     const std::atomic<bool>& isEnded) {
    constexpr int kMilliseconds = 100;
    try {
        EntryReader reader(receiver);
        while (!isEnded) {
            if (fill(reader) > 0) {
                continue;
            }
            reader.pause();
            onPause();
            if (becameShorter()) {
                rewind();
            }
            poll(nullptr, 0, kMilliseconds); // a signal ends it early
        }
        reader.finish();
    } catch (const NoEventLog& error) {
        throw LogError(path_ + " " + error.what());
    }
}

bool LogFile::becameShorter() const {
    struct stat status {};
    const off_t at = lseek(file_.get(), 0, SEEK_CUR);
    return fstat(file_.get(), &status) == 0 && S_ISREG(status.st_mode) && at > status.st_size;
}

void LogFile::rewind() {
    if (lseek(file_.get(), 0, SEEK_SET) != 0) {
        throw LogError(path_ + " cannot be read twice: " + std::strerror(errno));
    }
}

} // namespace portal::eventlog
