#include "tools/qn-portal/check/Settings.h"

#include "platform/base/LanguageMatch.h"
#include "sysinfo/LocaleChoice.h"

#include <array>

namespace portal::check {

namespace {

using enum Setting::Kind;

constexpr std::string_view kNoConfig = "The screen \"Installation failed\"; the log says Code=-1002.";
constexpr std::string_view kNullFolder = "The log lies in a folder whose name holds (null).";
constexpr std::string_view kNullName = "\"(null)\" in the place of the name.";
constexpr std::string_view kPlainLink = "Words that should be a link are none.";
constexpr std::string_view kOldColor = "The colour that is there by itself.";
constexpr std::string_view kNothing = "Nothing.";

constexpr std::array kSettings{
    Setting{"QNPortalType", kText, "", false, "the portal's type; its scheme is this and a d", kNothing},
    Setting{"DEV1_URL", kConfigAddress, "dev1", true, "the address of the configuration for dev1", kNoConfig},
    Setting{"QA1_URL", kConfigAddress, "qa1", true, "the address of the configuration for qa1", kNoConfig},
    Setting{"BETA_URL", kConfigAddress, "beta", true, "the address of the configuration for beta", kNoConfig},
    Setting{"PRODUCTION_URL", kConfigAddress, "prod", true, "the address of the configuration", kNoConfig},
    Setting{"kQNApplicationDataPathDev1", kDataPath, "dev1", true, "the data folder below the home for dev1",
            kNullFolder},
    Setting{"kQNApplicationDataPathQA1", kDataPath, "qa1", true, "the data folder below the home for qa1", kNullFolder},
    Setting{"kQNApplicationDataPathBeta", kDataPath, "beta", true, "the data folder below the home for beta",
            kNullFolder},
    Setting{"kQNApplicationDataPathProd", kDataPath, "prod", true, "the data folder below the home", kNullFolder},
    Setting{"kQNInstallBinaryPathDev1", kText, "dev1", false, "the name of the installer's binary for dev1", kNothing},
    Setting{"kQNInstallBinaryPathQA1", kText, "qa1", false, "the name of the installer's binary for qa1", kNothing},
    Setting{"kQNInstallBinaryPathBeta", kText, "beta", false, "the name of the installer's binary for beta", kNothing},
    Setting{"kQNInstallBinaryPathProd", kText, "prod", false, "the name of the installer's binary", kNothing},
    Setting{"kAPP_NAME", kText, "", true, "the product's name in the window and the log", kNullName},
    Setting{"AnalyticsProductName", kText, "", true, "the product's name in requests and analytics",
            "The program ends at its first event: the log says \"attempt to insert nil object\"."},
    Setting{"PRIMARY_COLOR", kColor, "", true, "the colour of headlines", kOldColor},
    Setting{"SECONDARY_COLOR", kColor, "", true, "the colour of other texts", kOldColor},
    Setting{"BG_COLOR", kColor, "", true, "the window's background", kOldColor},
    Setting{"visitOnlineHelpSiteUrl", kLink, "", true, "where the help link leads", kPlainLink},
    Setting{"downloadAndInstallLatestVersionUrl", kLink, "", true, "where the link to the latest version leads",
            kPlainLink},
    Setting{"clickHereUrl", kLink, "", true, "where \"click here\" leads", kPlainLink},
};

constexpr std::array<std::string_view, 22> kTextKeys{"ContactSupportText",
                                                     "ContactSupportText1",
                                                     "MenuQuit",
                                                     "MessageClose",
                                                     "MessageConnecting",
                                                     "MessageDownloadButtonText",
                                                     "MessageDownloadText1",
                                                     "MessageDownloadText2Link",
                                                     "MessageDownloadText3",
                                                     "MessageGetLatestVersion",
                                                     "MessageInstallationFailed",
                                                     "MessageInstallationFailedClickHere",
                                                     "MessageInstallationFailedDescription",
                                                     "MessageInstallationFailedDescription1",
                                                     "MessageInstallationFailedDescription2",
                                                     "MessageInstallationFailedDescription3",
                                                     "MessageNoInternetConnection",
                                                     "MessagePleaseTryLater",
                                                     "MessageRetry",
                                                     "QNContactSupport",
                                                     "QNNo",
                                                     "QNYes"};

constexpr std::array<std::string_view, 23> kLanguages{"cs", "da", "de", "el", "en", "es",      "fi",     "fr",
                                                      "he", "hu", "it", "ja", "ko", "nb",      "nl",     "pl",
                                                      "pt", "ru", "sk", "sv", "tr", "zh-Hans", "zh-Hant"};

} // namespace

std::span<const Setting> settings() {
    return kSettings;
}

std::span<const std::string_view> textKeys() {
    return kTextKeys;
}

std::span<const std::string_view> languages() {
    return kLanguages;
}

QString localeFor(const QString& language) {
    for (const char* const known : LocaleChoice::kSupportedLocales) {
        QString locale = QString::fromLatin1(known);
        if (platform::matchLanguage(locale, {language})) {
            return locale;
        }
    }
    return language.section(QLatin1Char('-'), 0, 0) + QLatin1Char('-') +
           language.section(QLatin1Char('-'), -1).toUpper();
}

} // namespace portal::check
