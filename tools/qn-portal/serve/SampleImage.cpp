#include "tools/qn-portal/serve/SampleImage.h"

#include "hdiutil/front/Create.h"

#include <stdlib.h> // mkdtemp

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace portal::serve {

namespace {

constexpr const char* kInfo = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CFBundleExecutable</key><string>Sample</string>
<key>CFBundleIdentifier</key><string>org.qn-portal.sample</string>
</dict></plist>
)";

constexpr const char* kProgram = R"(#!/bin/sh
echo "PROGRESS: 1/1"
)";

void write(const std::filesystem::path& path, const char* text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (!file.flush()) {
        throw std::system_error(errno, std::generic_category(), path);
    }
}

void writeApplication(const std::filesystem::path& folder) {
    const auto program = folder / "Contents/MacOS/Sample";
    std::filesystem::create_directories(program.parent_path());
    write(folder / "Contents/Info.plist", kInfo);
    write(program, kProgram);
    std::filesystem::permissions(program, std::filesystem::perms(0755));
}

} // namespace

SampleImage::SampleImage(bool hasTwoApplications) {
    folder_ = (std::filesystem::temp_directory_path() / "qn-portal-XXXXXX").string();
    if (::mkdtemp(folder_.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), folder_);
    }
    const std::string root = folder_ + "/root";
    writeApplication(root + "/Sample.app");
    if (hasTwoApplications) {
        writeApplication(root + "/Second.app");
    }
    hdi::CreateOptions options;
    options.sourceFolder = root;
    options.volumeName = "Sample";
    static_cast<void>(hdi::createImage(options, path()));
    std::filesystem::remove_all(root);
}

SampleImage::~SampleImage() {
    std::error_code ignored; // nothing can be done about what stays in the temporary folder
    std::filesystem::remove_all(folder_, ignored);
}

} // namespace portal::serve
