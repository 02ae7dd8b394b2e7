#include "tools/qn-portal/check/ApplicationCheck.h"

#include "install/MountOutput.h"
#include "platform/base/PropertyList.h"
#include "tools/qn-portal/check/Program.h"
#include "tools/qn-portal/check/VolumeFiles.h"

#include <QRegularExpression>
#include <QStringList>
#include <QVariantMap>
#include <QVersionNumber>

#include <sys/utsname.h>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

constexpr std::size_t kMostInfoBytes = std::size_t{16} * 1024 * 1024;

class Application {
public:
    Application(Findings& findings, const Place& place, const hdi::Volume& volume, const InstallerFacts& installer,
                QString name)
        : findings_(findings), volume_(volume), files_(volume), installer_(installer), name_(std::move(name)),
          place_(place) {
        place_.path = name_;
    }

    void check() {
        checkName();
        const auto folder = files_.find(name_.toStdString());
        if (!folder || files_.attributes(*folder).kind != hdi::NodeKind::kFolder) {
            findings_.add("image-application-no-folder", place_, {name_});
            return;
        }
        const auto info = readInfo();
        if (!info) {
            findings_.add("image-no-info", place_);
            return;
        }
        checkIdentifier(*info);
        checkProgram(*info);
    }

private:
    void checkName() {
        const QString plain = name_.chopped(4); // .app
        if (plain != plain.trimmed()) {
            findings_.add("image-application-blanks", place_, {name_});
        }
        if (name_.normalized(QString::NormalizationForm_C) != name_.normalized(QString::NormalizationForm_D)) {
            findings_.add("image-name-two-forms", place_, {name_});
        }
    }

    std::optional<QVariantMap> readInfo() const {
        const auto file = files_.find((name_ + u"/Contents/Info.plist"_s).toStdString());
        if (!file) {
            return std::nullopt;
        }
        const auto list = PropertyList::parse(files_.contents(*file, kMostInfoBytes));
        return list && list->typeId() == QMetaType::QVariantMap ? std::optional(list->toMap()) : std::nullopt;
    }

    void checkIdentifier(const QVariantMap& info) {
        const QString identifier = info.value(u"CFBundleIdentifier"_s).toString();
        if (identifier.isEmpty()) {
            findings_.add("image-no-identifier", place_);
        } else if (identifier == installer_.identifier) {
            findings_.add("image-installer-identifier", place_, {identifier});
        }
    }

    void checkProgram(const QVariantMap& info) {
        const QString program = info.value(u"CFBundleExecutable"_s, name_.chopped(4)).toString();
        const QString path = name_ + u"/Contents/MacOS/"_s + program;
        place_.path = path;
        const auto file = files_.find(path.toStdString());
        if (!file || files_.attributes(*file).kind != hdi::NodeKind::kFile) {
            findings_.add("image-no-program", place_, {program});
            return;
        }
        if ((files_.attributes(*file).mode & 0111U) == 0) {
            findings_.add("image-program-not-executable", place_, {program});
        }
        const Program facts = readProgram(
            [&](std::uint64_t offset, std::span<std::byte> into) { return volume_.read(*file, offset, into); });
        checkKind(facts, program);
        checkSystem(info, facts, program);
    }

    void checkKind(const Program& facts, const QString& program) {
        switch (facts.kind) {
        case Program::Kind::kUnknown:
            findings_.add("image-not-a-program", place_, {program});
            return;
        case Program::Kind::kElf:
            checkElf(facts, program);
            return;
        case Program::Kind::kMachO:
            checkSlices(facts, program);
            return;
        case Program::Kind::kScript:
            return;
        }
    }

    void checkElf(const Program& facts, const QString& program) {
        utsname machine{};
        uname(&machine);
        const QString target = QString::fromStdString(facts.elfMachine);
        const bool isOurs = target == QString::fromUtf8(machine.machine);
        findings_.add(isOurs ? "image-other-system" : "image-architecture", place_,
                      {program, isOurs ? target : u"Linux on "_s + target});
    }

    void checkSlices(const Program& facts, const QString& program) {
        const bool hasArm = facts.slice("arm64") != nullptr;
        const bool hasIntel = facts.slice("x86_64") != nullptr;
        if (!hasArm && !hasIntel) {
            QStringList names;
            for (const ProgramSlice& slice : facts.slices) {
                names += QString::fromStdString(slice.processor);
            }
            findings_.add("image-architecture", place_, {program, names.join(u", "_s)});
            return;
        }
        if (!hasArm || !hasIntel) {
            findings_.add(hasArm ? "image-no-x86_64" : "image-no-arm64", place_, {program});
        }
        for (const ProgramSlice& slice : facts.slices) {
            if (!slice.isSigned && slice.processor == "arm64") {
                findings_.add("image-unsigned", place_, {program, QString::fromStdString(slice.processor)});
            }
        }
    }

    void checkSystem(const QVariantMap& info, const Program& facts, const QString& program) {
        QVersionNumber needed = QVersionNumber::fromString(info.value(u"LSMinimumSystemVersion"_s).toString());
        for (const ProgramSlice& slice : facts.slices) {
            const auto version = QVersionNumber::fromString(QString::fromStdString(slice.minimumSystem));
            // The first system for arm64 is 11.0, so that part says no less.
            needed = slice.processor == "arm64" && version.majorVersion() <= 11 ? needed : std::max(needed, version);
        }
        if (needed.normalized() > QVersionNumber::fromString(installer_.minimumSystem).normalized()) {
            findings_.add("image-minimum-system", place_, {program, needed.toString(), installer_.minimumSystem});
        }
    }

    Findings& findings_;
    const hdi::Volume& volume_;
    VolumeFiles files_;
    const InstallerFacts& installer_;
    QString name_;
    Place place_;
};

void addWrongNumber(Findings& findings, const Place& place, const QStringList& entries,
                    const QStringList& applications) {
    if (!applications.isEmpty()) {
        findings.add("image-two-applications", place,
                     {QString::number(applications.size()), applications.join(u", "_s)});
        return;
    }
    for (const QString& entry : entries) {
        if (entry.endsWith(u".app", Qt::CaseInsensitive)) {
            findings.add("image-application-case", place, {entry});
            return;
        }
    }
    findings.add("image-no-application", place, {entries.mid(0, 8).join(u", "_s)});
}

} // namespace

void checkApplications(Findings& findings, const Place& place, const hdi::Volume& volume,
                       const InstallerFacts& installer) {
    QStringList entries;
    for (const hdi::DirectoryEntry& entry : volume.list(volume.root())) {
        entries += QString::fromStdString(entry.name);
    }
    if (entries.isEmpty()) {
        findings.add("image-empty", place, {QString::fromStdString(volume.name())});
        return;
    }
    QStringList applications = entries.filter(QRegularExpression(u"\\.app$"_s));
    const QStringList hidden = applications.filter(QRegularExpression(u"^\\."_s));
    if (!hidden.isEmpty()) {
        findings.add("image-hidden-application", place, {hidden.join(u", "_s)});
        for (const QString& name : hidden) {
            applications.removeAll(name);
            entries.removeAll(name);
        }
    }
    if (const auto only = MountOutput::onlyApplication(entries)) {
        Application(findings, place, volume, installer, *only).check();
    } else if (!applications.isEmpty() || hidden.isEmpty()) {
        addWrongNumber(findings, place, entries, applications);
    }
}

} // namespace portal::check
