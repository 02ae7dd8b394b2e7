#pragma once

#include "hdiutil/tests/image/TestBytes.h"

#include <functional>

// What macOS's tools do to store a file compressed, as far as tests need it.
namespace hdi::test {

Bytes packZlib(const Bytes& contents);
// Literals, and matches where four bytes come again: all forms of operations that a small encoder makes.
Bytes packLzvn(const Bytes& contents);
// The same for the oldest kind of compressed chunks.
Bytes packAdc(const Bytes& contents);

// A resource fork with the blocks of type 4.
Bytes zlibFork(const Bytes& contents);
// A fork with the blocks of types 8, 10 and 12; `marker` goes before a block that does not shrink.
Bytes offsetFork(const Bytes& contents, std::byte marker, const std::function<Bytes(const Bytes&)>& packBlock);

} // namespace hdi::test
