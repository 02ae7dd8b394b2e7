#include "ui/Links.h"

std::vector<std::pair<TextRange, QString>> linkRuns(const StyledText& text) {
    std::vector<std::pair<TextRange, QString>> found;
    qsizetype start = 0;
    for (const StyledText::Run& run : text.runs()) {
        const qsizetype size = run.text.size();
        const std::optional<QString>& link = run.attributes.link;
        if (link) {
            const bool goesOn = !found.empty() && found.back().second == *link &&
                                found.back().first.location + found.back().first.length == start;
            if (goesOn) {
                found.back().first.length += size;
            } else {
                found.push_back({{start, size}, *link});
            }
        }
        start += size;
    }
    return found;
}

TextRange withClosingPunctuation(const QString& string, const TextRange& link) {
    const auto closes = [](QChar character) {
        return character.isPunct() && character.category() != QChar::Punctuation_Open &&
               character.category() != QChar::Punctuation_InitialQuote;
    };
    qsizetype end = link.location + link.length;
    while (end < string.size() && closes(string.at(end))) {
        ++end;
    }
    return {link.location, end - link.location};
}
