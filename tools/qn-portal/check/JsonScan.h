#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>
#include <string_view>
#include <vector>

// Reading of a JSON document by a person's eyes: every value with its place, and each thing that is wrong with the
// text, with a guess of what was meant, so that one run tells of all mistakes. Whether the installer takes the document
// is decided by the installer's own reader (config/JSONReader.h), never here.
namespace portal::check {

struct JsonMember;

struct JsonValue {
    enum class Kind { kObject, kList, kText, kNumber, kTruth, kNull };

    Kind kind = Kind::kNull;
    QString text;                    // of a text, unescaped; else as written
    qsizetype at = 0;                // where it begins, in QChars
    std::vector<JsonMember> members; // of an object, in order, doublets too
    std::vector<JsonValue> items;    // of a list

    // The first member of that name, as the installer takes it; null when there is none.
    const JsonMember* member(QStringView name) const;
    // The same for its value.
    const JsonValue* value(QStringView name) const;
};

struct JsonMember {
    QString key;
    qsizetype at = 0; // of the key
    JsonValue value;
};

struct JsonProblem {
    std::string_view code; // of a rule
    qsizetype at = 0;      // in QChars
    QStringList details;
};

struct JsonScan {
    QString text; // decoded, without a byte order mark
    std::optional<JsonValue> root;
    std::vector<JsonProblem> problems; // in the order of the text
};

// Never throws. Stops in the middle, with a problem, where nothing can be guessed.
JsonScan scanJson(const QByteArray& bytes);

// What the installer's reader would make of it: QVariantMap, QVariantList, QString, …; of two members the first.
QVariant variantOf(const JsonValue& value);

// "a text", "a list", "the number 1": for sentences.
QString describe(const JsonValue& value);

struct TextPlace {
    int line = 1;
    int column = 1;
    QString excerpt;
};
// Of the QChar at `at`. Columns are characters, not QChars.
TextPlace placeIn(const QString& text, qsizetype at);

} // namespace portal::check
