#include "platform/UrlSession.h"
#include "platform/base/MainQueue.h"
#include "tests/support/LoopbackProcess.h"
#include "tests/support/PrivateBundle.h"
#include "tests/support/TestCertificate.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

// How long a download of one gibibyte to a file takes, against the curl command, from the same loopback server, over
// plain HTTP and over TLS. The runs of the two take turns, so that what else the machine does hits both.

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double ownDownload(const std::string& address) {
    double seconds = 0;
    bool complete = false;
    UrlSession::DownloadCallbacks callbacks;
    const auto start = Clock::now();
    // Deleting the file comes after this and is not measured.
    callbacks.didFinishDownloading = [&](const UrlResponse&, const QString&) { seconds = secondsSince(start); };
    callbacks.didComplete = [&](const std::optional<TransportError>& error) {
        complete = true;
        if (error)
            std::fprintf(stderr, "%s\n", qUtf8Printable(error->text()));
    };
    UrlSession::downloadTask(Address::parse(QString::fromStdString(address)), callbacks);
    test::waitFor([&] { return complete; }, std::chrono::minutes(10));
    return seconds;
}

double curlDownload(const std::string& address) {
    const std::string file = (test::folder() + QStringLiteral("/tmp/curl.out")).toStdString();
    std::vector<std::string> arguments{"curl", "-sS", "-o", file, address};
    std::vector<char*> pointers;
    for (auto& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    const auto start = Clock::now();
    pid_t child = 0;
    int status = -1;
    if (posix_spawnp(&child, "curl", nullptr, nullptr, pointers.data(), environ) == 0)
        waitpid(child, &status, 0);
    const double seconds = secondsSince(start);
    unlink(file.c_str());
    if (status != 0)
        std::fprintf(stderr, "curl ended with status %d\n", status);
    return seconds;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void compare(const char* name, const std::string& address, int rounds) {
    std::vector<double> own;
    std::vector<double> curl;
    for (int round = 0; round < rounds; ++round) {
        own.push_back(ownDownload(address));
        curl.push_back(curlDownload(address));
    }
    std::printf("%-12s ours %.3f s, curl %.3f s, ratio %.2f (medians of %d)\n", name, median(own), median(curl),
                median(own) / median(curl), rounds);
}

} // namespace

int main(int argc, char** argv) {
    if (const std::optional<int> status = runInPrivateBundle(argc, argv))
        return *status;
    constexpr int kUsualRounds = 7;
    const int rounds = argc > 1 ? std::max(1, static_cast<int>(std::strtol(argv[1], nullptr, 10))) : kUsualRounds;
    const loopback::Reply reply{.generated = std::uint64_t{1024} * 1024 * 1024};
    const auto identity = loopback::makeSelfSignedIdentity();
    const loopback::LoopbackProcess plain(reply);
    const loopback::LoopbackProcess secure(reply, identity);
    const QString trusted = test::folder() + QStringLiteral("/trusted.pem");
    test::writeFile(trusted, QByteArray::fromStdString(identity.certificate));
    test::setEnvironment("SSL_CERT_FILE", trusted.toUtf8()); // the curl command honours it, too

    const QCoreApplication application(argc, argv);
    MainQueue::attachToMainThread();
    compare("plain HTTP", plain.address(), rounds);
    compare("TLS", secure.address(), rounds);
    return 0;
}
