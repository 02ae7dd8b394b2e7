#include "sysinfo/QNSystemInfo.h"

#include "platform/Machine.h"
#include "platform/Task.h"
#include "platform/base/Slot.h"
#include "sysinfo/ProbeGuard.h"
#include "sysinfo/ProbeOutput.h"
#include "sysinfo/QNTask.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

const auto kProfiler = u"/usr/sbin/system_profiler"_s;
const auto kHardware = u"SPHardwareDataType"_s;
const auto kInterfaceLister = u"/sbin/ifconfig"_s;
const auto kAllInterfaces = u"-a"_s;

struct ProbeSlots {
    Slot<QString> osVersion;
    Slot<QString> screenResolution;
    Slot<QString> cpuName;
    Slot<QString> macAddress;
};

ProbeSlots& probeSlots() {
    static ProbeSlots all;
    return all;
}

QString printed(const QString& tool, const QString& argument) {
    return QNTask::runTaskWithPath(tool, {argument}).value_or(QString());
}

// What the slot keeps; when it is empty, what the probe finds, which is kept from then on.
template <typename Probe>
std::optional<QString> keptOrFound(Slot<QString>& slot, const char* failureText, const char* function,
                                   const Probe& probe, const char* file = __builtin_FILE(),
                                   int line = __builtin_LINE()) {
    if (auto kept = slot.value()) {
        return kept;
    }
    const auto fill = [&] {
        if (const std::optional<QString> found = probe()) {
            slot.store(*found);
        }
    };
    guardingProbe(failureText, function, fill, file, line);
    return slot.value();
}

} // namespace

void QNSystemInfo::askToolsAhead() {
    Task::launchAhead(kInterfaceLister, {kAllInterfaces});
    Task::launchAhead(kProfiler, {kHardware});
}

QString QNSystemInfo::getOSVersion() {
    auto& slot = probeSlots().osVersion;
    if (const auto kept = slot.value()) {
        return *kept;
    }
    QString version = u"(MacOS)Unknown"_s;
    guardingProbe("OS Version error: %@", "+[QNSystemInfo getOSVersion]",
                  [&] { version = ProbeOutput::versionText(platform::operatingSystemVersion()); });
    slot.store(version);
    return version;
}

std::optional<QString> QNSystemInfo::getScreenResolution() {
    return keptOrFound(probeSlots().screenResolution, "NSScreen Error: %@", "+[QNSystemInfo getScreenResolution]",
                       [] { return ProbeOutput::sizeText(platform::mainScreenSize()); });
}

std::optional<QString> QNSystemInfo::getCPUName() {
    return keptOrFound(probeSlots().cpuName, "CPU error: %@", "+[QNSystemInfo getCPUName]",
                       [] { return ProbeOutput::processorName(printed(kProfiler, kHardware)); });
}

QString QNSystemInfo::getCPUType() {
    return platform::localArchitectureDescription().value_or(u"NA"_s);
}

std::optional<QString> QNSystemInfo::getMacAddress() {
    return keptOrFound(probeSlots().macAddress, "MAC Address error: %@", "+[QNSystemInfo getMacAddress]",
                       [] { return ProbeOutput::firstHardwareAddress(printed(kInterfaceLister, kAllInterfaces)); });
}

QString QNSystemInfo::getFirstPathOf(const QString& text) {
    const qsizetype dash = text.indexOf(QLatin1Char('-'));
    return dash > 0 ? text.left(dash) : text;
}
