#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/image/EncryptionHeader.h"
#include "hdiutil/image/ImageKeys.h"

namespace hdi {

// The image inside an encrypted one. Only the blocks that are read are decrypted, on the reader's thread.
ByteSourcePtr decryptedSource(ByteSourcePtr file, const EncryptionHeader& header, const ImageKeys& keys);

} // namespace hdi
