#include "config/QNConfig.h"
#include "config/QNConfigProvider.h"
#include "platform/Bundle.h"
#include "platform/base/Address.h"
#include "platform/base/Format.h"
#include "ui/HtmlText.h"
#include "ui/Screens.h"
#include "ui/Styling.h"

#include <QGuiApplication>

using namespace Qt::StringLiterals;

namespace {

constexpr double kSmall = 14.0;
constexpr double kLarge = 16.0;

QString text(const char* key) {
    return platform::localizedString(QLatin1String(key));
}

// The base set comes first and is overwritten over the whole run: neither its font nor its colour is ever seen.
StyledText plainRun(const QString& string, double size) {
    TextAttributes base;
    base.alignment = Qt::AlignHCenter;
    base.color = hexColor("#1A1A1A");
    base.font = FontChoice{kCommonSansLight, size};
    StyledText run(string, base);
    TextAttributes shown;
    shown.color = hexColor("#767676");
    shown.font = FontChoice{kCommonSans, size};
    run.addAttributes(shown);
    return run;
}

// Without a usable address there is nothing to click: the words stand there like the others.
StyledText linkRun(const QString& string, const std::optional<QString>& address, double size) {
    if (!address || !Address::parse(*address)) {
        return plainRun(string, size);
    }
    TextAttributes attributes;
    attributes.link = *address;
    attributes.underlineColor = kClear;
    attributes.color = hexColor("#000000");
    attributes.font = FontChoice{kCommonSans, size};
    attributes.alignment = Qt::AlignHCenter;
    attributes.cursor = Qt::PointingHandCursor;
    attributes.underlineStyle = 0;
    return StyledText(string, attributes);
}

// Carries no attributes of its own.
StyledText separator() {
    return StyledText(u" "_s);
}

std::optional<QString> setting(const char* key) {
    return QNConfigProvider::getStringFromPlist(QLatin1String(key));
}

StyledText joined(const std::vector<StyledText>& runs) {
    StyledText whole;
    for (const StyledText& run : runs) {
        whole.append(run);
    }
    return whole;
}

} // namespace

StyledText Screens::setupGenericDownloadUI() const {
    const std::optional<QString> link = config_ ? config_->actionUrl() : std::nullopt;
    return joined({plainRun(formatText("%@", text("MessageDownloadText1")), kSmall),
                   linkRun(text("MessageDownloadText2Link"), link, kSmall),
                   plainRun(text("MessageDownloadText3"), kSmall)});
}

StyledText Screens::setupVisitOnlineSiteLabelUI() const {
    return joined({plainRun(formatText("%@", text("ContactSupportText")), kSmall), separator(),
                   linkRun(text("ContactSupportText1"), setting("visitOnlineHelpSiteUrl"), kSmall)});
}

StyledText Screens::setupContactSupportLabelsUI() const {
    return joined(
        {plainRun(formatText("%@", text("MessageInstallationFailedDescription")), kLarge), separator(),
         linkRun(text("MessageInstallationFailedDescription1"), setting("downloadAndInstallLatestVersionUrl"), kLarge),
         separator(), plainRun(text("MessageInstallationFailedDescription2"), kLarge), separator(),
         linkRun(text("MessageInstallationFailedClickHere"), setting("clickHereUrl"), kLarge), separator(),
         plainRun(text("MessageInstallationFailedDescription3"), kLarge)});
}

StyledText Screens::stringFromHTML(const QString& html, const std::optional<FontChoice>& font) const {
    // Size 0 stands for the system font's own size.
    return textOfHtml(html, font.value_or(FontChoice{QGuiApplication::font().family(), defaultFont().size}));
}
