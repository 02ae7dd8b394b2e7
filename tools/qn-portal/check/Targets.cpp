#include "tools/qn-portal/check/Targets.h"

#include "platform/base/Address.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringConverter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

constexpr qint64 kTrailer = 512; // bytes of an image's end that begin with "koly"

bool isImageName(const QString& name) {
    return name.endsWith(u".dmg", Qt::CaseInsensitive);
}

bool isImageFile(QFile& file) {
    return file.size() >= kTrailer && file.seek(file.size() - kTrailer) && file.read(4) == "koly";
}

// A document may be broken in every way, and is still text that begins like one.
bool looksLikeDocument(QFile& file) {
    file.seek(0);
    const QByteArray begin = file.read(4096);
    const auto encoding = QStringConverter::encodingForData(begin, u'{').value_or(QStringConverter::Utf8);
    const QString text = QStringDecoder(encoding)(begin);
    const bool hasNoise =
        std::ranges::any_of(text, [](QChar unit) { return unit < u' ' && !u"\t\r\n\f\b"_s.contains(unit); });
    if (hasNoise || text.trimmed().isEmpty()) {
        return text.trimmed().isEmpty() && begin.isEmpty() && file.fileName().endsWith(u".json");
    }
    return file.fileName().endsWith(u".json", Qt::CaseInsensitive) || text.trimmed().startsWith(u'{');
}

void addFile(Targets& targets, const QString& path) {
    QFile file(path);
    if (QFileInfo::exists(path) && !QFileInfo(path).isFile()) { // a pipe would have the check wait for ever
        targets.refusals += u"%1 is no file"_s.arg(path);
    } else if (!file.open(QIODevice::ReadOnly)) {
        targets.refusals += u"%1 cannot be read: %2"_s.arg(path, file.errorString());
    } else if (isImageName(path) || isImageFile(file)) {
        targets.all.push_back({TargetKind::kImage, path});
    } else if (looksLikeDocument(file)) {
        targets.all.push_back({TargetKind::kConfigFile, path});
    } else {
        targets.refusals += u"%1 is neither a configuration nor an image"_s.arg(path);
    }
}

bool isBundle(const QString& path) {
    return path.endsWith(u".app") || QFileInfo::exists(path + u"/Contents/Info.plist"_s);
}

// A bundle or a brand is one target; of any other folder, what it holds at any depth.
void addFolder(Targets& targets, const QString& path) {
    if (isBundle(path)) {
        targets.all.push_back({TargetKind::kBundle, path});
        return;
    }
    if (QFileInfo::exists(path + u"/Info.plist"_s)) {
        targets.all.push_back({TargetKind::kBrand, path});
        return;
    }
    for (const QFileInfo& entry : QDir(path).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name)) {
        const QString name = entry.filePath();
        if (entry.isDir() && !entry.isSymLink()) { // a link may lead back up
            addFolder(targets, name);
        } else if (entry.isFile() && (isImageName(name) || name.endsWith(u".json", Qt::CaseInsensitive))) {
            targets.all.push_back({isImageName(name) ? TargetKind::kImage : TargetKind::kConfigFile, name});
        }
    }
}

void addFolderTarget(Targets& targets, const QString& path) {
    const std::size_t before = targets.all.size();
    addFolder(targets, path);
    if (targets.all.size() == before) {
        targets.refusals += u"%1 holds no configuration, no image and no bundle"_s.arg(path);
    }
}

void addAddress(Targets& targets, const QString& word) {
    const QString path = word.section(u'?', 0, 0).section(u'#', 0, 0);
    targets.all.push_back({isImageName(path) ? TargetKind::kImageAddress : TargetKind::kConfigAddress, word});
}

} // namespace

Targets findTargets(const QStringList& words) {
    Targets targets;
    for (const QString& word : words) {
        if (word.startsWith(u"http://", Qt::CaseInsensitive) || word.startsWith(u"https://", Qt::CaseInsensitive)) {
            addAddress(targets, word);
        } else if (QFileInfo(word).isDir()) {
            addFolderTarget(targets, QDir::cleanPath(word));
        } else {
            addFile(targets, word);
        }
    }
    return targets;
}

} // namespace portal::check
