#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Small files of the system, such as those of /proc, whose size the kernel does not tell beforehand. Any thread.
namespace platform {

// The contents of the file that stands for `plain`; absent when it cannot be read or is longer than 16 MiB.
std::optional<QByteArray> readSystemFile(const QString& plain);

// The same for a path that is not mapped.
std::optional<QByteArray> readFileAt(const QString& path);

} // namespace platform
