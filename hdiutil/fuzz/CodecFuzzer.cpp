#include "hdiutil/fuzz/FuzzInput.h"
#include "hdiutil/image/Adc.h"
#include "hdiutil/image/Codec.h"
#include "hdiutil/image/Lzfse.h"
#include "hdiutil/image/Lzvn.h"
#include "hdiutil/image/RichText.h"

// The decoders that are our own: one byte says which, two how long the output is, the rest is what is decoded.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace hdi;
    fuzz::Input input(data, size);
    const std::size_t which = input.number(1);
    std::vector<std::byte> into(input.number(2) + 1);
    switch (which % 4) {
    case 0:
        decodeAdc(input.rest(), into);
        break;
    case 1: {
        BackReferences out(into);
        decodeLzvn(input.rest(), out, into.size());
        break;
    }
    case 2:
        utf8FromRichText(input.rest());
        break;
    default:
        decodeLzfse(input.rest(), into);
        break;
    }
    return 0;
}
