#include "hdiutil/fuzz/FuzzInput.h"
#include "hdiutil/tests/volume/Walk.h"
#include "hdiutil/volume/HfsVolume.h"

// HFS+ and HFSX volumes. The input is a partition; everything on it is listed, looked up and read, large files at both
// ends.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace hdi;
    fuzz::allowRefusal([&] {
        const auto volume = HfsVolume::open(fuzz::sourceOf(std::as_bytes(std::span(data, size))));
        if (volume) {
            test::walk(*volume);
        }
    });
    return 0;
}
