#pragma once

#include <QtGlobal>

// A half-open range of UTF-16 units.
struct TextRange {
    qsizetype location = 0;
    qsizetype length = 0;

    bool contains(qsizetype index) const { return index >= location && index < location + length; }
    bool operator==(const TextRange&) const = default;
};
