#pragma once

#include "hdiutil/create/UdifParts.h"
#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/Crc32.h"
#include "hdiutil/image/UdifTable.h"
#include "hdiutil/image/UdifTrailer.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <cstdint>
#include <string>
#include <vector>

// UDIF images put together part by part, right or wrong.
namespace hdi::test {

struct TestImage {
    Bytes data;                    // the data fork
    Bytes before;                  // what precedes it in the file
    std::vector<UdifTable> tables; // offsets of runs count from the data fork
    std::uint64_t sectorCount = 0;
    std::string otherResources; // XML, in the resource fork

    // Adds `stored` to the data and a run for it to the last table.
    void addRun(RunType type, std::uint64_t sector, std::uint64_t sectorCount_, const Bytes& stored = {}) {
        tables.back().runs.push_back({type, sector, sectorCount_, data.size(), stored.size()});
        data = data + stored;
    }

    void addTable(std::uint64_t firstSector, std::uint64_t count) {
        tables.push_back({"table " + std::to_string(tables.size()), firstSector, count, {}, {}});
    }

    Bytes plist() const {
        std::vector<Bytes> blocks;
        std::vector<std::string> names;
        for (const UdifTable& table : tables) {
            blocks.push_back(udifTableBytes(table, blocks.size(), 2048));
            names.push_back(table.name);
        }
        const Bytes xml = udifPlistBytes(blocks, names);
        std::string text(reinterpret_cast<const char*>(xml.data()), xml.size());
        text.insert(text.find("<key>blkx</key>"), otherResources);
        return bytesOf(text);
    }

    UdifTrailer trailer() const {
        UdifTrailer trailer;
        trailer.dataOffset = before.size();
        trailer.dataLength = data.size();
        trailer.plistOffset = before.size() + data.size();
        trailer.plistLength = plist().size();
        trailer.sectorCount = sectorCount;
        return trailer;
    }

    Bytes bytes(const UdifTrailer& trailer) const {
        const auto end = udifTrailerBytes(trailer);
        return before + data + plist() + Bytes(end.begin(), end.end());
    }

    Bytes bytes() const { return bytes(trailer()); }
};

} // namespace hdi::test
