#pragma once

#include "hdiutil/tests/image/TestBytes.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace hdi::test {

// Runs a command line; what it writes on its standard output. A status other than 0 fails the test.
inline Bytes outputOf(const std::string& commandLine) {
    FILE* pipe = ::popen(commandLine.c_str(), "re");
    Bytes output;
    Bytes piece(65536);
    for (std::size_t got = 1; pipe != nullptr && got > 0;) {
        got = std::fread(piece.data(), 1, piece.size(), pipe);
        output.insert(output.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(got));
    }
    EXPECT_TRUE(pipe != nullptr && ::pclose(pipe) == 0) << commandLine;
    return output;
}

} // namespace hdi::test
