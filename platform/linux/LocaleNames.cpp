#include "platform/linux/LocaleNames.h"

namespace platform {
namespace {

struct PosixName {
    QString language;
    QString territory;
    QString modifier;
};

// language[_territory][.codeset][@modifier]; some settings write - for _.
PosixName takeApart(const QString& name) {
    PosixName parts;
    parts.modifier = name.section(u'@', 1);
    const QString base = name.section(u'@', 0, 0).section(u'.', 0, 0).replace(u'-', u'_');
    parts.language = base.section(u'_', 0, 0);
    parts.territory = base.section(u'_', 1);
    return parts;
}

bool isPortableLocale(const QString& name) {
    const QString language = takeApart(name).language;
    return language.isEmpty() || language == QStringLiteral("C") || language == QStringLiteral("POSIX");
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
    if (name.modifier == QStringLiteral("latin")) {
        return QStringLiteral("Latn");
    }
    if (name.modifier == QStringLiteral("cyrillic")) {
        return QStringLiteral("Cyrl");
    }
    if (name.language != QStringLiteral("zh")) {
        return {};
    }
    static const QStringList kTraditional = {QStringLiteral("TW"), QStringLiteral("HK"), QStringLiteral("MO")};
    return kTraditional.contains(name.territory) ? QStringLiteral("Hant") : QStringLiteral("Hans");
}

} // namespace

QString languageTagOf(const QString& posixName) {
    const PosixName name = takeApart(posixName);
    if (isPortableLocale(posixName)) {
        return name.language.isEmpty() ? QString() : QStringLiteral("en");
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
        return {QStringLiteral("en")};
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
