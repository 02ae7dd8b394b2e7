#include "platform/PartialDownload.h"

#include "base/Files.h"
#include "platform/Folders.h"

#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <set>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1StringView kPrefix{"CFNetworkDownload_"};
constexpr QLatin1StringView kSuffix{".tmp"};

bool isAbandoned(const char* path) {
    const base::Descriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    return file && flock(file.get(), LOCK_EX | LOCK_NB) == 0;
}

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
    std::string path = QFile::encodeName(*folder + u'/' + kPrefix + u"XXXXXX"_s + kSuffix).toStdString();
    Registry& all = registry();
    // Made under the lock, so that removeAll() sees every file that exists.
    const std::lock_guard lock(all.mutex);
    if (all.closed) {
        return nullptr;
    }
    base::Descriptor file(mkostemps(path.data(), static_cast<int>(kSuffix.size()), O_CLOEXEC));
    if (!file) {
        return nullptr;
    }
    flock(file.get(), LOCK_EX | LOCK_NB);
    all.paths.insert(path);
    return std::make_shared<PartialDownload>(std::move(file), std::move(path));
}

void PartialDownload::removeAll() {
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    all.closed = true;
    for (const std::string& path : all.paths) {
        unlink(path.c_str());
    }
}

void PartialDownload::removeAbandoned() {
    const std::optional<QString> folder = platform::existingTemporaryDirectory();
    if (!folder) {
        return;
    }
    const QDir files(*folder);
    for (const QString& name : files.entryList({kPrefix + u"??????"_s + kSuffix}, QDir::Files | QDir::Hidden)) {
        const QByteArray path = QFile::encodeName(files.filePath(name));
        if (isAbandoned(path.constData())) {
            unlink(path.constData());
        }
    }
}

PartialDownload::PartialDownload(base::Descriptor file, std::string path)
    : file_(std::move(file)), path_(std::move(path)) {}

PartialDownload::~PartialDownload() {
    unlink(path_.c_str());
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    all.paths.erase(path_);
}

QString PartialDownload::path() const {
    return QFile::decodeName(QByteArray::fromStdString(path_));
}

bool PartialDownload::write(std::string_view bytes) {
    return base::writeAll(file_.get(), bytes);
}

bool PartialDownload::close() {
    return file_.close();
}
