#include "platform/base/PlatformException.h"
#include "tests/fuzz/FuzzInput.h"
#include "ui/HyperlinkTextField.h"
#include "ui/InterfaceReader.h"
#include "ui/QNButton.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QApplication>

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Interface files.

namespace {

int gArgumentCount = 1;
char gName[] = "fuzzer";
char* gArguments[] = {gName, nullptr};

template <typename Class>
QWidget* make(QWidget* parent) {
    return new Class(parent);
}

const InterfaceReader::Classes& classes() {
    static const InterfaceReader::Classes kKnown{
        {u"HyperlinkTextField"_s, make<HyperlinkTextField>},
        {u"QNButton"_s, make<QNButton>},
        {u"QWidget"_s, make<QWidget>},
        {u"View"_s, make<View>},
        {u"Window"_s, make<Window>},
    };
    return kKnown;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    new QApplication(gArgumentCount, gArguments); // for as long as the process
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const auto root = InterfaceReader(fuzz::bytesOf(data, size), classes()).read();
        fuzz::require(root != nullptr);
    } catch (const PlatformException& exception) {
        fuzz::require(exception.reason().startsWith(u"line "_s));
    }
    return 0;
}
