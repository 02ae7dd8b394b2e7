#include "hdiutil/tests/volume/XorrisoImages.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/tests/volume/VolumeTree.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace hdi::test {

namespace fs = std::filesystem;

Bytes hfsPart(const std::string& path) {
    const Bytes bytes = readFile(path);
    for (std::size_t at = 1024; at + 512 <= bytes.size(); at += 512) {
        if (bytes[at] == std::byte{'H'} && bytes[at + 1] == std::byte{'+'}) {
            const std::size_t size =
                std::size_t{loadBig<std::uint32_t>(bytes, at + 40)} * loadBig<std::uint32_t>(bytes, at + 44);
            const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at - 1024);
            return {begin, begin + static_cast<std::ptrdiff_t>(size)};
        }
    }
    ADD_FAILURE() << "no HFS+ in " << path;
    return {};
}

// It takes the names of files to be in the character set of the environment's language.
void runXorriso(const std::string& folder, const std::string& command) {
    run("cd " + folder + " && LC_ALL=C.UTF-8 " + command + " 2>&1");
}

void makeXorrisoSource(const std::string& folder) {
    fs::create_directories(folder + "/App.app/Contents/MacOS");
    fs::create_directories(folder + "/App.app/Contents/\u00dcbersetzung/\ud55c\uad6d\uc5b4");
    writeFile(folder + "/App.app/Contents/MacOS/run", bytesOf("#!/bin/sh\necho hello\n"));
    fs::permissions(folder + "/App.app/Contents/MacOS/run", fs::perms(0755));
    writeFile(folder + "/App.app/Contents/\u00dcbersetzung/\ud55c\uad6d\uc5b4/\u00e9t\u00e9.txt", prose(5000, 1));
    writeFile(folder + "/large", noise(3'000'017, 2));
    writeFile(folder + "/empty", {});
    writeFile(folder + "/a:colon", bytesOf("x"));
    fs::permissions(folder + "/large", fs::perms(0600));
    fs::create_symlink("App.app/Contents/MacOS/run", folder + "/relative");
    fs::create_symlink("/Applications", folder + "/absolute");
    for (int i = 0; i < 300; ++i) { // more than one leaf
        writeFile(folder + "/App.app/file number " + std::to_string(i), prose(static_cast<std::size_t>(i), 3));
    }
}

} // namespace hdi::test
