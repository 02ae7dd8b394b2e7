#pragma once

#include "tests/support/TestEnvironment.h"

namespace test {

// While Qt starts: it tells on the console of a locale that is not installed. Cases have the locale that they set.
class Utf8Locale {
public:
    Utf8Locale() : before_(qgetenv("LC_ALL")) { setEnvironment("LC_ALL", "C.UTF-8"); }
    ~Utf8Locale() { before_.isEmpty() ? unsetEnvironment("LC_ALL") : setEnvironment("LC_ALL", before_); }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

private:
    QByteArray before_;
};

} // namespace test
