#include "tests/fuzz/FuzzInput.h"
#include "ui/HtmlText.h"

#include <QApplication>

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Texts in HTML, as the screens take them.

namespace {

int gArgumentCount = 1;
char gName[] = "fuzzer";
char* gArguments[] = {gName, nullptr};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    new QApplication(gArgumentCount, gArguments); // for as long as the process
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const StyledText text = textOfHtml(QString::fromUtf8(fuzz::bytesOf(data, size)), FontChoice{u"Sans"_s, 14.0});
    for (const StyledText::Run& run : text.runs()) {
        fuzz::require(!run.text.isEmpty());
        fuzz::require(!run.attributes.link || !run.attributes.link->isEmpty());
    }
    return 0;
}
