#include "platform/Folders.h"

#include "platform/Bundle.h"
#include "platform/Console.h"
#include "platform/base/PathText.h"
#include "platform/linux/PrivateFolder.h"

#include <QByteArray>

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

struct Account {
    QString name;
    QString home;
};

std::optional<Account> accountOfThisUser() {
    constexpr std::size_t kLargest = 1048576;
    for (std::vector<char> buffer(4096); buffer.size() <= kLargest; buffer.resize(buffer.size() * 2)) {
        passwd entry{};
        passwd* found = nullptr;
        const int error = ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found);
        if (error == ERANGE) {
            continue;
        }
        if (error != 0 || found == nullptr) {
            return std::nullopt;
        }
        return Account{QString::fromLocal8Bit(found->pw_name), PathText::fromKernel(found->pw_dir)};
    }
    return std::nullopt;
}

QString folderForTemporaryFiles() {
    QString folder = qEnvironmentVariable("TMPDIR");
    while (folder.size() > 1 && folder.endsWith(u'/')) {
        folder.chop(1);
    }
    return folder.isEmpty() ? u"/tmp"_s : folder;
}

QString pathOfTemporaryDirectory() {
    QString name = Bundle::mainBundle().bundleIdentifier().value_or(u"QNInstaller"_s);
    name.replace(u'/', u'_'); // the identifier is one name, never a way to another folder
    return u"%1/%2-%3"_s.arg(folderForTemporaryFiles(), name, QString::number(::getuid()));
}

} // namespace

QString homeDirectory() {
    QString home = PathText::fromKernel(qgetenv("HOME"));
    if (home.startsWith(u'/')) {
        return home;
    }
    const auto account = accountOfThisUser();
    return account ? account->home : QString();
}

QString userName() {
    const auto account = accountOfThisUser();
    return account && !account->name.isEmpty() ? account->name : qEnvironmentVariable("USER");
}

std::optional<QString> temporaryDirectory() {
    const QString folder = pathOfTemporaryDirectory();
    if (!ensurePrivateFolder(folder)) {
        consoleLog(u"The temporary folder %1 cannot be used: it must be a folder of this user with mode "
                   "0700."_s.arg(folder));
        return std::nullopt;
    }
    return folder;
}

std::optional<QString> existingTemporaryDirectory() {
    const QString folder = pathOfTemporaryDirectory();
    return isPrivateFolder(folder) ? std::optional(folder) : std::nullopt;
}

} // namespace platform
