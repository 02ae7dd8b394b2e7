#include "platform/linux/ProcessTable.h"

#include "base/ProcessStat.h"
#include "platform/Bundle.h"
#include "platform/linux/SystemFile.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <thread>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLongestWaitForCommandLines(100);

struct Found {
    std::uint64_t startTime;
    pid_t process;
    pid_t parent;
};

QString linkTarget(const QString& link) {
    std::array<char, PATH_MAX> buffer{};
    const ssize_t length = ::readlink(QFile::encodeName(link).constData(), buffer.data(), buffer.size());
    return length > 0 ? QFile::decodeName(QByteArray(buffer.data(), length)) : QString();
}

bool belongsToThisUser(const QString& folder) {
    struct stat status {};
    return ::stat(QFile::encodeName(folder).constData(), &status) == 0 && status.st_uid == ::getuid();
}

// A program has its executable, and whoever started it goes on, a moment before the kernel has its command line. Waits
// for that; some programs never have one.
QByteArray commandLineOf(const QString& folder, Clock::time_point deadline) {
    for (;;) {
        QByteArray line = readFileAt(folder + u"/cmdline"_s).value_or(QByteArray());
        if (!line.isEmpty() || Clock::now() >= deadline) {
            return line;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
}

// The executable's bundle, or for a script that of its first argument.
std::optional<QString> bundleOfProcess(const QString& folder, Clock::time_point deadline) {
    const QString executable = linkTarget(folder + u"/exe"_s);
    if (executable.isEmpty()) { // a thread of the kernel, or one that has ended
        return std::nullopt;
    }
    if (auto bundle = bundleHolding(executable)) {
        return bundle;
    }
    QString script = QFile::decodeName(firstArgumentOf(commandLineOf(folder, deadline)));
    if (!script.isEmpty() && !script.startsWith(u'/')) {
        script = QDir::cleanPath(linkTarget(folder + u"/cwd"_s) + u'/' + script);
    }
    return bundleHolding(script);
}

bool hasIdentifier(const QString& bundlePath, const QString& identifier) {
    const auto bundle = Bundle::bundleWithPath(bundlePath);
    return bundle && bundle->bundleIdentifier() == identifier;
}

} // namespace

QByteArray firstArgumentOf(const QByteArray& commandLine) {
    const QByteArrayList arguments = commandLine.split('\0');
    for (qsizetype index = 1; index < arguments.size(); ++index) {
        if (!arguments[index].startsWith('-')) {
            return arguments[index];
        }
    }
    return {};
}

std::optional<QString> bundleHolding(const QString& executable) {
    const QString folder = executable.section(u'/', 0, -2);
    const QString inBundle = u"/Contents/MacOS"_s;
    return folder.size() > inBundle.size() && folder.endsWith(inBundle) ? std::optional(folder.chopped(inBundle.size()))
                                                                        : std::nullopt;
}

std::vector<pid_t> processesWithBundleIdentifier(const QString& identifier) {
    std::vector<Found> found;
    const auto deadline = Clock::now() + kLongestWaitForCommandLines;
    const QDir table(u"/proc"_s);
    for (const QString& name : table.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool isNumber = false;
        const pid_t process = name.toInt(&isNumber);
        const QString folder = table.filePath(name);
        if (!isNumber || !belongsToThisUser(folder)) {
            continue;
        }
        const auto bundle = bundleOfProcess(folder, deadline);
        if (!bundle || !hasIdentifier(*bundle, identifier)) {
            continue;
        }
        const std::string stat = readFileAt(folder + u"/stat"_s).value_or(QByteArray()).toStdString();
        const auto parent = base::parentOf(stat);
        const auto startTime = base::startTimeOf(stat);
        if (parent && startTime) {
            found.push_back({*startTime, process, *parent});
        }
    }
    std::sort(found.begin(), found.end(), [](const Found& one, const Found& other) {
        return one.startTime != other.startTime ? one.startTime > other.startTime : one.process > other.process;
    });
    std::vector<pid_t> processes;
    processes.reserve(found.size());
    for (const Found& entry : found) {
        const bool isChild = std::any_of(found.begin(), found.end(),
                                         [&entry](const Found& other) { return other.process == entry.parent; });
        if (!isChild) {
            processes.push_back(entry.process);
        }
    }
    return processes;
}

} // namespace platform
