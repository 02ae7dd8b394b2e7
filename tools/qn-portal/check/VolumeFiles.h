#pragma once

#include "hdiutil/volume/Volume.h"

#include <QByteArray>

#include <optional>
#include <string>
#include <string_view>

namespace portal::check {

// Looks files of a volume up by path, through links, as a mounted volume would be read.
class VolumeFiles {
public:
    explicit VolumeFiles(const hdi::Volume& volume) : volume_(volume) {}

    // Absent when there is no such file or folder, or its links lead out of the volume or in a circle. Throws
    // hdi::ImageError.
    std::optional<hdi::NodeId> find(std::string_view path) const;
    hdi::Attributes attributes(hdi::NodeId node) const { return volume_.attributes(node); }
    // The whole of a file, at most `most` bytes.
    QByteArray contents(hdi::NodeId file, std::size_t most) const;

private:
    std::optional<hdi::NodeId> walk(std::string_view path, int links) const;

    const hdi::Volume& volume_;
};

} // namespace portal::check
