#include "install/InstallerOutput.h"
#include "install/MountOutput.h"
#include "platform/base/NumberText.h"
#include "platform/base/PlatformException.h"
#include "platform/base/TextDecoding.h"
#include "tests/fuzz/FuzzInput.h"

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// What programs print that the run depends on: the table of the disk-image tool and the installer's progress.

namespace {

// Raising is one of the two right answers.
template <typename Action>
void allowException(const Action& action) {
    try {
        action();
    } catch (const PlatformException&) {
        return;
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes = fuzz::bytesOf(data, size);
    const QString text = decodeSystemText(bytes);
    allowException([&] {
        const QString behind = MountOutput::textBehindVolumes(text);
        fuzz::require(text.contains(behind));
        fuzz::require(!MountOutput::volumeName(behind).contains(QChar(u'\n')));
    });
    const QStringList entries = text.split(QChar(u'\n'));
    if (const auto application = MountOutput::onlyApplication(entries)) {
        fuzz::require(entries.contains(*application) && application->endsWith(u".app"_s));
    }
    if (const auto chunk = decodeUtf8(bytes)) {
        allowException([&] { static_cast<void>(InstallerOutput::progressOf(*chunk)); });
    }
    fuzz::require(NumberText::doubleValue(text) == NumberText::doubleValue(u" "_s + text));
    return 0;
}
