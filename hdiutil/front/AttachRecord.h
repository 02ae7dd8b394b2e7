#pragma once

#include "base/ProcessIdentity.h"
#include "hdiutil/front/RecordText.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hdi {

// What makes two paths the same image: device, inode, size and times, not the name.
struct ImageIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    std::int64_t modifiedNs = 0;
    std::int64_t changedNs = 0;

    bool operator==(const ImageIdentity&) const = default;
};

// One line of the table.
struct AttachedRow {
    std::string device;     // "/dev/disk2s1"
    std::string content;    // "Apple_HFS"
    std::string shownPath;  // "/Volumes/NAME", empty when nothing is mounted
    std::string realPath;   // the folder or symlink that stands for it
    std::string dataPath;   // the folder that was extracted to; empty with FUSE
    bool madeFolder = true; // detach removes it; false: it was there before and stays

    bool isMounted() const { return !realPath.empty(); }
    bool operator==(const AttachedRow&) const = default;
};

enum class AttachMethod { kFuse, kExtracted };

// What is remembered of an attached image from one run of the tool to the next.
struct AttachRecord {
    int disk = 0; // 2 of disk2
    std::string imagePath;
    ImageIdentity identity;
    AttachMethod method = AttachMethod::kFuse;
    bool complete = true;          // false while it is being extracted
    base::ProcessIdentity process; // the daemon; the extracting process while incomplete
    std::string boot;              // the id of the boot it belongs to
    // The applications that it is attached for; none: for a person or a script, who has not gone when a process has.
    std::vector<base::ProcessIdentity> owners;
    std::string damage; // what the check beside the reads found; empty for none
    std::vector<AttachedRow> rows;

    // Whether it was attached for applications only, and all of them are gone.
    bool isAbandoned() const;
    std::string diskName() const { return "disk" + std::to_string(disk); }
    bool operator==(const AttachRecord&) const = default;
};

// A line of the table as a line of a record, and back; false for a line of another kind, which adds nothing. Pure.
Fields rowFields(const AttachedRow& row);
bool takeRow(const Fields& fields, std::vector<AttachedRow>& rows);

// Changes with every start of the machine; "unknown" where the kernel does not tell.
std::string bootId();

// The record as lines of text, and back. Absent for text that is not a whole record of this version. Pure.
std::string serialize(const AttachRecord& record);
std::optional<AttachRecord> parseRecord(std::string_view text);

} // namespace hdi
