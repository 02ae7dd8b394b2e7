#include "hdiutil/front/ImageCheck.h"

#include "hdiutil/image/ImageError.h"

namespace hdi {

CheckTime checkTimeFor(const ImageFacts& facts, bool wanted) {
    if (!wanted) {
        return CheckTime::kNever;
    }
    const std::uint64_t bytes = facts.hasDataForkChecksum ? facts.fileBytes : facts.diskBytes;
    return bytes <= kCheckedBefore ? CheckTime::kBefore : CheckTime::kBeside;
}

std::string checkImage(const DiskImage& image) {
    try {
        if (!image.verifyDataFork()) {
            image.verifyTables([](double) {});
        }
    } catch (const ImageError& error) {
        return error.what();
    }
    return {};
}

} // namespace hdi
