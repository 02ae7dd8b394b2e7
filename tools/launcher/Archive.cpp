#include "tools/launcher/Archive.h"

#include "base/Descriptor.h"
#include "base/Files.h"
#include "tools/launcher/Problem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace launcher {

namespace {

constexpr std::size_t kBlock = 512;

struct Entry {
    std::string name;
    char type = '0';
    std::string target;
    mode_t mode = 0;
    std::string_view contents;
};

[[noreturn]] void damaged() {
    throw Problem("What this file holds cannot be unpacked: download it again");
}

[[noreturn]] void notWritten(const Entry& entry) {
    throw Problem("Cannot unpack " + entry.name + ": " + std::strerror(errno));
}

std::string text(std::string_view field) {
    return std::string(field.substr(0, field.find('\0')));
}

std::size_t octal(std::string_view field) {
    std::size_t value = 0;
    for (const char digit : text(field)) {
        if (digit < '0' || digit > '7') {
            damaged();
        }
        value = value * 8 + static_cast<std::size_t>(digit - '0');
    }
    return value;
}

bool leadsOut(const std::string& name) {
    return name.empty() || name.front() == '/' || ("/" + name + "/").find("/../") != std::string::npos;
}

Entry entryAt(std::string_view archive, std::size_t place) {
    const std::string_view header = archive.substr(place, kBlock);
    const std::size_t size = octal(header.substr(124, 12));
    const std::string prefix = text(header.substr(345, 155));
    Entry entry;
    entry.name = (prefix.empty() ? "" : prefix + "/") + text(header.substr(0, 100));
    entry.type = header[156];
    entry.target = text(header.substr(157, 100));
    entry.mode = (octal(header.substr(100, 8)) & 0100) != 0 ? 0700 : 0600;
    if (leadsOut(entry.name) || size > archive.size() - place - kBlock) {
        damaged();
    }
    entry.contents = archive.substr(place + kBlock, size);
    return entry;
}

void writeFile(const Entry& entry, int folder) {
    base::Descriptor file(
        ::openat(folder, entry.name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, entry.mode));
    if (!file || !base::writeAll(file.get(), entry.contents) || !file.close()) {
        notWritten(entry);
    }
}

void writeEntry(const Entry& entry, int folder) {
    switch (entry.type) {
    case '0':
        writeFile(entry, folder);
        return;
    case '2':
        if (entry.target.starts_with('/') || ::symlinkat(entry.target.c_str(), folder, entry.name.c_str()) != 0) {
            notWritten(entry);
        }
        return;
    case '5':
        if (::mkdirat(folder, entry.name.c_str(), 0700) != 0) {
            notWritten(entry);
        }
        return;
    default:
        damaged();
    }
}

} // namespace

void writeArchive(std::string_view archive, int folder) {
    std::size_t place = 0;
    while (place + kBlock <= archive.size() && archive[place] != '\0') {
        const Entry entry = entryAt(archive, place);
        writeEntry(entry, folder);
        place += kBlock + (entry.contents.size() + kBlock - 1) / kBlock * kBlock;
    }
    if (place + kBlock > archive.size()) {
        damaged();
    }
}

} // namespace launcher
