#pragma once

#include <QSizeF>
#include <QString>

#include <array>
#include <optional>

// What the probes read out of the answers of tools and system. Pure functions.
namespace ProbeOutput {

// "14.2.1".
QString versionText(const std::array<int, 3>& version);

// "1440x900": each side truncated toward zero.
QString sizeText(const QSizeF& size);

// The processor's name in the hardware profile: the first value that is not empty behind "Processor Name: ", else an
// empty one, else the same for "Chip: ". A value ends with its line. Case of the labels is ignored.
std::optional<QString> processorName(const QString& profile);

// The first hardware address in the interface list that holds no all-zero address, spelled as it stands there. An
// address is six groups of two letters or digits, joined by colons.
std::optional<QString> firstHardwareAddress(const QString& interfaces);

} // namespace ProbeOutput
