#include "platform/base/ProcessArguments.h"

namespace {

QStringList& slot() {
    static QStringList arguments;
    return arguments;
}

} // namespace

namespace platform {

void setProcessArguments(const QStringList& arguments) {
    slot() = arguments;
}

const QStringList& processArguments() {
    return slot();
}

} // namespace platform
