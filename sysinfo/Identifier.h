#pragma once

#include <QString>

#include <functional>
#include <optional>

// How the client identifier is made, apart from where its parts come from.
namespace Identifier {

// Digest of "<address>_<home>" (an absent address is written as (null)) by SHA-256, in the shape of a version-4 UUID:
// 36 characters, of which the four dashes and the digits 4 and 8 stand at fixed places in place of the digest's own.
// A home outside ASCII counts by its UTF-8 bytes, up to a zero byte.
QString derived(const std::optional<QString>& address, const QString& home);

// Runs `derive`. What it raises gives one ERROR entry, told as the caller's, and nothing. Any thread.
std::optional<QString> attempt(const std::function<QString()>& derive, const char* file = __builtin_FILE(),
                               int line = __builtin_LINE());

// Whether this thread is inside attempt(). A log line that is written there asks for the identifier too; it goes
// without one, or a failure that repeats would recurse without end.
bool isBeingDerived();

} // namespace Identifier
