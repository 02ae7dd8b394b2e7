#include "platform/linux/FileTransfer.h"

#include "base/Descriptor.h"
#include "platform/base/AddressPath.h"
#include "platform/base/MediaTypes.h"
#include "platform/base/PathText.h"
#include "platform/base/SuggestedFilename.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <vector>

namespace {

TransportError::Code codeFor(int errorNumber) {
    return errorNumber == ENOENT || errorNumber == ENOTDIR || errorNumber == ENAMETOOLONG
               ? TransportError::kFileDoesNotExist
               : TransportError::kNoPermissionToRead;
}

// What speaks against reading the path, before it is opened.
std::optional<TransportError::Code> judge(const QByteArray& path, struct stat& status) {
    if (path.contains('\0')) {
        return TransportError::kFileDoesNotExist;
    }
    if (stat(path.constData(), &status) != 0) {
        return codeFor(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        return TransportError::kFileIsDirectory;
    }
    return S_ISREG(status.st_mode) ? std::nullopt : std::optional(TransportError::kNoPermissionToRead);
}

std::optional<TransportError::Code> copyTo(const BodySink& sink, int descriptor, long blockSize, std::int64_t size) {
    std::vector<char> block(static_cast<std::size_t>(blockSize));
    while (true) {
        const ssize_t count = read(descriptor, block.data(), block.size());
        if (count == 0) {
            return std::nullopt;
        }
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return TransportError::kNoPermissionToRead;
        }
        if (const auto refusal = sink({block.data(), static_cast<std::size_t>(count)}, size)) {
            return refusal;
        }
    }
}

UrlResponse responseFor(const QString& address) {
    const QString extension = PathText::pathExtension(AddressPath::lastComponentOf(address));
    UrlResponse response;
    response.address = address;
    response.suggestedFilename = SuggestedFilename::of(std::nullopt, address, MediaTypes::forExtension(extension));
    return response;
}

} // namespace

namespace platform {

TransferResult transferFile(const QString& address, long blockSize, const BodySink& sink) {
    const QByteArray path = AddressPath::decodedPathOf(address);
    struct stat status {};
    if (const auto refusal = judge(path, status)) {
        return TransportError{*refusal, address};
    }
    // Without waiting for a writer, should the path be a pipe.
    const base::Descriptor file(open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file) {
        return TransportError{codeFor(errno), address};
    }
    if (const auto failure = copyTo(sink, file.get(), blockSize, status.st_size)) {
        return TransportError{*failure, address};
    }
    return responseFor(address);
}

} // namespace platform
