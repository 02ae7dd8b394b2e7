#include "platform/base/Address.h"
#include "platform/base/AddressPath.h"
#include "platform/base/ContentDisposition.h"
#include "platform/base/MediaTypes.h"
#include "platform/base/PathText.h"
#include "platform/base/SuggestedFilename.h"
#include "platform/base/TextDecoding.h"
#include "tests/fuzz/FuzzInput.h"

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// The names that a server gives to files. The input is a header, an address and a media type, each behind a zero byte.

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QByteArray rest = fuzz::bytesOf(data, size);
    const QByteArray header = fuzz::takePart(rest);
    const QString address = decodeSystemText(fuzz::takePart(rest));
    const QString type = decodeSystemText(fuzz::takePart(rest));
    static_cast<void>(ContentDisposition::filename(header));
    static_cast<void>(Address::parse(address));
    static_cast<void>(AddressPath::decodedPathOf(address));
    static_cast<void>(PathText::percentEscaped(address));
    static_cast<void>(PathText::deletingLastPathComponent(address));
    static_cast<void>(MediaTypes::carries(MediaTypes::withoutParameters(type), PathText::pathExtension(address)));
    const QString name = SuggestedFilename::of(header, address, type);
    const bool hasControl = std::any_of(name.begin(), name.end(), [](QChar letter) { return letter.unicode() < 32; });
    fuzz::require(!name.isEmpty() && !name.contains(QChar(u'/')) && !hasControl);
    fuzz::require(name != u"."_s && name != u".."_s);
    fuzz::require(name.toUtf8().size() <= SuggestedFilename::kLongestName);
    return 0;
}
