#include "platform/base/StringsTable.h"

#include "platform/base/LanguageMatch.h"
#include "platform/base/PropertyList.h"

#include <QStringConverter>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

using StringsTable::Table;

// UTF-16 with or without a byte order mark, else UTF-8; absent when the bytes are neither.
std::optional<QString> decode(const QByteArray& bytes) {
    QStringConverter::Encoding encoding = QStringConverter::encodingForData(bytes).value_or(QStringConverter::Utf8);
    if (bytes.size() >= 2 && bytes[0] == '\0' && bytes[1] != '\0') {
        encoding = QStringConverter::Utf16BE;
    } else if (bytes.size() >= 2 && bytes[0] != '\0' && bytes[1] == '\0') {
        encoding = QStringConverter::Utf16LE;
    }
    if (encoding != QStringConverter::Utf8 && bytes.size() % 2 != 0) {
        return std::nullopt;
    }
    QStringDecoder decoder(encoding);
    QString text = decoder.decode(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

// Reads "key" = "value"; pairs. Unquoted words may stand for either.
class Reader {
public:
    explicit Reader(const QString& text) : text_(text) {}

    std::optional<Table> read() {
        Table table;
        while (skipBlanksAndComments() && at_ < text_.size()) {
            const std::optional<QString> key = readWord();
            if (!key || !skipTo(u'=')) {
                return std::nullopt;
            }
            skipBlanksAndComments();
            const std::optional<QString> value = readWord();
            if (!value || !skipTo(u';')) {
                return std::nullopt;
            }
            table.insert(*key, *value);
        }
        return failed_ ? std::nullopt : std::optional(table);
    }

private:
    QChar current() const { return at_ < text_.size() ? text_[at_] : QChar(); }

    // False when a comment never ends.
    bool skipBlanksAndComments() {
        while (at_ < text_.size() && !failed_) {
            const QString two = text_.mid(at_, 2);
            if (current().isSpace()) {
                ++at_;
            } else if (two == u"//"_s) {
                skipBehind(u"\n"_s, 2, false);
            } else if (two == u"/*"_s) {
                skipBehind(u"*/"_s, 2, true);
            } else {
                break;
            }
        }
        return !failed_;
    }

    void skipBehind(const QString& end, qsizetype opening, bool endNeeded) {
        const qsizetype found = text_.indexOf(end, at_ + opening);
        failed_ = found < 0 && endNeeded;
        at_ = found < 0 ? text_.size() : found + end.size();
    }

    bool skipTo(QChar mark) {
        skipBlanksAndComments();
        const bool found = current() == mark;
        at_ += found ? 1 : 0;
        return found;
    }

    std::optional<QString> readWord() {
        if (current() == u'"') {
            return readQuoted();
        }
        const qsizetype start = at_;
        while (at_ < text_.size() && (current().isLetterOrNumber() || u"_.-$/:"_s.contains(current()))) {
            ++at_;
        }
        return at_ > start ? std::optional(text_.mid(start, at_ - start)) : std::nullopt;
    }

    std::optional<QString> readQuoted() {
        QString word;
        for (++at_; at_ < text_.size(); ++at_) {
            if (current() == u'"') {
                ++at_;
                return word;
            }
            if (current() != u'\\') {
                word += current();
            } else if (++at_ < text_.size()) {
                word += readEscape();
            }
        }
        return std::nullopt;
    }

    // The unit behind a backslash, which is the current one; \U and \u take four hexadecimal digits.
    QChar readEscape() {
        switch (current().unicode()) {
        case u'n':
            return u'\n';
        case u't':
            return u'\t';
        case u'r':
            return u'\r';
        case u'U':
        case u'u': {
            bool valid = false;
            const ushort unit = text_.mid(at_ + 1, 4).toUShort(&valid, 16);
            at_ += valid ? 4 : 0;
            return valid ? QChar(unit) : current();
        }
        default:
            return current();
        }
    }

    const QString& text_;
    qsizetype at_ = 0;
    bool failed_ = false;
};

std::optional<Table> fromPropertyList(const QByteArray& bytes) {
    const std::optional<QVariant> root = PropertyList::parse(bytes);
    if (!root || root->typeId() != QMetaType::QVariantMap) {
        return std::nullopt;
    }
    Table table;
    const QVariantMap dictionary = root->toMap();
    for (auto entry = dictionary.cbegin(); entry != dictionary.cend(); ++entry) {
        if (entry.value().typeId() == QMetaType::QString) {
            table.insert(entry.key(), entry.value().toString());
        }
    }
    return table;
}

} // namespace

namespace StringsTable {

std::optional<Table> parse(const QByteArray& bytes) {
    if (bytes.startsWith("bplist") || bytes.trimmed().startsWith("<?xml")) {
        return fromPropertyList(bytes);
    }
    const std::optional<QString> text = decode(bytes);
    return text ? Reader(*text).read() : std::nullopt;
}

QString chooseLocalization(const QStringList& preferred, const QStringList& available,
                           const QString& developmentRegion) {
    for (const QString& language : preferred) {
        if (const std::optional<QString> found = platform::matchLanguage(language, available)) {
            return *found;
        }
    }
    return platform::matchLanguage(developmentRegion, available).value_or(developmentRegion);
}

} // namespace StringsTable
