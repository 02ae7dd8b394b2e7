#pragma once

#include "hdiutil/image/ByteSource.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace hdi {

class Password;
class PieceSums;

// How an image is read.
struct ReadOptions {
    // Of the image's file, where they were taken as it came; spares verifyDataFork() its reading.
    std::shared_ptr<const PieceSums> sums;
    unsigned threads = 0;                                   // that decode ahead; 0: one per core
    std::size_t cacheBytes = std::size_t{32} * 1024 * 1024; // of decoded chunks, at most
    const Password* password = nullptr;                     // of an encrypted one; needed while it is opened
};

// What `imageinfo` prints of a container.
struct ImageFacts {
    std::string format;      // "UDZO", "UDBZ", "ULMO", "ULFO", "UDCO", "UDRO", "UDSP", "UDSB", "raw"
    std::string description; // "UDIF read-only compressed (zlib)"
    std::uint64_t diskBytes = 0;
    std::uint64_t fileBytes = 0;
    std::uint64_t chunkCount = 0;
    bool hasDataForkChecksum = false;
    bool hasTableChecksums = false; // any of the decoded bytes
    bool hasLicence = false;
    bool isEncrypted = false;

    bool hasChecksum() const { return hasDataForkChecksum || hasTableChecksums; }
};

// An opened image file: its decoded bytes as one disk. Chunks are decoded only when they are read, each at most once
// while it stays in the cache.
//
// Threads: disk() any number at once, the rest one at a time. Opening starts none; reading the disk may start some, so
// a daemon forks before it reads.
class DiskImage {
public:
    // Recognises UDIF (by the trailer, libplist for its XML), also in several files, sparse images, sparse bundles
    // (folders) and plain raw images, and those in one file inside an encrypted image.
    // Throws ImageError: kEncrypted when a password is needed, kWrongPassword.
    static std::unique_ptr<DiskImage> open(const std::string& path, const ReadOptions& options = {});
    virtual ~DiskImage() = default;

    virtual ByteSourcePtr disk() const = 0;
    virtual const ImageFacts& facts() const = 0;
    // Licence texts in the image, UTF-8, the default language first; usually empty.
    virtual std::vector<std::string> licences() const = 0;

    // The CRC-32 over the compressed bytes. False when the image carries none. Throws ImageError (kDamaged).
    virtual bool verifyDataFork() const = 0;
    // The checksum of every chunk table and the master checksum over them, which means decoding everything; `progress`
    // gets 0…1. Throws ImageError (kDamaged).
    virtual void verifyTables(const std::function<void(double)>& progress) const = 0;
};

// Whether opening it needs a password. Throws ImageError kIo.
bool needsPassword(const std::string& path);

// As DiskImage::open, of a file that is open already.
std::unique_ptr<DiskImage> openDiskImage(const ByteSourcePtr& file, const ReadOptions& options = {});

} // namespace hdi
