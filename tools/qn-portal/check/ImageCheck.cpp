#include "tools/qn-portal/check/ImageCheck.h"

#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/ImageCheck.h"
#include "hdiutil/front/MountTable.h"
#include "hdiutil/front/OpenedImage.h"
#include "hdiutil/front/VolumeName.h"
#include "hdiutil/image/ImageError.h"
#include "install/MountOutput.h"
#include "tools/qn-portal/check/ApplicationCheck.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

// Why the tool refuses the image, by the kind of the error that its front end has made a sentence of.
void addRefusal(Findings& findings, const Place& place, const QString& file, const QString& sentence) {
    const QString reason = sentence.section(u" - "_s, 1);
    try {
        const std::string failure = hdi::checkImage(*hdi::DiskImage::open(file.toStdString()));
        const bool isDamaged = reason.contains(u"corrupted");
        findings.add(!failure.empty() ? "image-checksum"
                     : isDamaged      ? "image-damaged"
                                      : "image-no-volume",
                     place, {failure.empty() ? reason : QString::fromStdString(failure)});
    } catch (const hdi::ImageError& error) {
        switch (error.kind()) {
        case hdi::ImageError::Kind::kEncrypted:
            findings.add("image-encrypted", place);
            return;
        case hdi::ImageError::Kind::kDamaged:
        case hdi::ImageError::Kind::kOutOfRange:
            findings.add("image-damaged", place, {QString::fromUtf8(error.what())});
            return;
        default:
            findings.add("image-not-recognized", place, {QString::fromUtf8(error.what())});
            return;
        }
    }
}

// The volume that the installer takes: the first of the table that the tool would print.
const hdi::Volume* firstVolume(const hdi::OpenedImage& image) {
    std::vector<hdi::AttachedRow> rows;
    const hdi::Volume* first = nullptr;
    for (const hdi::ImageSlot& slot : image.slots) {
        hdi::AttachedRow row;
        row.device = "/dev/disk9" + slot.suffix;
        row.content = slot.content;
        if (slot.volume) {
            first = first == nullptr ? slot.volume.get() : first;
            row.shownPath = "/Volumes/" + hdi::cleanVolumeName(slot.volume->name());
            row.realPath = row.shownPath;
        }
        rows.push_back(row);
    }
    const QString table = QString::fromStdString(hdi::tableText(rows));
    const QString name = MountOutput::volumeName(MountOutput::textBehindVolumes(table));
    const bool isFirst = first != nullptr && name.toStdString() == hdi::cleanVolumeName(first->name());
    return isFirst ? first : nullptr;
}

void checkVolumes(Findings& findings, const Place& place, const hdi::OpenedImage& image) {
    for (const QString& line : QString::fromStdString(image.warnings).split(u'\n', Qt::SkipEmptyParts)) {
        findings.add("image-volume-unreadable", place, {line.section(u"warning: "_s, 1)});
    }
    const hdi::Volume* const volume = firstVolume(image);
    if (volume == nullptr) {
        return;
    }
    const QString name = QString::fromStdString(volume->name());
    const QString shown = QString::fromStdString(hdi::cleanVolumeName(volume->name()));
    if (image.volumeCount() > 1) {
        findings.add("image-two-volumes", place, {QString::number(image.volumeCount()), shown});
    }
    if (shown != name) {
        findings.add("image-volume-name", place, {name, shown});
    }
}

void checkSpace(Findings& findings, const Place& place, const hdi::DiskImage& image, std::uint64_t much) {
    const std::uint64_t needed = image.facts().fileBytes + image.facts().diskBytes;
    if (needed > much) {
        findings.add("image-large", place, {QString::number(static_cast<double>(needed) / 1e9, 'f', 1)});
    }
}

void checkOpened(Findings& findings, const Place& place, const hdi::OpenedImage& opened,
                 const InstallerFacts& installer) {
    if (opened.image->facts().format == "raw") {
        findings.add("image-no-checksum", place);
    } else if (const std::string failure = hdi::checkImage(*opened.image); !failure.empty()) {
        findings.add("image-checksum", place, {QString::fromStdString(failure)});
        return; // whatever else is found follows from that
    }
    if (opened.image->facts().hasLicence) {
        findings.add("image-licence", place);
    }
    checkSpace(findings, place, *opened.image, installer.muchSpace);
    checkVolumes(findings, place, opened);
    if (const hdi::Volume* const volume = firstVolume(opened)) {
        checkApplications(findings, place, *volume, installer);
    }
}

} // namespace

void checkImage(Findings& findings, const QString& file, const QString& name, const InstallerFacts& installer,
                const std::shared_ptr<const hdi::PieceSums>& sums) {
    const Place place{name, 0, 0, {}, {}};
    try {
        hdi::ReadOptions options;
        options.sums = sums;
        const hdi::OpenedImage opened = hdi::openImage(file.toStdString(), options);
        checkOpened(findings, place, opened, installer);
    } catch (const hdi::FrontError& error) {
        addRefusal(findings, place, file, QString::fromUtf8(error.what()));
    } catch (const hdi::ImageError& error) {
        findings.add("image-damaged", place, {QString::fromUtf8(error.what())});
    }
}

} // namespace portal::check
