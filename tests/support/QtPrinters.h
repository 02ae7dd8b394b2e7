#pragma once

#include <QString>

#include <ostream>

// GoogleTest would show a QString as a list of code units. Found by argument-dependent lookup.
inline void PrintTo(const QString& text, std::ostream* stream) {
    *stream << '"' << text.toStdString() << '"';
}
