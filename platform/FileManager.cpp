#include "platform/FileManager.h"

#include "base/Files.h"
#include "platform/RealPath.h"
#include "platform/base/PathText.h"
#include "platform/base/PlatformException.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

using namespace Qt::StringLiterals;

namespace {

namespace fs = std::filesystem;

fs::path kernelPath(const QString& plain) {
    return PathText::toKernel(platform::realPath(plain)).toStdString();
}

QString fileName(const QString& path) {
    return path.mid(path.lastIndexOf(u'/') + 1);
}

QString sentence(const char* before, const QString& path, const char* after) {
    return QString::fromUtf8(before) + u"“"_s + fileName(path) + u"”"_s + QString::fromUtf8(after);
}

// Codes as published in <Foundation/FoundationErrors.h>.
constexpr int kNoSuchFile = 4;
constexpr int kWriteUnknown = 512;
constexpr int kWriteNoPermission = 513;
constexpr int kWriteFileExists = 516;
constexpr int kWriteOutOfSpace = 640;

int writeCode(const std::error_code& error) {
    if (error == std::errc::permission_denied || error == std::errc::operation_not_permitted) {
        return kWriteNoPermission;
    }
    if (error == std::errc::no_space_on_device) {
        return kWriteOutOfSpace;
    }
    if (error == std::errc::file_exists || error == std::errc::not_a_directory) {
        return kWriteFileExists;
    }
    return kWriteUnknown;
}

int removeCode(const std::error_code& error) {
    return error == std::errc::no_such_file_or_directory ? kNoSuchFile : writeCode(error);
}

// Does not wait for the other end of a pipe that somebody put in a file's place.
base::Descriptor openRetrying(const fs::path& path, int flags, mode_t mode = 0) {
    int descriptor = -1;
    do {
        descriptor = ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, mode);
    } while (descriptor < 0 && errno == EINTR);
    return base::Descriptor(descriptor);
}

// Zero, or the errno value of the failure.
int writeAll(int descriptor, const QByteArray& bytes) {
    return base::writeAll(descriptor, std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())))
               ? 0
               : errno;
}

} // namespace

namespace FileManager {

QString Error::text() const {
    return u"Error Domain=NSCocoaErrorDomain Code="_s + QString::number(code) + u" \""_s + description +
           u"\" UserInfo={NSFilePath="_s + path + u'}';
}

bool fileExists(const QString& path) {
    std::error_code error;
    return fs::exists(kernelPath(path), error);
}

std::optional<QStringList> contentsOfDirectory(const QString& path) {
    std::error_code error;
    QStringList names;
    fs::directory_iterator entry(kernelPath(path), error);
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
        names += PathText::fromKernel(entry->path().filename().c_str());
    }
    return error ? std::nullopt : std::optional(names);
}

std::optional<Error> createDirectory(const QString& path) {
    std::error_code error;
    const fs::path folder = kernelPath(path);
    fs::create_directories(folder, error);
    if (!error && fs::is_directory(folder, error)) {
        return std::nullopt;
    }
    return Error{writeCode(error), sentence("The folder ", path, " couldn’t be created."), path};
}

bool createFile(const QString& path) {
    base::Descriptor file = openRetrying(kernelPath(path), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    return file && file.close();
}

std::optional<Error> removeItem(const QString& path) {
    std::error_code error;
    const fs::path target = kernelPath(path);
    if (!fs::exists(fs::symlink_status(target, error))) {
        error = std::make_error_code(std::errc::no_such_file_or_directory);
    } else {
        fs::remove_all(target, error);
    }
    if (!error) {
        return std::nullopt;
    }
    return Error{removeCode(error), sentence("", path, " couldn’t be removed."), path};
}

std::optional<Error> moveItem(const QString& from, const QString& to) {
    const fs::path source = kernelPath(from);
    const fs::path target = kernelPath(to);
    std::error_code error;
    if (fs::exists(fs::symlink_status(target, error))) {
        error = std::make_error_code(std::errc::file_exists);
    } else {
        fs::rename(source, target, error);
        if (error == std::errc::cross_device_link) {
            error.clear();
            fs::copy(source, target, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
            if (!error) {
                fs::remove_all(source, error);
            }
        }
    }
    if (!error) {
        return std::nullopt;
    }
    return Error{removeCode(error), sentence("", from, " couldn’t be moved."), from};
}

std::optional<QByteArray> contents(const QString& path) {
    QFile file(platform::realPath(path));
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    return file.error() == QFileDevice::NoError ? std::optional(bytes) : std::nullopt;
}

std::optional<Error> writeAtomically(const QByteArray& bytes, const QString& path) {
    const fs::path target = kernelPath(path);
    std::string temporary = target.string() + ".XXXXXX";
    base::Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    const bool isMade = static_cast<bool>(file);
    int failure = isMade ? writeAll(file.get(), bytes) : errno;
    if (!file.close() && failure == 0) {
        failure = errno;
    }
    if (failure == 0 && std::rename(temporary.c_str(), target.c_str()) != 0) {
        failure = errno;
    }
    if (failure == 0) {
        return std::nullopt;
    }
    if (isMade) {
        ::unlink(temporary.c_str());
    }
    const std::error_code error(failure, std::generic_category());
    return Error{writeCode(error), sentence("The file ", path, " couldn’t be saved."), path};
}

} // namespace FileManager

WritingFileHandle::WritingFileHandle(const QString& path)
    : file_(openRetrying(kernelPath(path), O_WRONLY | O_APPEND)) {}

void WritingFileHandle::seekToEndOfFile() {
    if (isPresent() && ::lseek(file_.get(), 0, SEEK_END) < 0) {
        throw PlatformException::fileHandle(u"seekToEndOfFile"_s, errno);
    }
}

void WritingFileHandle::writeData(const QByteArray& bytes) {
    if (!isPresent()) {
        return;
    }
    if (const int failure = writeAll(file_.get(), bytes)) {
        throw PlatformException::fileHandle(u"writeData:"_s, failure);
    }
}

void WritingFileHandle::closeFile() {
    if (!file_.close()) {
        throw PlatformException::fileHandle(u"closeFile"_s, errno);
    }
}
