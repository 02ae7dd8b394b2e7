#include "platform/base/StringsTable.h"
#include "tests/fuzz/FuzzInput.h"

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Tables of localized texts, and the choice of one.

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes = fuzz::bytesOf(data, size);
    if (const auto table = StringsTable::parse(bytes)) {
        const QStringList keys = table->keys();
        const QString chosen = StringsTable::chooseLocalization(table->values(), keys, u"en"_s);
        fuzz::require(keys.contains(chosen) || chosen == u"en"_s);
    }
    return 0;
}
