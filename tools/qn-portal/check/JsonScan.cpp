#include "tools/qn-portal/check/JsonScan.h"

#include "config/JSONReader.h"

#include <QStringDecoder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

bool isBlank(QChar unit) {
    return unit == u' ' || unit == u'\t' || unit == u'\n' || unit == u'\r';
}

bool isWordUnit(QChar unit) {
    return unit.isLetterOrNumber() || unit == u'_' || unit == u'.' || unit == u'+' || unit == u'-' || unit == u'$';
}

// The closing quote that belongs to an opening one; a null QChar for what is no quote.
QChar closingQuote(QChar opening) {
    switch (opening.unicode()) {
    case u'"':
    case u'\'':
    case u'`':
        return opening;
    case u'\u201C': // “ and, as Germans close and Swedes open, ”
    case u'\u201D':
    case u'\u201E':
        return u'\u201D';
    case u'\u2018':
        return u'\u2019';
    case u'\u00AB':
        return u'\u00BB';
    default:
        return {};
    }
}

bool closes(QChar unit, QChar closing) {
    return unit == closing || (closing == u'\u201D' && (unit == u'\u201C' || unit == u'\u201F'));
}

class Scanner {
public:
    explicit Scanner(JsonScan& scan) : scan_(scan), text_(scan.text) {}

    void run() {
        skipBlanks();
        if (atEnd()) {
            problem("json-syntax", at_, {u"it is empty"_s});
            return;
        }
        scan_.root = value();
        skipBlanks();
        if (!atEnd() && !stopped_) {
            problem("json-behind-value", at_);
        }
    }

private:
    bool atEnd() const { return stopped_ || at_ >= text_.size(); }
    QChar unit() const { return text_[at_]; }

    void problem(std::string_view code, qsizetype at, const QStringList& details = {}) {
        scan_.problems.push_back({code, at, details});
    }

    void stop() { stopped_ = true; }

    void skipBlanks() {
        while (!atEnd()) {
            if (isBlank(unit())) {
                ++at_;
            } else if (!skipComment()) {
                return;
            }
        }
    }

    bool skipComment() {
        const QStringView rest = QStringView(text_).sliced(at_);
        const bool isLine = rest.startsWith(u"//") || rest.startsWith(u'#');
        if (!isLine && !rest.startsWith(u"/*")) {
            return false;
        }
        problem("json-comment", at_);
        const qsizetype end = isLine ? rest.indexOf(u'\n') : rest.indexOf(u"*/");
        at_ = end < 0 ? text_.size() : at_ + end + (isLine ? 0 : 2);
        return true;
    }

    void ended(const QString& what) {
        problem("json-unended", text_.isEmpty() ? 0 : text_.size() - 1, {what});
        stop();
    }

    JsonValue value() {
        if (++depth_ > JSONReader::kDeepestNesting + 1) {
            problem("json-too-deep", at_);
            stop();
            return {};
        }
        JsonValue result = unit() == u'{'                   ? object()
                           : unit() == u'['                 ? list()
                           : !closingQuote(unit()).isNull() ? quoted()
                                                            : word();
        --depth_;
        return result;
    }

    JsonValue object() {
        JsonValue result{JsonValue::Kind::kObject, {}, at_++, {}, {}};
        while (next(u'}', result.members.empty(), u"an object"_s)) {
            JsonMember member = this->member();
            if (result.member(member.key) != nullptr) {
                problem("json-duplicate-key", member.at, {member.key});
            }
            result.members.push_back(std::move(member));
        }
        return result;
    }

    JsonValue list() {
        JsonValue result{JsonValue::Kind::kList, {}, at_++, {}, {}};
        while (next(u']', result.items.empty(), u"a list"_s)) {
            result.items.push_back(value());
        }
        return result;
    }

    // Goes to the next entry; false when the container ends here.
    bool next(QChar closing, bool isFirst, const QString& what) {
        skipBlanks();
        const qsizetype separator = at_;
        bool hasComma = false;
        while (!atEnd() && unit() == u',') {
            if (hasComma || isFirst) {
                problem("json-syntax", at_, {u"there is nothing before the comma"_s});
            }
            hasComma = true;
            ++at_;
            skipBlanks();
        }
        if (atEnd()) {
            if (!stopped_) {
                ended(what);
            }
            return false;
        }
        if (unit() == closing) {
            if (hasComma && !isFirst) {
                problem("json-trailing-comma", separator);
            }
            ++at_;
            return false;
        }
        if (unit() == u'}' || unit() == u']') {
            problem("json-syntax", at_, {u"%1 closes what %2 opened"_s.arg(unit()).arg(closing == u'}' ? u'{' : u'[')});
            stop();
            return false;
        }
        if (!hasComma && !isFirst) {
            problem("json-missing-comma", at_);
        }
        return true;
    }

    JsonMember member() {
        JsonMember member{{}, at_, {}};
        if (!closingQuote(unit()).isNull()) {
            member.key = quoted().text;
        } else {
            const JsonValue key = word();
            member.key = key.text;
            if (!stopped_ && key.kind != JsonValue::Kind::kText) {
                problem("json-unquoted-word", key.at, {key.text});
            }
        }
        skipBlanks();
        if (!atEnd() && (unit() == u':' || unit() == u'=')) {
            if (unit() == u'=') {
                problem("json-syntax", at_, {u"a colon belongs between key and value"_s});
            }
            ++at_;
            skipBlanks();
        } else if (!atEnd()) {
            problem("json-syntax", at_, {u"a colon is missing behind the key \"%1\""_s.arg(member.key)});
            stop();
        }
        if (atEnd()) {
            if (!stopped_) {
                ended(u"the key \"%1\""_s.arg(member.key));
            }
            return member;
        }
        member.value = value();
        return member;
    }

    JsonValue quoted() {
        JsonValue result{JsonValue::Kind::kText, {}, at_, {}, {}};
        const QChar closing = closingQuote(unit());
        if (unit() != u'"') {
            problem("json-quotes", at_, {unit() == u'\'' || unit() == u'`' ? u"single quotes"_s : u"curly quotes"_s});
        }
        ++at_;
        while (!atEnd() && !closes(unit(), closing)) {
            if (unit() == u'\n') {
                problem("json-syntax", result.at, {u"the text has no closing quote on this line"_s});
                return result;
            }
            result.text += unit() == u'\\' ? escaped() : plain();
        }
        if (atEnd()) {
            ended(u"a text"_s);
        }
        ++at_;
        return result;
    }

    QChar plain() {
        if (unit() < u' ') {
            problem("json-control-character", at_,
                    {u"U+%1"_s.arg(int{unit().unicode()}, 4, 16, QChar(u'0')).toUpper()});
        }
        return text_[at_++];
    }

    QString escaped() {
        static constexpr std::u16string_view kNames = u"\"\\/bfnrt";
        static constexpr std::u16string_view kMeanings = u"\"\\/\b\f\n\r\t";
        const qsizetype begin = at_++;
        if (atEnd()) {
            return {};
        }
        const QChar name = text_[at_++];
        if (const auto index = kNames.find(name.unicode()); index != std::u16string_view::npos) {
            return QString(QChar(kMeanings[index]));
        }
        bool isNumber = false;
        const ushort code = text_.mid(at_, 4).toUShort(&isNumber, 16);
        if (name == u'u' && isNumber && at_ + 4 <= text_.size()) {
            at_ += 4;
            return QString(QChar(code));
        }
        problem("json-syntax", begin, {u"there is no escape \\%1"_s.arg(name)});
        return QString(name);
    }

    // true, false, null, a number, or what somebody forgot to quote.
    JsonValue word() {
        const qsizetype begin = at_;
        while (!atEnd() && isWordUnit(unit())) {
            ++at_;
        }
        JsonValue result{JsonValue::Kind::kText, text_.sliced(begin, at_ - begin), begin, {}, {}};
        if (result.text.isEmpty()) {
            problem("json-syntax", begin, {u"%1 is not expected"_s.arg(text_[begin])});
            stop();
            return result;
        }
        if (result.text == u"true" || result.text == u"false") {
            result.kind = JsonValue::Kind::kTruth;
        } else if (result.text == u"null") {
            result.kind = JsonValue::Kind::kNull;
        } else if (JSONReader::read(result.text.toUtf8()).value) {
            result.kind = JsonValue::Kind::kNumber;
        } else {
            problem("json-unquoted-word", begin, {result.text});
        }
        return result;
    }

    JsonScan& scan_;
    const QString& text_;
    qsizetype at_ = 0;
    int depth_ = 0;
    bool stopped_ = false;
};

void noteEncoding(JsonScan& scan, QStringConverter::Encoding encoding, const QByteArray& bytes) {
    if (encoding != QStringConverter::Utf8) {
        scan.problems.push_back(
            {"json-encoding", 0, {QString::fromLatin1(QStringConverter::nameForEncoding(encoding))}});
    } else if (bytes.startsWith("\xEF\xBB\xBF")) {
        scan.problems.push_back({"json-byte-order-mark", 0, {}});
    }
}

} // namespace

JsonScan scanJson(const QByteArray& bytes) {
    JsonScan scan;
    const auto encoding = QStringConverter::encodingForData(bytes, u'{').value_or(QStringConverter::Utf8);
    noteEncoding(scan, encoding, bytes);
    QStringDecoder decoder(encoding);
    scan.text = decoder(bytes);
    if (decoder.hasError()) {
        const qsizetype damage = std::max<qsizetype>(scan.text.indexOf(QChar::ReplacementCharacter), 0);
        scan.problems.push_back(
            {"json-not-text", damage, {QString::fromLatin1(QStringConverter::nameForEncoding(encoding))}});
    }
    Scanner(scan).run();
    return scan;
}

} // namespace portal::check
