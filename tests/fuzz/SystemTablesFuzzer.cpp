#include "base/MountInfo.h"
#include "base/ProcessStat.h"
#include "platform/linux/MachineFacts.h"
#include "platform/linux/ProcessTable.h"
#include "platform/linux/RouteTable.h"
#include "sysinfo/ProbeOutput.h"
#include "tests/fuzz/FuzzInput.h"
#include "tools/standins/Processor.h"

#include <string>
#include <string_view>

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// What the kernel's files and the probing tools say. The first byte chooses the reader.

namespace {

void readRoutes(const QByteArray& bytes) {
    for (const auto& interfaces :
         {platform::defaultInterfacesOfIpv4(bytes), platform::defaultInterfacesOfIpv6(bytes)}) {
        fuzz::require(!interfaces.contains(u"lo"_s));
    }
}

void readMounts(std::string_view text) {
    for (const base::MountEntry& entry : base::parseMountInfo(text)) {
        fuzz::require(entry.path.starts_with('/'));
    }
    fuzz::require(base::withoutOctalEscapes(text).size() <= text.size());
}

void readProcesses(std::string_view text, const QByteArray& bytes) {
    static_cast<void>(base::startTimeOf(text));
    static_cast<void>(base::parentOf(text));
    static_cast<void>(platform::firstArgumentOf(bytes));
    static_cast<void>(platform::bundleHolding(QString::fromUtf8(bytes)));
}

void readProbes(const QByteArray& bytes) {
    const QString text = QString::fromUtf8(bytes);
    if (const auto address = ProbeOutput::firstHardwareAddress(text)) {
        fuzz::require(address->size() == 17 && text.contains(*address));
    }
    static_cast<void>(ProbeOutput::processorName(text));
}

void readMachine(const QByteArray& bytes) {
    if (const auto version = platform::versionIdOf(bytes)) {
        fuzz::require(!version->isEmpty());
        static_cast<void>(platform::versionNumbers(*version));
    }
    static_cast<void>(platform::architectureDescription(QString::fromUtf8(bytes)));
    static_cast<void>(standins::processorNameIn(bytes.toStdString()));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const QByteArray bytes = fuzz::bytesOf(data + 1, size - 1);
    const std::string_view text(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    switch (*data % 5) {
    case 0:
        readRoutes(bytes);
        break;
    case 1:
        readMounts(text);
        break;
    case 2:
        readProcesses(text, bytes);
        break;
    case 3:
        readProbes(bytes);
        break;
    default:
        readMachine(bytes);
    }
    return 0;
}
