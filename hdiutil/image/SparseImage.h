#pragma once

#include "hdiutil/image/DiskImage.h"

#include <memory>
#include <string>

namespace hdi {

// A disk in bands, of which only those that were ever written are stored; the others read as zeros.

// All bands in one file, behind a table of theirs (".sparseimage"). Null when the file does not begin like one. Throws
// ImageError: kDamaged for a table that does not fit the file or the disk, kUnsupported for an image whose table does
// not fit its header (more than 1008 bands, usually a gigabyte).
//
// Facts: J. Metz, "Mac OS disk image types" (libmodi documentation), section "Sparse disk image". Everything is
// big-endian.
std::unique_ptr<DiskImage> openSparseImage(const ByteSourcePtr& file);

// Each band a file of a folder (".sparsebundle"). Throws ImageError: kEncrypted, kDamaged, kIo.
//
// Facts: the same, section "Sparse bundle disk image".
std::unique_ptr<DiskImage> openSparseBundle(const std::string& folder);

// Whether the path is a folder that looks like one.
bool isSparseBundle(const std::string& path);

} // namespace hdi
