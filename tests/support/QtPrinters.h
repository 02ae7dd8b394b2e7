#pragma once

#include <QString>

#include <ostream>

// GoogleTest would print a text unit by unit.
inline void PrintTo(const QString& text, std::ostream* stream) {
    *stream << '"' << text.toStdString() << '"';
}
