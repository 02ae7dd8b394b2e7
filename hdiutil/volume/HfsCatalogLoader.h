#pragma once

#include "hdiutil/volume/HfsBTree.h"
#include "hdiutil/volume/HfsCatalog.h"
#include "hdiutil/volume/HfsCatalogRecord.h"

#include <cstdint>

namespace hdi::hfs {

// Fills a Catalog: reads the leaves, resolves hard links, takes out what is the format's own, makes names unique.
// Used once, by Catalog's constructor.
class CatalogLoader {
public:
    CatalogLoader(Catalog& catalog, const OverflowExtents& overflow, bool isJournaled)
        : catalog_(catalog), overflow_(overflow), isJournaled_(isJournaled) {}

    void load(const ByteSource& file, const TreeHeader& header);

private:
    void add(const CatalogRecord& record);
    void addNode(const CatalogRecord& record);
    void addRuns(Node& node, const CatalogRecord& record);
    void addEntry(const CatalogRecord& record);
    bool isOwnFile(const CatalogRecord& record) const;

    void sortNodes();
    void resolveLinks();
    void countLinks();
    void takeOutCircles();
    void makeNamesUnique();
    void buildIndex();
    void rename(Entry& entry, std::string_view name);

    Catalog& catalog_;
    const OverflowExtents& overflow_;
    bool isJournaled_;
    bool hasLinks_ = false;
    std::uint32_t fileLinkFolder_ = 0;
    std::uint32_t folderLinkFolder_ = 0;
};

} // namespace hdi::hfs
