#include "hdiutil/volume/ApfsContainer.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/ApfsIo.h"
#include "hdiutil/volume/Numbers.h"

#include <array>
#include <new>
#include <utility>

namespace hdi {

std::shared_ptr<ApfsContainer> ApfsContainer::open(const ByteSourcePtr& partition) {
    std::shared_ptr<ApfsContainer> opened(new ApfsContainer);
    apfs::Metadata metadata = apfs::findMetadata(*partition);
    opened->sourceError_ = std::make_shared<std::exception_ptr>();
    opened->io_ = apfs::makeIoHandle(apfs::checkedPartition(partition, metadata), opened->sourceError_);
    opened->volumes_ = std::move(metadata.volumes);
    libfsapfs_error_t* error = nullptr;
    libfsapfs_container_t* container = nullptr;
    if (!opened->io_ || libfsapfs_container_initialize(&container, nullptr) != 1) {
        throw std::bad_alloc();
    }
    opened->container_.reset(container);
    const int result =
        libfsapfs_container_open_file_io_handle(container, opened->io_.get(), LIBFSAPFS_OPEN_READ, &error);
    opened->check(result, "the APFS container cannot be opened", error);
    return opened;
}

void ApfsContainer::fail(const char* what, libfsapfs_error_t*& error) const {
    std::array<char, 1024> text{};
    if (error != nullptr) {
        libfsapfs_error_sprint(error, text.data(), text.size() - 1);
        libfsapfs_error_free(&error);
    }
    if (const std::exception_ptr cause = std::exchange(*sourceError_, nullptr)) {
        std::rethrow_exception(cause);
    }
    const std::string details = text[0] == '\0' ? "" : std::string(" (") + text.data() + ")";
    throw ImageError(ImageError::Kind::kDamaged, what + details);
}

} // namespace hdi
