#include "platform/linux/PartialDownload.h"

#include "platform/Folders.h"

#include <QFile>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <set>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

struct Registry {
    std::mutex mutex;
    std::set<std::string> paths;
    bool closed = false;
};

Registry& registry() {
    // Never destroyed: downloads may still run while the process ends.
    static auto* const instance = new Registry;
    return *instance;
}

} // namespace

std::shared_ptr<PartialDownload> PartialDownload::create() {
    const std::optional<QString> folder = platform::temporaryDirectory();
    if (!folder) {
        return nullptr;
    }
    constexpr int kSuffixLength = 4;
    std::string path = QFile::encodeName(*folder + u"/CFNetworkDownload_XXXXXX.tmp"_s).toStdString();
    Registry& all = registry();
    // Made under the lock, so that removeAll() sees every file that exists.
    const std::lock_guard lock(all.mutex);
    if (all.closed) {
        return nullptr;
    }
    const int descriptor = mkostemps(path.data(), kSuffixLength, O_CLOEXEC);
    if (descriptor < 0) {
        return nullptr;
    }
    all.paths.insert(path);
    return std::make_shared<PartialDownload>(descriptor, std::move(path));
}

void PartialDownload::removeAll() {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    all.closed = true;
    for (const std::string& path : all.paths) {
        unlink(path.c_str());
    }
}

PartialDownload::PartialDownload(int descriptor, std::string path) : descriptor_(descriptor), path_(std::move(path)) {}

PartialDownload::~PartialDownload() {
    close();
    unlink(path_.c_str());
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    all.paths.erase(path_);
}

QString PartialDownload::path() const {
    return QFile::decodeName(QByteArray::fromStdString(path_));
}

bool PartialDownload::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool PartialDownload::close() {
    return ::close(std::exchange(descriptor_, -1)) == 0;
}
