#include "platform/linux/LocaleNames.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

constexpr char16_t kEndOfAscii = 0x80;

struct PosixName {
    QString language;
    QString script; // "Hant"; POSIX knows none, but people and some desktops write it
    QString territory;
    QString modifier;
};

// Four letters (ISO 15924), written as tags write them; empty when it is something else.
QString scriptIn(const QString& part) {
    constexpr int kLetters = 4;
    const auto isLetter = [](QChar letter) { return letter.isLetter() && letter.unicode() < kEndOfAscii; };
    if (part.size() != kLetters || !std::all_of(part.cbegin(), part.cend(), isLetter)) {
        return {};
    }
    return part.left(1).toUpper() + part.mid(1).toLower();
}

// language[_script][_territory][.codeset][@modifier]; some settings write - for _.
PosixName takeApart(const QString& name) {
    PosixName parts;
    parts.modifier = name.section(u'@', 1);
    const QString base = name.section(u'@', 0, 0).section(u'.', 0, 0).replace(u'-', u'_');
    parts.language = base.section(u'_', 0, 0);
    parts.script = scriptIn(base.section(u'_', 1, 1));
    parts.territory = base.section(u'_', parts.script.isEmpty() ? 1 : 2);
    return parts;
}

bool isPortableLocale(const QString& name) {
    const QString language = takeApart(name).language;
    return language.isEmpty() || language == u"C"_s || language == u"POSIX"_s;
}

QString effectiveLocale(const LocaleVariables& variables) {
    for (const QString& value : {variables.lcAll, variables.lcMessages, variables.lang}) {
        if (!value.isEmpty()) {
            return value;
        }
    }
    return {};
}

QString scriptOf(const PosixName& name) {
    if (!name.script.isEmpty()) {
        return name.script;
    }
    if (name.modifier == u"latin"_s) {
        return u"Latn"_s;
    }
    if (name.modifier == u"cyrillic"_s) {
        return u"Cyrl"_s;
    }
    if (name.language != u"zh"_s) {
        return {};
    }
    static const QStringList kTraditional = {u"TW"_s, u"HK"_s, u"MO"_s};
    return kTraditional.contains(name.territory) ? u"Hant"_s : u"Hans"_s;
}

} // namespace

QString languageTagOf(const QString& posixName) {
    const PosixName name = takeApart(posixName);
    if (isPortableLocale(posixName)) {
        return name.language.isEmpty() ? QString() : u"en"_s;
    }
    QString tag = name.language;
    for (const QString& part : {scriptOf(name), name.territory}) {
        if (!part.isEmpty()) {
            tag += u'-' + part;
        }
    }
    return tag.replace(u'_', u'-');
}

QStringList languagesFrom(const LocaleVariables& variables) {
    const QString effective = effectiveLocale(variables);
    if (isPortableLocale(effective)) {
        return {u"en"_s};
    }
    QStringList tags;
    for (const QString& item : variables.language.split(u':') + QStringList{effective}) {
        if (const QString tag = languageTagOf(item); !tag.isEmpty() && !tags.contains(tag)) {
            tags += tag;
        }
    }
    return tags;
}

std::optional<QString> territoryFrom(const LocaleVariables& variables) {
    const auto isUpper = [](QChar letter) { return letter >= u'A' && letter <= u'Z'; };
    const QString territory = takeApart(effectiveLocale(variables)).territory;
    if (territory.size() != 2 || !isUpper(territory[0]) || !isUpper(territory[1])) {
        return std::nullopt;
    }
    return territory;
}

} // namespace platform
