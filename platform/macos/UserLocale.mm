#include "platform/UserLocale.h"

#import <Foundation/Foundation.h>

namespace platform {

void keepQtInUtf8() {} // it is always

QStringList preferredLanguages() {
    QStringList languages;
    for (NSString* language in [NSLocale preferredLanguages]) {
        languages.append(QString::fromNSString(language));
    }
    return languages;
}

std::optional<QString> localeCountryCode() {
    NSString* const code = [[NSLocale currentLocale] objectForKey:NSLocaleCountryCode];
    return code ? std::optional(QString::fromNSString(code)) : std::nullopt;
}

} // namespace platform
