#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/volume/Volume.h"

#include <map>
#include <optional>
#include <ostream>
#include <string>

// What the tests compare volumes by: path by path, kind, mode, contents and link target.
namespace hdi::test {

struct TreeItem {
    NodeKind kind = NodeKind::kFile;
    std::optional<unsigned> mode; // absent where nobody says it
    std::string contents;         // of a file
    std::string target;           // of a link

    bool operator==(const TreeItem&) const = default;
};

std::ostream& operator<<(std::ostream& out, const TreeItem& item);

using Tree = std::map<std::string, TreeItem>;

// Everything below the root, read through the interface that FUSE uses; each path is also looked up again by its name.
Tree readTree(const Volume& volume);
std::string readFile(const Volume& volume, NodeId file);
// By its path from the root, without a slash at the beginning. Throws std::out_of_range when it is missing.
NodeId nodeAt(const Volume& volume, const std::string& path);

// The same of a folder on this machine, with the names decomposed as HFS+ stores them.
Tree readFolder(const std::string& folder);

// Linux gives every symlink of a disk folder all permissions.
Tree withoutLinkModes(Tree tree);

// Runs a command line; its standard output. Fails the test when its status is not 0.
std::string run(const std::string& commandLine);

// What 7-Zip reads in a raw volume or in an image with one, without the format's own files. It puts all files of an
// HFS+ volume into a folder named like the volume, and those of an APFS volume not.
Tree readWith7z(const std::string& image, const std::string& workFolder, bool hasVolumeFolder = true);

} // namespace hdi::test
