#pragma once

#include "platform/linux/BodySink.h"

namespace platform {

// Reads a file: address as if it came from a server. Errors: kFileIsDirectory, asked first, kFileDoesNotExist,
// kNoPermissionToRead, and whatever the sink returns. The host of the address is not looked at; the path is the file
// system's own and not mapped.
TransferResult transferFile(const QString& address, long blockSize, const BodySink& sink);

} // namespace platform
