#include "config/JSONReader.h"
#include "config/QNConfig.h"
#include "logging/JSONText.h"
#include "tests/fuzz/FuzzInput.h"

#include <unistd.h>

#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// The configuration: its bytes, and the model of what they say.

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The model writes a console line for each action.
    return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const JSONReader::Result result = JSONReader::read(fuzz::bytesOf(data, size));
    fuzz::require(result.value.has_value() != result.failure.has_value());
    if (!result.value) {
        fuzz::require(!result.failure->isEmpty());
        return 0;
    }
    if (result.value->metaType() == QMetaType::fromType<QVariantMap>()) {
        const QNConfig config(result.value->toMap());
        fuzz::require(!config.latestMacURL() || config.softwareList());
        fuzz::require(!config.defaultAction() || config.userActionList());
    }
    return 0;
}
