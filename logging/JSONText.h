#pragma once

#include <QString>
#include <QVariantMap>

// JSON text of a dictionary (RFC 8259). Takes texts, truth values, numbers, lists, dictionaries and null
// (std::nullptr_t), nested to 512 levels. A single-precision number is written with its widened value, a whole number
// without a fraction.
//
// With anything else in it (an absent value, bytes, a date, a number that is not finite, a lone surrogate) the result
// is "{}", and one console line tells why. Never throws. Any thread. The order of the keys carries no meaning.
QString jsonStringWithPrettyPrint(const QVariantMap& dictionary, bool prettyPrint);
