#pragma once

#include "ui/StyledText.h"

#include <QString>

// The text read as HTML, in this font unless it says otherwise: runs with their fonts, colours, links and underlines;
// paragraphs become lines. Pictures and style sheets from elsewhere are not fetched.
//
// Main thread.
StyledText textOfHtml(const QString& html, const FontChoice& font);
