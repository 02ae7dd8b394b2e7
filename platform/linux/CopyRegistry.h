#pragma once

#include <QString>

#include <sys/types.h>

#include <vector>

// The copies of this program that run now. Main thread.
namespace platform {

// The processes that asked this question and still live, newest first, this one included. The first call puts this
// process on the list, in the same critical section as the look at it: of two copies that ask at once, exactly one sees
// the other.
//
// An entry is a locked byte of a file in the runtime folder; the kernel frees it when its process ends, however that
// happens. Where there is no usable runtime folder, a console line is written and this process is alone on the list.
std::vector<pid_t> registerAndListCopies(const QString& identifier);

} // namespace platform
