#include "tools/qn-portal/check/BundleTexts.h"

#include "platform/base/LanguageMatch.h"
#include "platform/base/StringsTable.h"
#include "tools/qn-portal/check/Placeholder.h"
#include "tools/qn-portal/check/Settings.h"
#include "tools/qn-portal/check/Spelling.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

QStringList listOf(std::span<const std::string_view> words) {
    QStringList list;
    for (const std::string_view word : words) {
        list += QString::fromUtf8(word.data(), static_cast<qsizetype>(word.size()));
    }
    return list;
}

// A brand's table replaces some of the texts, a bundle's has all of them.
void checkTable(Findings& findings, const Place& place, const StringsTable::Table& table, bool mayLackTexts) {
    static const QStringList kKeys = listOf(textKeys());
    QStringList misspelt;
    for (auto text = table.cbegin(); text != table.cend(); ++text) {
        if (!kKeys.contains(text.key())) {
            const auto nearest = nearestWord(text.key(), kKeys);
            const bool isMeant = nearest && !table.contains(*nearest);
            findings.add("bundle-text-unknown", place,
                         {text.key(), isMeant ? u"; %1 was probably meant"_s.arg(*nearest) : QString()});
            misspelt += isMeant ? *nearest : QString();
        } else if (text.value().trimmed().isEmpty()) {
            findings.add("bundle-text-empty", place, {text.key()});
        } else if (const auto placeholder = placeholderIn(text.value())) {
            findings.add("config-placeholder", place, {*placeholder});
        }
    }
    for (const QString& key : kKeys) {
        if (!mayLackTexts && !table.contains(key) && !misspelt.contains(key)) {
            findings.add("bundle-text-missing", place, {key});
        }
    }
}

} // namespace

QStringList checkTexts(Findings& findings, const BundleInfo& info) {
    const QDir resources(info.resources());
    QStringList found;
    for (const QString& folder : resources.entryList({u"*.lproj"_s}, QDir::Dirs, QDir::Name)) {
        QFile file(resources.filePath(folder + u"/Localizable.strings"_s));
        if (!file.open(QIODevice::ReadOnly)) {
            continue;
        }
        found += folder.chopped(6); // .lproj
        const Place place{file.fileName(), 0, 0, {}, {}};
        if (const auto table = StringsTable::parse(file.readAll())) {
            checkTable(findings, place, *table, info.isBrand());
        } else {
            findings.add("bundle-strings-damaged", place);
        }
    }
    if (info.isBrand()) {
        return found;
    }
    const QString development = info.top().value(u"CFBundleDevelopmentRegion"_s).toString();
    if (!development.isEmpty() && !platform::matchLanguage(development, found)) {
        findings.add("bundle-development-language", info.place(u"CFBundleDevelopmentRegion"_s), {development});
    }
    for (const QString& language : listOf(languages())) {
        if (!platform::matchLanguage(language, found)) {
            findings.add("bundle-language-missing", info.place({}), {language});
        }
    }
    return found;
}

} // namespace portal::check
