#pragma once

#include <libbfio.h>
#include <libfsapfs.h>

#include <memory>

namespace hdi::apfs {

// libfsapfs's objects, freed by their owners.
//
// Facts: Apple, "Apple File System Reference"; the headers of libfsapfs and libbfio.

template <typename Object, int (*freeObject)(Object**, libfsapfs_error_t**)>
struct Free {
    void operator()(Object* object) const { freeObject(&object, nullptr); }
};

using Container = std::unique_ptr<libfsapfs_container_t, Free<libfsapfs_container_t, libfsapfs_container_free>>;
using LibraryVolume = std::unique_ptr<libfsapfs_volume_t, Free<libfsapfs_volume_t, libfsapfs_volume_free>>;
using FileEntry = std::unique_ptr<libfsapfs_file_entry_t, Free<libfsapfs_file_entry_t, libfsapfs_file_entry_free>>;
using ExtendedAttribute = std::unique_ptr<libfsapfs_extended_attribute_t,
                                          Free<libfsapfs_extended_attribute_t, libfsapfs_extended_attribute_free>>;
using IoHandle = std::unique_ptr<libbfio_handle_t, Free<libbfio_handle_t, libbfio_handle_free>>;

} // namespace hdi::apfs
