#include "sysinfo/LocaleChoice.h"

#include "platform/Bundle.h"
#include "platform/UserLocale.h"
#include "sysinfo/QNSystemInfo.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// "iw" and "yi" are what older systems write; all six have string tables or may get one.
constexpr std::array kRightToLeftLanguages = {"he", "iw", "ar", "fa", "ur", "yi"};

} // namespace

namespace LocaleChoice {

QString languageOf(const QStringList& preferred) {
    const QString first = preferred.value(0);
    const bool isChinese = first.contains(u"zh-"_s);
    const QString language = isChinese ? first : QNSystemInfo::getFirstPathOf(first);
    return language.isEmpty() ? u"en"_s : language;
}

QString localeOf(const QString& language, const QString& country) {
    if (language.isEmpty() || country.isEmpty()) {
        return u"en-US"_s;
    }
    return language + QLatin1Char('-') + country;
}

bool isRightToLeft(const QString& language) {
    const QString code = QNSystemInfo::getFirstPathOf(QString(language).replace(QLatin1Char('_'), QLatin1Char('-')));
    return std::any_of(kRightToLeftLanguages.begin(), kRightToLeftLanguages.end(),
                       [&](const char* candidate) { return code == QLatin1String(candidate); });
}

} // namespace LocaleChoice

QString QNSystemInfo::getLanguage() {
    return LocaleChoice::languageOf(platform::preferredLanguages());
}

QString QNSystemInfo::getCountry() {
    const QString country = platform::localeCountryCode().value_or(QString());
    return country.isEmpty() ? u"US"_s : country;
}

QString QNSystemInfo::getLocale() {
    return LocaleChoice::localeOf(getLanguage(), getCountry());
}

QString QNSystemInfo::configLocale(const QString& locale) {
    using LocaleChoice::kSupportedLocales;
    const auto firstWith = [](const auto& accepts) -> std::optional<QString> {
        const auto* const found = std::find_if(kSupportedLocales.begin(), kSupportedLocales.end(),
                                               [&](const char* entry) { return accepts(QLatin1String(entry)); });
        return found == kSupportedLocales.end() ? std::nullopt : std::optional(QString::fromLatin1(*found));
    };
    if (const auto exact = firstWith([&](QLatin1String entry) { return locale == entry; })) {
        return *exact;
    }
    const QString segment = getFirstPathOf(locale);
    if (locale.contains(u"zh-Hant"_s)) {
        return u"zh-TW"_s;
    }
    // The segment may stand anywhere in the entry, its region included.
    const auto containing =
        firstWith([&](QLatin1String entry) { return !segment.isEmpty() && entry.contains(segment); });
    return containing.value_or(u"en-US"_s);
}

bool QNSystemInfo::isRTL() {
    return LocaleChoice::isRightToLeft(platform::chosenLocalization());
}
