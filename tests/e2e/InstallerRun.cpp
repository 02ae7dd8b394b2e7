#include "tests/e2e/InstallerRun.h"

#include "platform/Folders.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

const QString kIdentifier = u"com.example.e2e"_s;
const QString kDataPath = u"/Data"_s;

void linkBundleFolder(const fs::path& from, const fs::path& to, const char* name) {
    fs::create_directory_symlink(fs::canonical(from / name), to / name);
}

// The bundle of this run: its own executable's path and settings, the built rest.
void makeBundle(const QString& bundle) {
    const fs::path contents = (bundle + u"/Contents"_s).toStdString();
    const fs::path built = BUILT_BUNDLE "/Contents";
    fs::create_directories(contents / "MacOS");
    fs::copy_file(built / "MacOS/QNInstaller", contents / "MacOS/QNInstaller");
    for (const char* folder : {"Resources", "SystemRoot", "PlugIns"}) {
        linkBundleFolder(built, contents, folder);
    }
}

QString text(const std::string& bytes) {
    return QString::fromStdString(bytes);
}

void putScript(const QString& path, const QByteArray& commands) {
    test::writeFile(path, "#!/bin/sh\n" + commands);
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

} // namespace

InstallerRun::InstallerRun() : folder_(test::folder() + u"/run"_s) {
    for (const QString& name : {u"home"_s, u"tmp"_s, u"runtime"_s, u"bin"_s}) {
        QDir().mkpath(folder_ + u'/' + name);
        QFile::setPermissions(folder_ + u'/' + name,
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }
    makeBundle(folder_ + u"/Product.app"_s);
    putProgram(u"xdg-open"_s, "echo \"$1\" >> \"$HOME/opened\"\n");
    putSystemFile(u"/etc/os-release"_s, "VERSION_ID=\"12.5\"\n");
    putSystemFile(u"/proc/cpuinfo"_s, "processor\t: 0\nmodel name\t: Sample CPU @ 2.00GHz\n");
    putSystemFile(u"/sys/class/net/eth0/ifindex"_s, "2\n");
    putSystemFile(u"/sys/class/net/eth0/address"_s, "a4:83:e7:12:34:56\n");
    putSystemFile(u"/sys/class/net/eth0/addr_assign_type"_s, "0\n");
    putSystemFile(u"/proc/net/route"_s, "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\n"
                                        "eth0\t00000000\t0100000A\t0003\t0\t0\t0\t00000000\n");
    putSystemFile(u"/proc/net/ipv6_route"_s, "");
    QVariantMap info = test::infoPlist();
    QVariantMap settings = info.value(u"QNConfig"_s).toMap();
    settings.insert(u"kAPP_NAME"_s, u"Kit"_s);
    settings.insert(u"AnalyticsProductName"_s, u"KitInstaller"_s);
    settings.insert(u"DEV1_URL"_s, address(u"/config.json?a=1&amp;b=2"_s));
    settings.insert(u"kQNApplicationDataPathDev1"_s, kDataPath);
    info.insert(u"QNConfig"_s, settings);
    info.insert(u"QNEnv"_s, u"dev1"_s);
    info.insert(u"CFBundleIdentifier"_s, kIdentifier);
    info.insert(u"CFBundleShortVersionString"_s, u"3.2.1"_s);
    test::writeInfoPlist(info);
    QFile::copy(test::bundle() + u"/Contents/Info.plist"_s, folder_ + u"/Product.app/Contents/Info.plist"_s);
}

InstallerRun::~InstallerRun() {
    if (process_.state() != QProcess::NotRunning) {
        process_.kill();
        process_.waitForFinished();
    }
    // The program leaves the volume of a failed run mounted.
    QProcess tool;
    tool.setProcessEnvironment(environment());
    for (const QString& volume : mountedVolumes()) {
        tool.start(u"" BUILT_BUNDLE "/Contents/SystemRoot/usr/bin/hdiutil"_s, {u"detach"_s, u"/Volumes/"_s + volume});
        tool.waitForFinished();
    }
}

QStringList InstallerRun::mountedVolumes() const {
    return QDir(folder_ + u"/system/Volumes"_s).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
}

void InstallerRun::setInfo(const QString& key, const QVariant& value) {
    test::setInfo(key, value);
    const QString own = folder_ + u"/Product.app/Contents/Info.plist"_s;
    QFile::remove(own);
    QFile::copy(test::bundle() + u"/Contents/Info.plist"_s, own);
}

void InstallerRun::putSystemFile(const QString& plainPath, const QByteArray& contents) const {
    test::writeFile(folder_ + u"/system"_s + plainPath, contents);
}

void InstallerRun::putSystemTool(const QString& plainPath, const QByteArray& commands) const {
    putScript(folder_ + u"/system"_s + plainPath, commands);
}

void InstallerRun::putProgram(const QString& name, const QByteArray& commands) const {
    putScript(folder_ + u"/bin/"_s + name, commands);
}

QString InstallerRun::address(const QString& path) const {
    return text(portal_.address(path.toStdString()));
}

void InstallerRun::expectConfiguration(const QByteArray& document) {
    portal_.expect("GET /config.json?a=1&b=2", loopback::replyWith(document.toStdString(), "application/json"));
}

QByteArray InstallerRun::installDocument(const QString& image, const QByteArray& commandLineArgs) const {
    return "{\"analyticsUrl\": \"" + address(u"/analytics"_s).toUtf8() +
           "\", \"userAction\": [{\"action\": \"update\", \"isActive\": \"0\"}, {\"action\": \"install\", "
           "\"isActive\": \"1\"}], \"software\": [{\"IsActive\": \"1\", \"macUrl\": \"" +
           address(image).toUtf8() + "\", \"appName\": \"Kit Studio\", \"commandLineArgs\": \"" + commandLineArgs +
           "\"}]}";
}

QByteArray InstallerRun::linkDocument(const QByteArray& customParam) const {
    return "{\"analyticsUrl\": \"" + address(u"/analytics"_s).toUtf8() +
           "\", \"userAction\": [{\"action\": \"openLink\", \"isActive\": \"1\", \"actionUrl\": "
           "\"https://www.example.com/get?x=%41\", \"customParam\": \"" +
           customParam + "\"}]}";
}

void InstallerRun::expectAnalytics() {
    portal_.expect("POST /analytics", loopback::replyWith("ok", "text/plain"));
}

QProcessEnvironment InstallerRun::environment() const {
    QProcessEnvironment environment;
    environment.insert(u"HOME"_s, folder_ + u"/home"_s);
    environment.insert(u"TMPDIR"_s, folder_ + u"/tmp"_s);
    environment.insert(u"XDG_RUNTIME_DIR"_s, folder_ + u"/runtime"_s);
    environment.insert(u"QN_SYSTEM_ROOT"_s, folder_ + u"/system"_s);
    environment.insert(u"PATH"_s, folder_ + u"/bin:/usr/bin:/bin"_s);
    environment.insert(u"LANG"_s, u"de_AT.UTF-8"_s);
    environment.insert(u"TZ"_s, u"UTC"_s);
    for (const char* name : {"DISPLAY", "XAUTHORITY", "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        if (qEnvironmentVariableIsSet(name)) {
            environment.insert(QString::fromLatin1(name), qEnvironmentVariable(name));
        }
    }
    for (auto own = environment_.cbegin(); own != environment_.cend(); ++own) {
        environment.insert(own.key(), own.value());
    }
    return environment;
}

QString InstallerRun::executable() const {
    return folder_ + u"/Product.app/Contents/MacOS/QNInstaller"_s;
}

void InstallerRun::start(const QStringList& arguments) {
    process_.setProcessEnvironment(environment());
    process_.setStandardErrorFile(folder_ + u"/console"_s);
    if (tracesOpens_) {
        process_.start(u"strace"_s, QStringList{u"-f"_s, u"-qq"_s, u"-e"_s, u"trace=openat"_s, u"-I"_s, u"2"_s, u"-o"_s,
                                                folder_ + u"/opens"_s, executable()} +
                                        arguments);
    } else {
        process_.start(executable(), arguments);
    }
    ASSERT_TRUE(process_.waitForStarted()) << process_.errorString().toStdString();
}

void InstallerRun::closeStandardStreams() {
    process_.setChildProcessModifier([] {
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            ::close(descriptor);
        }
    });
}

void InstallerRun::blockSignals() {
    process_.setChildProcessModifier([] {
        sigset_t all;
        ::sigfillset(&all);
        ::sigprocmask(SIG_BLOCK, &all, nullptr);
        ::signal(SIGCHLD, SIG_IGN);
    });
}

void InstallerRun::sendStreamsTo(const char* path) {
    process_.setChildProcessModifier([path] {
        const int file = ::open(path, O_WRONLY);
        ::dup2(file, STDOUT_FILENO);
        ::dup2(file, STDERR_FILENO);
        ::close(file);
    });
}

void InstallerRun::limit(int resource, rlim_t most) {
    process_.setChildProcessModifier([resource, most] {
        const rlimit limit{most, most};
        ::setrlimit(static_cast<__rlimit_resource_t>(resource), &limit);
    });
}

void InstallerRun::limitThreads(rlim_t most) {
    constexpr uid_t kFirst = 60'000;
    const bool isRoot = ::geteuid() == 0;
    const uid_t user = isRoot ? kFirst + static_cast<uid_t>(::getpid()) % 5'000 : ::geteuid();
    if (isRoot) {
        QProcess owner;
        owner.start(u"chown"_s, {u"-R"_s, QString::number(user), test::folder()});
        ASSERT_TRUE(owner.waitForFinished());
    }
    process_.setChildProcessModifier([user, most, isRoot] {
        const rlimit limit{most, most};
        if (!isRoot || (::setgroups(0, nullptr) == 0 && ::setresuid(user, user, user) == 0)) {
            ::setrlimit(RLIMIT_NPROC, &limit);
        }
    });
}

void InstallerRun::emptyFile(const QString& path) {
    process_.setChildProcessModifier([file = QFile::encodeName(path)] {
        if (::unshare(CLONE_NEWNS) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) {
            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
            ::mount("/dev/null", file.constData(), nullptr, MS_BIND, nullptr);
        }
    });
}

void InstallerRun::discard() {
    process_.kill();
    process_.waitForFinished();
    QDir(folder_).removeRecursively();
}

int InstallerRun::startAnother(const QStringList& arguments) {
    QProcess another;
    another.setProcessEnvironment(environment());
    another.start(executable(), arguments);
    const bool ended = another.waitForFinished();
    anotherConsole_ = QString::fromUtf8(another.readAllStandardError());
    return ended && another.exitStatus() == QProcess::NormalExit ? another.exitCode() : -1;
}

QString InstallerRun::ownResources() const {
    const fs::path resources = (folder_ + u"/Product.app/Contents/Resources"_s).toStdString();
    if (fs::is_symlink(resources)) {
        const fs::path built = fs::canonical(resources);
        fs::remove(resources);
        fs::copy(built, resources, fs::copy_options::recursive);
    }
    return QString::fromStdString(resources.string());
}

QString InstallerRun::temporaryFolder() const {
    return folder_ + u"/tmp/"_s + kIdentifier + u'-' + QString::number(::getuid());
}

QString InstallerRun::logPath() const {
    return folder_ + u"/home"_s + kDataPath + u"/Logs/install.log"_s;
}

bool InstallerRun::waitForMessage(const QString& message) {
    const QByteArray part = "\"message\":\" " + message.toUtf8() + "\", ";
    return test::waitFor([&] { return test::readFile(logPath()).contains(part); });
}

void InstallerRun::askToEnd() {
    sendSignal(SIGTERM);
}

void InstallerRun::sendSignal(int signal) {
    const auto process = static_cast<pid_t>(process_.processId());
    ASSERT_GT(process, 0) << "the program has ended already"; // 0 would be this process and all beside it
    ::kill(process, signal);
}

bool InstallerRun::waitForEnd(std::chrono::milliseconds limit) {
    // Waiting for one that has ended meanwhile counts as a failure.
    return process_.state() == QProcess::NotRunning || process_.waitForFinished(static_cast<int>(limit.count()));
}

QStringList InstallerRun::openedAddresses(int count) const {
    const QString file = folder_ + u"/home/opened"_s;
    const auto opened = [&file] {
        return QFile::exists(file) ? QString::fromUtf8(test::readFile(file)).split(u'\n', Qt::SkipEmptyParts)
                                   : QStringList();
    };
    test::waitFor([&] { return opened().size() >= count; });
    return opened();
}

int InstallerRun::exitStatus() const {
    return process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1;
}

QString InstallerRun::masked(QString text) const {
    const std::pair<const char*, const char*> patterns[] = {
        {R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(Z|[+-]\d\d:\d\d))", "TIME"},
        {R"([0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-8[0-9a-f]{3}-[0-9a-f]{12})", "CI"},
        {R"("line": "\d+")", "\"line\": \"LINE\""},
        {R"(CFNetworkDownload_[0-9A-Za-z]{6}\.tmp)", "CFNetworkDownload_NAME.tmp"},
        {R"((Took|took:) \d+\.\d{6} seconds)", "\\1 SECONDS seconds"},
        {R"re("T":[-+.0-9e]+)re", "\"T\":SECONDS"},
        {R"(Content-Length: \d+)", "Content-Length: LENGTH"},
    };
    // The event log masks the login name wherever it stands, in the folder's name too.
    const QString loginName = platform::userName();
    text.replace(QString(folder_).replace(loginName, u"****"_s), u"FOLDER"_s);
    text.replace(folder_, u"FOLDER"_s);
    for (const auto& [own, mask] : masks_) {
        text.replace(own, mask);
    }
    text.replace(u"127.0.0.1:"_s + QString::number(portal_.port()), u"PORTAL"_s);
    text.replace(u"-%1/"_s.arg(::getuid()), u"-UID/"_s);
    for (const auto& [pattern, mask] : patterns) {
        text.replace(QRegularExpression(QString::fromLatin1(pattern)), QString::fromLatin1(mask));
    }
    return text;
}

QString InstallerRun::console() const {
    return QString::fromUtf8(test::readFile(folder_ + u"/console"_s));
}

QString InstallerRun::consoleAccount() const {
    static const QRegularExpression prefix(
        u"^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} QNInstaller\\[\\d+\\] "_s,
        QRegularExpression::MultilineOption);
    return console().replace(prefix, u"| "_s);
}

QString InstallerRun::requestsAccount() const {
    QString account;
    for (const loopback::Request& request : requestsOf_ ? requestsOf_() : portal_.requests()) {
        account += text(request.head).replace(u"\r\n"_s, u"\n"_s) +
                   text(request.body).replace(u"\r\n"_s, u"<CR LF>\n"_s) + (request.body.empty() ? u""_s : u"\n"_s);
    }
    return account;
}

QString InstallerRun::account() const {
    const QString log = QString::fromUtf8(test::readFile(logPath())).replace(u"\r\n"_s, u"<CR LF>\n"_s);
    const QString opened = QString::fromUtf8(test::readFile(folder_ + u"/home/opened"_s));
    const QString installer = QString::fromUtf8(test::readFile(folder_ + u"/home/installer-arguments"_s));
    const QString status =
        process_.exitStatus() == QProcess::NormalExit ? QString::number(process_.exitCode()) : u"signal"_s;
    const QStringList volumes = mountedVolumes();
    return masked(u"--- event log\n"_s + log + u"--- console\n"_s + consoleAccount() + u"--- requests\n"_s +
                  requestsAccount() + u"--- opened\n"_s + opened + u"--- installer\n"_s + installer +
                  u"--- mounted at the end\n"_s + volumes.join(u'\n') + (volumes.isEmpty() ? u""_s : u"\n"_s) +
                  u"--- exit status\n"_s + status + u'\n');
}

QStringList InstallerRun::leftovers() const {
    QStringList left;
    for (const QString& below : {u"home"_s, u"tmp"_s, u"runtime"_s, u"system/Volumes"_s}) {
        QDirIterator files(folder_ + u'/' + below,
                           QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString file = files.next().mid(folder_.size() + 1);
            const bool isFolder = files.fileInfo().isDir() && !files.fileInfo().isSymLink();
            const bool isNote = file == u"home/opened"_s || file == u"home/installer-arguments"_s;
            if (!isFolder && !isNote && !logPath().endsWith(file)) {
                left += file;
            }
        }
    }
    const QByteArray home = "HOME=" + QFile::encodeName(folder_) + "/home";
    for (const QString& process : QDir(u"/proc"_s).entryList({u"[0-9]*"_s}, QDir::Dirs)) {
        if (test::readFile(u"/proc/"_s + process + u"/environ"_s).split('\0').contains(home)) {
            left += u"process "_s + QString::fromUtf8(test::readFile(u"/proc/"_s + process + u"/comm"_s)).trimmed();
        }
    }
    left.sort();
    return masked(left.join(u'\n')).split(u'\n');
}

QByteArray diskImage(const QString& volumeName, const QMap<QString, QByteArray>& files) {
    const QString source = test::folder() + u"/image-source"_s;
    QDir(source).removeRecursively();
    QDir().mkpath(source);
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        const QString path = source + u'/' + file.key();
        test::writeFile(path, file.value());
        fs::permissions(path.toStdString(), fs::perms(file.key().contains(u"/MacOS/"_s) ? 0755 : 0644));
    }
    const QString image = test::folder() + u"/image.dmg"_s;
    QFile::remove(image);
    QProcess writer;
    QProcessEnvironment surroundings = QProcessEnvironment::systemEnvironment();
    surroundings.insert(u"LC_ALL"_s, u"C.UTF-8"_s); // the encoding that it takes names in
    writer.setProcessEnvironment(surroundings);
    writer.start(u"xorriso"_s,
                 {u"-as"_s, u"mkisofs"_s, u"-quiet"_s, u"-hfsplus"_s, u"-V"_s, volumeName, u"-o"_s, image, source});
    if (!writer.waitForFinished() || writer.exitCode() != 0) {
        ADD_FAILURE() << "the image was not made: " << writer.readAllStandardError().toStdString();
    }
    return test::readFile(image);
}

// With an identifier of its own: the installer of a run beside this one is no second copy of it.
QMap<QString, QByteArray> sampleInstaller(const QString& name, int status) {
    const QString contents = name + u".app/Contents/"_s;
    return {
        {contents + u"Info.plist"_s, "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleIdentifier</key>"
                                     "<string>com.example.setup" +
                                         QByteArray::number(::getpid()) +
                                         "</string><key>CFBundleExecutable</key>"
                                         "<string>Setup</string></dict></plist>\n"},
        {contents + u"MacOS/Setup"_s,
         "#!/bin/sh\necho 'PROGRESS: 45/100'\nfor argument; do echo \"argument: $argument\"; done > "
         "\"$HOME/installer-arguments\"\necho 'PROGRESS: 100/100'\nexit " +
             QByteArray::number(status) + "\n"}};
}

void expectAccount(const QString& account, const QString& name) {
    const QString expectedPath = u"" EXPECTED_FOLDER "/"_s + name + u".txt"_s;
    if (test::readFile(expectedPath) == account.toUtf8()) {
        return;
    }
    const QString actualPath = u"" ACTUAL_FOLDER "/"_s + name + u".txt"_s;
    test::writeFile(actualPath, account.toUtf8());
    QProcess diff;
    diff.start(u"diff"_s, {u"-u"_s, expectedPath, actualPath});
    diff.waitForFinished();
    ADD_FAILURE() << "what happened is not what is written in expected/" << name.toStdString() << ".txt:\n"
                  << diff.readAllStandardOutput().toStdString() << diff.readAllStandardError().toStdString();
}
