#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace platform {

// Which of the available localisations serves a wanted language. Names are BCP 47 tags or the older forms with a
// region and no script ("zh-TW"); _ counts as -, and letters as the same in both cases.
//
// Facts: RFC 4647 (look-up by cutting subtags from the end), RFC 5646 and the IANA registry (iw is he, in is id, ji is
// yi, no is nb), Unicode's likely subtags (which script a Chinese region writes).
//
// The result is one of `available`, in its own spelling, for the first rule that finds one:
// 1. the same tag, then the tag less its last subtag, and so on (pt-BR, then pt);
// 2. the same under the other code of the language (iw, then he);
// 3. a table of another region in the same language and script: de-AT finds de-DE, zh-Hant-HK finds zh-TW.
// Absent when no table is in the wanted language: Chinese in one script is not the other's reader's language.
std::optional<QString> matchLanguage(const QString& wanted, const QStringList& available);

} // namespace platform
