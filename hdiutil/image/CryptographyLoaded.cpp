#include "hdiutil/image/Cryptography.h"
#include "hdiutil/image/Module.h"

namespace hdi {

const Cryptography& cryptography() {
    static const auto kFind = reinterpret_cast<CryptographyEntryPoint>(
        moduleFunction("libhdiutil_cryptography.so", kCryptographyEntryPoint, "encrypted images"));
    return *kFind();
}

} // namespace hdi
