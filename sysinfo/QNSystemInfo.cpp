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
    auto& slot = probeSlots().screenResolution;
    if (auto kept = slot.value()) {
        return kept;
    }
    guardingProbe("NSScreen Error: %@", "+[QNSystemInfo getScreenResolution]",
                  [&] { slot.store(ProbeOutput::sizeText(platform::mainScreenSize())); });
    return slot.value();
}

std::optional<QString> QNSystemInfo::getCPUName() {
    auto& slot = probeSlots().cpuName;
    if (auto kept = slot.value()) {
        return kept;
    }
    guardingProbe("CPU error: %@", "+[QNSystemInfo getCPUName]", [&] {
        const auto profile = QNTask::runTaskWithPath(kProfiler, {kHardware});
        if (const auto name = ProbeOutput::processorName(profile.value_or(QString()))) {
            slot.store(*name);
        }
    });
    return slot.value();
}

QString QNSystemInfo::getCPUType() {
    return platform::localArchitectureDescription().value_or(u"NA"_s);
}

std::optional<QString> QNSystemInfo::getMacAddress() {
    auto& slot = probeSlots().macAddress;
    if (auto kept = slot.value()) {
        return kept;
    }
    guardingProbe("MAC Address error: %@", "+[QNSystemInfo getMacAddress]", [&] {
        const auto interfaces = QNTask::runTaskWithPath(kInterfaceLister, {kAllInterfaces});
        if (const auto address = ProbeOutput::firstHardwareAddress(interfaces.value_or(QString()))) {
            slot.store(*address);
        }
    });
    return slot.value();
}

QString QNSystemInfo::getFirstPathOf(const QString& text) {
    const qsizetype dash = text.indexOf(QLatin1Char('-'));
    return dash > 0 ? text.left(dash) : text;
}
