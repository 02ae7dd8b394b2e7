#include "platform/base/PlatformException.h"
#include "tests/fuzz/FuzzInput.h"
#include "ui/HyperlinkTextField.h"
#include "ui/StyledText.h"

#include <QApplication>

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Texts with runs and links, and where they lie. The input is a row of orders of three bytes and a text behind a zero
// byte.

namespace {

int gArgumentCount = 1;
char gName[] = "fuzzer";
char* gArguments[] = {gName, nullptr};

TextAttributes attributesFor(std::uint8_t kind) {
    TextAttributes attributes;
    if ((kind & 1U) != 0) {
        attributes.link = u"https://h/"_s + QString::number(kind);
    }
    if ((kind & 2U) != 0) {
        attributes.font = FontChoice{u"CommonSans-Bold"_s, static_cast<double>(kind % 40)};
    }
    if ((kind & 4U) != 0) {
        attributes.color = Color{1.0, 0.0, 0.0, 1.0};
    }
    if ((kind & 8U) != 0) {
        attributes.alignment = Qt::AlignHCenter;
    }
    if ((kind & 16U) != 0) {
        attributes.underlineStyle = kind % 2;
    }
    return attributes;
}

StyledText textOf(QByteArray orders, const QString& letters) {
    StyledText text;
    for (; orders.size() >= 3; orders = orders.sliced(3)) {
        const auto kind = static_cast<std::uint8_t>(orders[0]);
        const auto from = static_cast<std::uint8_t>(orders[1]);
        const auto count = static_cast<std::int8_t>(orders[2]);
        const qsizetype length = text.length();
        try {
            if (kind % 3 == 0) {
                text.append(StyledText(letters.mid(from, count), attributesFor(kind)));
            } else if (kind % 3 == 1) {
                text.addAttributes(attributesFor(kind), from, count);
            } else {
                text.append(StyledText::hyperlinkFromString(letters.mid(from, count), letters.left(count)));
            }
        } catch (const PlatformException&) {
            fuzz::require(text.length() == length); // a range outside the text changes nothing
        }
    }
    return text;
}

void walk(HyperlinkTextField& field, const QString& whole) {
    for (const HyperlinkInfo& link : field.links()) {
        fuzz::require(link.range.location >= 0 && link.range.location + link.range.length <= whole.size());
    }
    const TextView view = field.textView();
    for (const QRectF& place : view.rectsForRange({0, whole.size()})) {
        const auto index = view.characterIndexAt(place.center());
        fuzz::require(!index || (*index >= 0 && *index < whole.size()));
    }
    field.resetCursorRects();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    new QApplication(gArgumentCount, gArguments); // for as long as the process
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QByteArray letters = fuzz::bytesOf(data, std::min<std::size_t>(size, 400));
    const QByteArray orders = fuzz::takePart(letters);
    const StyledText text = textOf(orders, QString::fromUtf8(letters));
    for (const StyledText::Run& run : text.runs()) {
        fuzz::require(!run.text.isEmpty());
    }
    HyperlinkTextField field;
    field.resize(200, 100);
    field.setText(text);
    walk(field, text.string());
    return 0;
}
