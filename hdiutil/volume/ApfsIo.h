#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/volume/ApfsLibrary.h"

#include <exception>
#include <memory>

namespace hdi::apfs {

// A handle through which libfsapfs reads `source`. What a read throws is kept in `error`, since no exception may pass
// through the library. Null when there is no memory.
IoHandle makeIoHandle(const ByteSourcePtr& source, const std::shared_ptr<std::exception_ptr>& error);

} // namespace hdi::apfs
