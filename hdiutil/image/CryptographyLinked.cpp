#include "hdiutil/image/Cryptography.h"

extern "C" const hdi::Cryptography* hdiutilCryptography();

namespace hdi {

const Cryptography& cryptography() {
    return *hdiutilCryptography();
}

} // namespace hdi
