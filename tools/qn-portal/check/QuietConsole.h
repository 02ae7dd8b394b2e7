#pragma once

#include "base/Descriptor.h"

namespace portal::check {

// While it lives, standard error leads nowhere: the installer's own code tells its console what it does, and a check
// runs that code hundreds of times. Main thread; nobody else may write to standard error meanwhile.
class QuietConsole {
public:
    QuietConsole();
    ~QuietConsole();
    QuietConsole(const QuietConsole&) = delete;
    QuietConsole& operator=(const QuietConsole&) = delete;

private:
    base::Descriptor kept_;
};

} // namespace portal::check
