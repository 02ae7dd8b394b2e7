#include "ui/HtmlText.h"

#include "platform/base/Format.h"

#include <QTextBlock>
#include <QTextDocument>

using namespace Qt::StringLiterals;

namespace {

TextAttributes attributesOf(const QTextCharFormat& format) {
    const QFont font = format.font();
    TextAttributes attributes;
    const double size = font.pixelSize() > 0 ? font.pixelSize() : font.pointSizeF();
    attributes.font = FontChoice{font.family(), size};
    if (format.hasProperty(QTextFormat::ForegroundBrush)) {
        const QColor color = format.foreground().color();
        attributes.color = Color{static_cast<double>(color.redF()), static_cast<double>(color.greenF()),
                                 static_cast<double>(color.blueF()), static_cast<double>(color.alphaF())};
    }
    if (format.isAnchor() && !format.anchorHref().isEmpty()) {
        attributes.link = format.anchorHref();
    }
    if (format.fontUnderline()) {
        attributes.underlineStyle = 1;
    }
    return attributes;
}

} // namespace

StyledText textOfHtml(const QString& html, const FontChoice& font) {
    QTextDocument document;
    document.setHtml(formatText("<span style=\"font-family:'%@'; font-size:%dpx;\">%@</span>", font.name,
                                static_cast<int>(font.size), html));
    StyledText result;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (block.blockNumber() > 0) {
            result.append(StyledText(u"\n"_s));
        }
        for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment) {
            result.append(StyledText(fragment.fragment().text(), attributesOf(fragment.fragment().charFormat())));
        }
    }
    return result;
}
