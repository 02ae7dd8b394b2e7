#include "base/Descriptor.h"
#include "tools/launcher/Archive.h"
#include "tools/launcher/Folders.h"
#include "tools/launcher/Payload.h"
#include "tools/launcher/Problem.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

// What users download is one file: this program with the bundle packed behind it. It unpacks the bundle once, to a
// folder that nobody else can write to, and becomes the bundle's program. At the next start the bundle is there
// already.

namespace {

using launcher::Payload;
using launcher::PrivateFolder;
using launcher::Problem;

constexpr const char* kProgram = "QNInstaller.app/Contents/MacOS/QNInstaller";
constexpr const char* kUnfinished = "unfinished";

std::string inFolder(const PrivateFolder& folder, const std::string& name) {
    return folder.path + "/" + name;
}

// Whether some process of this user was started from below this folder.
bool isInUse(const std::string& path) {
    std::error_code ignored;
    for (const auto& process : std::filesystem::directory_iterator("/proc", ignored)) {
        const std::filesystem::path program = std::filesystem::read_symlink(process.path() / "exe", ignored);
        if (program.string().starts_with(path + "/")) {
            return true;
        }
    }
    return false;
}

// Bundles of other versions, and what an interrupted start left.
void removeOthers(const PrivateFolder& folder, const std::string& current) {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path, ignored)) {
        const std::string name = entry.path().filename();
        if (name != current && !isInUse(inFolder(folder, name))) {
            launcher::removeFolder(folder.descriptor.get(), name);
        }
    }
}

// The bundle gets its name when it is complete. Starts at the same time take turns.
void unpackInto(const PrivateFolder& folder, int self, const Payload& payload) {
    const std::string archive = launcher::unpack(self, payload);
    removeOthers(folder, payload.digest);
    const bool isMade = ::mkdirat(folder.descriptor.get(), kUnfinished, 0700) == 0;
    const base::Descriptor target(
        isMade ? ::openat(folder.descriptor.get(), kUnfinished, O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1);
    if (!target) {
        throw Problem("Cannot make a folder in " + folder.path + ": " + std::strerror(errno));
    }
    try {
        launcher::writeArchive(archive, target.get());
    } catch (const Problem&) {
        launcher::removeFolder(folder.descriptor.get(), kUnfinished);
        throw;
    }
    if (::renameat(folder.descriptor.get(), kUnfinished, folder.descriptor.get(), payload.digest.c_str()) != 0) {
        throw Problem("Cannot unpack to " + folder.path + ": " + std::strerror(errno));
    }
}

std::string programOf(int self) {
    const Payload payload = launcher::findPayload(self);
    const PrivateFolder folder = launcher::findPrivateFolder(payload.identifier);
    std::string program = inFolder(folder, payload.digest + "/" + kProgram);
    const auto isThere = [&program] { return ::access(program.c_str(), X_OK) == 0; };
    if (!isThere()) {
        static_cast<void>(::flock(folder.descriptor.get(), LOCK_EX)); // until the descriptor is closed
        if (!isThere()) {
            unpackInto(folder, self, payload);
        }
    }
    return program;
}

} // namespace

int main(int, char** argv) {
    try {
        const base::Descriptor self(::open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
        const std::string program = programOf(self.get());
        ::execv(program.c_str(), argv);
        throw Problem("Cannot start " + program + ": " + std::strerror(errno));
    } catch (const std::exception& problem) {
        static_cast<void>(
            std::fprintf(stderr, "%s: %s\n", argv[0] != nullptr ? argv[0] : "QNInstaller", problem.what()));
        return 1;
    }
}
