#include "hdiutil/front/Reports.h"

#include "hdiutil/front/Abandoned.h"
#include "hdiutil/front/AttachedState.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/ImagePaths.h"
#include "hdiutil/front/MountTable.h"
#include "hdiutil/front/PasswordPrompt.h"
#include "hdiutil/front/Progress.h"
#include "hdiutil/front/PropertyListText.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/partition/PartitionMap.h"

namespace hdi {
namespace {

std::string yesOrNo(bool value) {
    return value ? "true" : "false";
}

std::unique_ptr<DiskImage> openWithPassword(const std::string& verb, const std::string& path, bool passwordFromInput) {
    const PasswordPtr password = passwordFor(verb, path, passwordFromInput);
    ReadOptions options;
    options.password = password.get();
    return DiskImage::open(path, options);
}

std::string failureText(const std::string& verb, const ImageError& error) {
    const bool unknown = error.kind() == ImageError::Kind::kNotRecognized;
    return verb + " failed - " + (unknown ? "image not recognized" : error.what());
}

} // namespace

std::string infoText(const std::vector<AttachRecord>& records) {
    std::string text;
    for (const AttachRecord& record : records) {
        text += "================================================\n";
        text += "image-path      : " + record.imagePath + "\n";
        text += "writeable       : FALSE\n";
        text += std::string("method          : ") + (record.method == AttachMethod::kFuse ? "fuse" : "extracted") +
                (record.complete ? "" : " (attaching)") + "\n";
        text += "process ID      : " + std::to_string(record.process.pid) + "\n";
        text += record.damage.empty() ? "" : "damage          : " + record.damage + "\n";
        text += tableText(record.rows);
    }
    return text;
}

std::string imageInfoText(const ImageFacts& facts, const std::string& partitionScheme) {
    std::string text;
    text += "Format Description: " + facts.description + "\n";
    text += "Format: " + facts.format + "\n";
    text += "Checksum Type: " + std::string(facts.hasChecksum() ? "CRC32" : "none") + "\n";
    text += "Size Information:\n";
    text += "\tTotal Bytes: " + std::to_string(facts.diskBytes) + "\n";
    text += "\tCompressed Bytes: " + std::to_string(facts.fileBytes) + "\n";
    text += "\tChunks: " + std::to_string(facts.chunkCount) + "\n";
    text += "Properties:\n";
    text += "\tEncrypted: " + yesOrNo(facts.isEncrypted) + "\n";
    text += "\tSoftware License Agreement: " + yesOrNo(facts.hasLicence) + "\n";
    text += "partitions:\n";
    text += "\tpartition-scheme: " + (partitionScheme.empty() ? "none" : partitionScheme) + "\n";
    return text;
}

std::vector<AttachRecord> attachedImages() {
    const VolumesFolder volumes = VolumesFolder::open();
    const AttachedState state(volumes);
    return reapAndList(state);
}

std::string describeImage(const std::string& path, bool asPlist, bool passwordFromInput) {
    requireImageFile("imageinfo", path);
    try {
        const std::unique_ptr<DiskImage> image = openWithPassword("imageinfo", path, passwordFromInput);
        const PartitionMap map = readPartitionMap(*image->disk());
        return asPlist ? imageInfoPlist(image->facts()) : imageInfoText(image->facts(), map.scheme);
    } catch (const ImageError& error) {
        throw FrontError(failureText("imageinfo", error));
    }
}

std::string verifyImage(const std::string& path, bool passwordFromInput) {
    requireImageFile("verify", path);
    try {
        const std::unique_ptr<DiskImage> image = openWithPassword("verify", path, passwordFromInput);
        Progress progress("Verifying");
        image->verifyDataFork();
        image->verifyTables([&progress](double fraction) { progress.show(fraction); });
        const bool hasAny = image->facts().hasChecksum();
        return std::string("hdiutil: verify: ") + (hasAny ? "checksums of \"" : "no checksums in \"") + path +
               (hasAny ? "\" are VALID\n" : "\"\n");
    } catch (const ImageError& error) {
        throw FrontError(failureText("verify", error));
    }
}

} // namespace hdi
