#include "platform/base/LanguageMatch.h"

#include <QLatin1StringView>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

QString canonical(const QString& tag) {
    return QString(tag).replace(u'_', u'-').toLower();
}

QString languageOf(const QString& tag) {
    return tag.section(u'-', 0, 0);
}

// "zh-hans-cn", then "zh-hans", then "zh", then empty.
QString parentOf(const QString& tag) {
    const qsizetype cut = tag.lastIndexOf(u'-');
    return cut < 0 ? QString() : tag.left(cut);
}

// The tag under the other code of its language, or of the one that its readers read as well; empty when there is none.
QString underOtherCode(const QString& tag) {
    static const std::array<std::pair<QString, QString>, 5> kCodes = {{
        {u"he"_s, u"iw"_s},
        {u"id"_s, u"in"_s},
        {u"yi"_s, u"ji"_s},
        {u"nb"_s, u"no"_s},
        {u"nb"_s, u"nn"_s}, // two forms of written Norwegian
    }};
    const QString language = languageOf(tag);
    for (const auto& [code, other] : kCodes) {
        if (language == code || language == other) {
            return (language == code ? other : code) + tag.mid(language.size());
        }
    }
    return {};
}

// The four-letter subtag behind the language; for Chinese without one, what its region writes.
QString scriptOf(const QString& tag) {
    const QStringList subtags = tag.split(u'-');
    if (subtags.size() > 1 && subtags[1].size() == 4) {
        return subtags[1];
    }
    if (subtags[0] != u"zh"_s) {
        return {};
    }
    static const QStringList kTraditional = {u"tw"_s, u"hk"_s, u"mo"_s};
    return subtags.size() > 1 && kTraditional.contains(subtags[1]) ? u"hant"_s : u"hans"_s;
}

template <typename Predicate>
std::optional<QString> firstOf(const QStringList& available, Predicate&& accepts) {
    const auto found = std::find_if(available.cbegin(), available.cend(),
                                    [&accepts](const QString& candidate) { return accepts(canonical(candidate)); });
    return found == available.cend() ? std::nullopt : std::optional(*found);
}

std::optional<QString> byTagOrParent(const QString& wanted, const QStringList& available) {
    for (QString tag = wanted; !tag.isEmpty(); tag = parentOf(tag)) {
        // A bare "zh" holds one script and must not serve the readers of the other.
        if (scriptOf(tag) != scriptOf(wanted) && languageOf(tag) == u"zh"_s) {
            break;
        }
        if (auto found = firstOf(available, [&tag](const QString& candidate) { return candidate == tag; })) {
            return found;
        }
    }
    return std::nullopt;
}

std::optional<QString> byLanguageAndScript(const QString& wanted, const QStringList& available) {
    return firstOf(available, [&wanted](const QString& candidate) {
        return languageOf(candidate) == languageOf(wanted) && scriptOf(candidate) == scriptOf(wanted);
    });
}

} // namespace

namespace platform {

std::optional<QString> matchLanguage(const QString& wanted, const QStringList& available) {
    const QString tag = canonical(wanted);
    const QString other = underOtherCode(tag);
    if (languageOf(tag).isEmpty()) {
        return std::nullopt;
    }
    if (auto found = byTagOrParent(tag, available)) {
        return found;
    }
    if (auto found = byTagOrParent(other, available)) {
        return found;
    }
    if (auto found = byLanguageAndScript(tag, available)) {
        return found;
    }
    return other.isEmpty() ? std::nullopt : byLanguageAndScript(other, available);
}

} // namespace platform
