#pragma once

#include <QString>

#include <optional>

namespace portal::check {

// The part of a value that nobody filled in: "@VERSION@", "${HOST}", "{{name}}", "%s", "TODO", "changeme", "lorem
// ipsum", a host of example.com and its like (RFC 2606). Absent when there is none.
std::optional<QString> placeholderIn(const QString& text);

} // namespace portal::check
