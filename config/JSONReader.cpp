#include "config/JSONReader.h"

#include <QStringDecoder>
#include <QStringEncoder>
#include <QVariantList>
#include <QVariantMap>

#include <nlohmann/json.hpp>

#include <array>
#include <string>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

using Json = nlohmann::json;

struct Encoding {
    QStringConverter::Encoding name = QStringConverter::Utf8;
    qsizetype unit = 1;
    qsizetype mark = 0; // bytes of the byte order mark
};

// The first character of a document is ASCII, so the zeros of its first two units give wide encodings away.
Encoding encodingByZeros(const QByteArray& bytes) {
    const auto isZero = [&](qsizetype at) { return at < bytes.size() && bytes[at] == '\0'; };
    if (bytes.size() >= 4 && isZero(0) && isZero(1)) {
        return {QStringConverter::Utf32BE, 4, 0};
    }
    if (bytes.size() >= 4 && isZero(1) && isZero(2) && isZero(3)) {
        return {QStringConverter::Utf32LE, 4, 0};
    }
    if (isZero(0)) {
        return {QStringConverter::Utf16BE, 2, 0};
    }
    if (isZero(1)) {
        return {QStringConverter::Utf16LE, 2, 0};
    }
    return {};
}

Encoding encodingOf(const QByteArray& bytes) {
    using namespace std::string_view_literals;
    // The longer marks first: the one of UTF-32 begins with that of UTF-16.
    static const std::array<std::pair<std::string_view, Encoding>, 5> marks = {{
        {"\xFF\xFE\0\0"sv, {QStringConverter::Utf32LE, 4, 4}},
        {"\0\0\xFE\xFF"sv, {QStringConverter::Utf32BE, 4, 4}},
        {"\xEF\xBB\xBF"sv, {QStringConverter::Utf8, 1, 3}},
        {"\xFF\xFE"sv, {QStringConverter::Utf16LE, 2, 2}},
        {"\xFE\xFF"sv, {QStringConverter::Utf16BE, 2, 2}},
    }};
    for (const auto& [mark, encoding] : marks) {
        if (bytes.startsWith(QByteArrayView(mark.data(), static_cast<qsizetype>(mark.size())))) {
            return encoding;
        }
    }
    return encodingByZeros(bytes);
}

// Absent when the bytes are damaged. The parser checks UTF-8 itself, but takes a zero byte for the end.
std::optional<QByteArray> utf8Of(const QByteArray& bytes) {
    const Encoding encoding = encodingOf(bytes);
    QByteArray text = bytes.sliced(encoding.mark);
    if (encoding.unit > 1) {
        if (text.size() % encoding.unit != 0) {
            return std::nullopt;
        }
        QStringDecoder decoder(encoding.name, QStringConverter::Flag::ConvertInitialBom);
        const QString decoded = decoder(text);
        // Some releases of Qt read a character beyond Unicode as another one.
        QStringEncoder encoder(encoding.name);
        if (decoder.hasError() || !decoded.isValidUtf16() || encoder(decoded) != text) {
            return std::nullopt;
        }
        text = decoded.toUtf8();
    }
    if (text.contains('\0')) {
        return std::nullopt;
    }
    return text;
}

// Builds the value as the parser meets its parts, so that the nesting is bounded before anything is built too deep.
class ValueBuilder final : public nlohmann::json_sax<Json> {
public:
    JSONReader::Result result;

    bool null() override { return put(QVariant::fromValue(nullptr)); }
    bool boolean(bool value) override { return put(value); }
    bool number_integer(number_integer_t value) override { return put(QVariant::fromValue<qint64>(value)); }
    bool number_unsigned(number_unsigned_t value) override {
        constexpr auto kLargestSigned = static_cast<number_unsigned_t>(std::numeric_limits<qint64>::max());
        if (value <= kLargestSigned) {
            return put(QVariant::fromValue(static_cast<qint64>(value)));
        }
        return put(QVariant::fromValue<quint64>(value));
    }
    bool number_float(number_float_t value, const string_t&) override { return put(value); }
    bool string(string_t& value) override { return put(QString::fromStdString(value)); }
    bool binary(binary_t&) override { return false; } // not a part of JSON text
    bool start_object(std::size_t) override { return open({true, {}, {}, {}}); }
    bool key(string_t& value) override {
        open_.back().key = QString::fromStdString(value);
        return true;
    }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open({false, {}, {}, {}}); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t position, const std::string&, const Json::exception&) override {
        result.failure = u"The document is no valid JSON at byte %1."_s.arg(position);
        return false;
    }

private:
    struct Container {
        bool isObject;
        QVariantMap object;
        QVariantList list;
        QString key;
    };

    bool isOneTooMany() {
        if (++values_ <= JSONReader::kMostValues) {
            return false;
        }
        result.failure = u"The document holds more than %1 values."_s.arg(JSONReader::kMostValues);
        return true;
    }

    bool open(Container container) {
        if (open_.size() == static_cast<std::size_t>(JSONReader::kDeepestNesting)) {
            result.failure = u"The document nests deeper than %1 levels."_s.arg(JSONReader::kDeepestNesting);
            return false;
        }
        if (isOneTooMany()) {
            return false;
        }
        open_.push_back(std::move(container));
        return true;
    }

    bool close() {
        const Container closed = std::move(open_.back());
        open_.pop_back();
        return place(closed.isObject ? QVariant(closed.object) : QVariant(closed.list));
    }

    bool put(QVariant value) { return !isOneTooMany() && place(std::move(value)); }

    bool place(QVariant value) {
        if (open_.empty()) {
            result.value = std::move(value);
            return true;
        }
        Container& around = open_.back();
        if (!around.isObject) {
            around.list.append(std::move(value));
        } else if (!around.object.contains(around.key)) {
            around.object.insert(around.key, value);
        }
        return true;
    }

    std::vector<Container> open_;
    int values_ = 0;
};

} // namespace

namespace JSONReader {

Result read(const QByteArray& bytes) {
    const auto text = utf8Of(bytes);
    if (!text) {
        return {std::nullopt, u"The document's text is damaged."_s};
    }
    ValueBuilder builder;
    if (!Json::sax_parse(text->cbegin(), text->cend(), &builder)) {
        builder.result.value.reset(); // what follows a whole value can still be wrong
    }
    return std::move(builder.result);
}

} // namespace JSONReader
