#pragma once

#include <QStringList>

namespace platform {

// The argument list the process was started with, program path first. Main sets it once, before any other thread; then
// any thread may read it.
void setProcessArguments(const QStringList& arguments);
const QStringList& processArguments();

} // namespace platform
