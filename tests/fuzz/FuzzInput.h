#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

// What the fuzzers share. Each reads its input as what its subject reads, and aborts where the subject breaks a promise
// of its header; the sanitizers find the rest.

namespace fuzz {

// Without a copy; valid as long as the input.
inline QByteArray bytesOf(const std::uint8_t* data, std::size_t size) {
    return QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
}

inline void require(bool promise) {
    if (!promise) {
        std::abort();
    }
}

// The part before the first zero byte; the rest stays in `bytes`.
inline QByteArray takePart(QByteArray& bytes) {
    const qsizetype end = bytes.indexOf('\0');
    const QByteArray part = end < 0 ? bytes : bytes.first(end);
    bytes = end < 0 ? QByteArray() : bytes.sliced(end + 1);
    return part;
}

} // namespace fuzz
