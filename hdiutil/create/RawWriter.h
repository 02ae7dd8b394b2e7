#pragma once

#include "hdiutil/create/ImageOutput.h"
#include "hdiutil/image/ByteSource.h"

#include <functional>
#include <string>

namespace hdi {

// Writes `disk` as it is to `path`. It is read, that is, decoded, on all cores; long runs of zeros become holes. What
// appears at `path`, and what is thrown, is as for writeUdif.
void writeRaw(const ByteSource& disk, const std::string& path, const NewEncryption& encryption,
              const std::function<void(double)>& progress);

} // namespace hdi
