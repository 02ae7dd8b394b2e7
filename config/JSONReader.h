#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <optional>

// Reading of a JSON document (RFC 8259, and RFC 4627 section 3 for the encodings).
//
// Takes any value at the top, not only objects and lists; UTF-8, UTF-16 and UTF-32, told apart by a byte order mark or
// by the zeros in the first bytes. Of two values with one key the first counts. Refused are more than 512 levels, more
// than 200,000 values (each takes many times the bytes of its text: a body within the limits of a transfer could still
// fill the memory), damaged text in any encoding, raw control characters, half surrogate pairs, trailing commas,
// numbers beyond a double, and anything behind the value.
namespace JSONReader {

constexpr int kDeepestNesting = 512;
constexpr int kMostValues = 200'000;

// Values come out as QVariantMap, QVariantList, QString, bool, qint64, quint64, double and std::nullptr_t. Exactly one
// of the two is there.
struct Result {
    std::optional<QVariant> value;
    std::optional<QString> failure; // a sentence for people
};

// Any thread; never throws.
Result read(const QByteArray& bytes);

} // namespace JSONReader
