#include "hdiutil/tests/volume/VolumeTree.h"

#include "hdiutil/volume/HfsNames.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace hdi::test {

namespace {

namespace fs = std::filesystem;

void addFolder(const Volume& volume, NodeId folder, const std::string& path, Tree& tree) {
    for (const DirectoryEntry& entry : volume.list(folder)) {
        EXPECT_EQ(volume.lookUp(folder, entry.name), entry.node) << path << entry.name;
        const Attributes attributes = volume.attributes(entry.node);
        TreeItem item{attributes.kind, attributes.mode, {}, {}};
        if (item.kind == NodeKind::kFile) {
            item.contents = readFile(volume, entry.node);
        } else if (item.kind == NodeKind::kSymlink) {
            item.target = volume.linkTarget(entry.node);
        }
        EXPECT_TRUE(tree.emplace(path + entry.name, item).second) << path << entry.name;
        if (item.kind == NodeKind::kFolder) {
            addFolder(volume, entry.node, path + entry.name + "/", tree);
        }
    }
}

std::string contentsOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

NodeKind kindOf(const fs::file_status& status) {
    if (fs::is_symlink(status)) {
        return NodeKind::kSymlink;
    }
    return fs::is_directory(status) ? NodeKind::kFolder : NodeKind::kFile;
}

std::string shellWord(const std::string& text) {
    std::string out = "'";
    for (const char c : text) {
        if (c == '\'') {
            out += "'\\''";
        } else {
            out += c;
        }
    }
    out += '\'';
    return out;
}

unsigned parseMode(const std::string& text) {
    unsigned mode = 0;
    for (std::size_t i = 1; i < 10; ++i) {
        mode = mode << 1 | (text.at(i) != '-' && text.at(i) != 'S' && text.at(i) != 'T' ? 1U : 0U);
    }
    return mode;
}

bool isPrivate(const std::string& path) {
    return path.starts_with("[HFS+ Private Data]") || path.starts_with(".HFS+ Private Directory Data\r") ||
           path == ".journal" || path == ".journal_info_block";
}

} // namespace

std::ostream& operator<<(std::ostream& out, const TreeItem& item) {
    out << (item.kind == NodeKind::kFolder ? "folder" : item.kind == NodeKind::kFile ? "file" : "link");
    if (item.mode) {
        out << " 0" << std::oct << *item.mode << std::dec;
    }
    return out << ", " << item.contents.size() << " bytes, hash " << std::hash<std::string>()(item.contents)
               << ", to \"" << item.target << '"';
}

Tree readTree(const Volume& volume) {
    Tree tree;
    addFolder(volume, volume.root(), "", tree);
    return tree;
}

std::string readFile(const Volume& volume, NodeId file) {
    std::string contents(static_cast<std::size_t>(volume.attributes(file).size), '\0');
    const std::size_t length = volume.read(file, 0, std::as_writable_bytes(std::span(contents)));
    EXPECT_EQ(length, contents.size());
    return contents;
}

NodeId nodeAt(const Volume& volume, const std::string& path) {
    NodeId node = volume.root();
    std::istringstream parts(path);
    for (std::string part; std::getline(parts, part, '/');) {
        const auto next = volume.lookUp(node, part);
        if (!next) {
            throw std::out_of_range("no \"" + part + "\" of " + path);
        }
        node = *next;
    }
    return node;
}

Tree readFolder(const std::string& folder) {
    Tree tree;
    // What its owner may not list shows as an empty folder; root sees what is in it.
    for (const auto& entry : fs::recursive_directory_iterator(folder, fs::directory_options::skip_permission_denied)) {
        const fs::file_status status = entry.symlink_status();
        TreeItem item{kindOf(status), static_cast<unsigned>(status.permissions()) & 0777U, {}, {}};
        if (item.kind == NodeKind::kFile) {
            item.contents = contentsOf(entry.path());
        } else if (item.kind == NodeKind::kSymlink) {
            item.target = fs::read_symlink(entry.path()).string();
        }
        // That it can be read and what is said of it may be two things.
        EXPECT_EQ(item.kind == NodeKind::kFile ? entry.file_size() : 0, item.contents.size()) << entry.path();
        const std::string path = entry.path().lexically_relative(folder).string();
        tree.emplace(hfs::toUtf8(hfs::decompose(hfs::toUtf16(path))), item);
    }
    return tree;
}

Tree withoutLinkModes(Tree tree) {
    for (auto& [path, item] : tree) {
        item.mode = item.kind == NodeKind::kSymlink ? std::nullopt : item.mode;
    }
    return tree;
}

std::string run(const std::string& commandLine) {
    FILE* const pipe = ::popen(commandLine.c_str(), "re");
    std::string output;
    std::array<char, 65536> buffer{};
    while (const std::size_t length = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
        output.append(buffer.data(), length);
    }
    EXPECT_EQ(::pclose(pipe), 0) << commandLine << "\n" << output.substr(0, 2000);
    return output;
}

Tree readWith7z(const std::string& image, const std::string& workFolder, bool hasVolumeFolder) {
    run(SEVEN_ZIP " x -y -sns- -o" + shellWord(workFolder) + " " + shellWord(image) + " >/dev/null");
    std::istringstream listing(run(SEVEN_ZIP " l -slt -sns- " + shellWord(image)));
    Tree tree;
    std::string path;
    for (std::string line; std::getline(listing, line);) {
        if (line.starts_with("Path = ")) {
            path = line.substr(7);
        }
        const std::size_t slash = hasVolumeFolder ? path.find('/') : std::string::npos;
        if (!line.starts_with("Mode = ") || (hasVolumeFolder && slash == std::string::npos) ||
            isPrivate(path.substr(slash + 1))) {
            continue;
        }
        TreeItem item{NodeKind::kFile, parseMode(line.substr(7)), {}, {}};
        if (line[7] == 'd') {
            item.kind = NodeKind::kFolder;
        } else if (line[7] == 'l') {
            item.kind = NodeKind::kSymlink;
        }
        if (item.kind == NodeKind::kFile) {
            item.contents = contentsOf(fs::path(workFolder) / path);
        } else if (item.kind == NodeKind::kSymlink) { // an extracted link is rewritten; its bytes are not
            item.target = run(SEVEN_ZIP " e -so -sns- " + shellWord(image) + " " + shellWord(path));
        }
        tree.emplace(path.substr(slash + 1), item);
    }
    return tree;
}

} // namespace hdi::test
