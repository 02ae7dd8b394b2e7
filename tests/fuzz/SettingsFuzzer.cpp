#include "platform/base/Format.h"
#include "platform/base/PropertyList.h"
#include "tests/fuzz/FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// The settings' property list, XML or binary, and how it shows on the console.

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (const auto value = PropertyList::parse(fuzz::bytesOf(data, size))) {
        fuzz::require(value->isValid());
        static_cast<void>(describe(*value));
    }
    return 0;
}
