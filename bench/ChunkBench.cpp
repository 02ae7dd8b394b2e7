// chunk_bench IMAGE: how fast the codec alone unpacks a UDIF image's chunks, on all cores and from memory. Prints
// seconds. This is the floor under everything that reads such an image: no file system, no kernel, no copies, no sums.

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/image/Codec.h"
#include "hdiutil/image/FileSource.h"
#include "hdiutil/image/ParallelFor.h"
#include "hdiutil/image/Sectors.h"
#include "hdiutil/image/UdifPlist.h"
#include "hdiutil/image/UdifTable.h"
#include "hdiutil/image/UdifTrailer.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <vector>

namespace {

using Bytes = std::vector<std::byte>;

std::vector<hdi::UdifRun> compressedRuns(const hdi::ByteSource& file) {
    const auto trailer = hdi::readUdifTrailer(file);
    if (!trailer) {
        throw std::runtime_error("not a UDIF image");
    }
    Bytes xml(trailer->plistLength);
    file.read(trailer->plistOffset, xml);
    std::vector<hdi::UdifRun> runs;
    hdi::Resources resources = hdi::parseUdifPlist(xml);
    for (const hdi::Resource& table : resources["blkx"]) {
        for (const hdi::UdifRun& run :
             hdi::parseUdifTable(table.data, trailer->dataOffset, file.size(), trailer->sectorCount).runs) {
            if (hdi::isCompressed(run.type)) {
                runs.push_back(run);
            }
        }
    }
    return runs;
}

void run(const char* path) {
    const hdi::ByteSourcePtr file = hdi::openFile(path);
    const std::vector<hdi::UdifRun> runs = compressedRuns(*file);
    std::vector<Bytes> stored;
    for (const hdi::UdifRun& one : runs) {
        stored.emplace_back(one.length);
        file->read(one.offset, stored.back());
    }
    const auto begin = std::chrono::steady_clock::now();
    hdi::parallelFor(runs.size(), 0, [&](std::size_t i) {
        thread_local Bytes decoded;
        decoded.resize(runs[i].sectorCount * hdi::kSectorBytes);
        if (!hdi::decodeChunk(runs[i].type, stored[i], decoded)) {
            throw std::runtime_error("a chunk does not decode");
        }
    });
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    std::printf("%.4f\n", time.count());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: chunk_bench IMAGE\n", stderr);
        return 2;
    }
    try {
        run(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "chunk_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
