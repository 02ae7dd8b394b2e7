#include "platform/UrlSession.h"
#include "platform/base/MainQueue.h"
#include "tests/support/LoopbackProcess.h"
#include "tests/support/PrivateBundle.h"
#include "tests/support/TestEnvironment.h"
#include "tools/loopback/Certificate.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

using namespace Qt::StringLiterals;

// How long a download of one gibibyte to a file takes, against the curl command, from the same loopback server, over
// plain HTTP and over TLS. The runs of the two take turns, so that what else the machine does hits both.

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// What one download took.
struct Cost {
    double wall = 0;      // seconds
    double processor = 0; // seconds of processor time, in user and kernel mode
};

double processorSeconds(const rusage& usage) {
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double ownProcessorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return processorSeconds(usage);
}

Cost ownDownload(const std::string& address) {
    Cost cost;
    QEventLoop loop;
    const double before = ownProcessorSeconds();
    UrlSession::DownloadCallbacks callbacks;
    const auto start = Clock::now();
    // Deleting the file comes after this and is not measured.
    callbacks.didFinishDownloading = [&](const UrlResponse&, const QString&) {
        cost = {secondsSince(start), ownProcessorSeconds() - before};
    };
    callbacks.didComplete = [&](const std::optional<TransportError>& error) {
        loop.quit();
        if (error) {
            std::fprintf(stderr, "%s\n", qUtf8Printable(error->text()));
        }
    };
    UrlSession::downloadTask(Address::parse(QString::fromStdString(address)), callbacks);
    loop.exec();
    return cost;
}

Cost curlDownload(const std::string& address, const std::string& trusted) {
    const std::string file = (test::folder() + u"/tmp/curl.out"_s).toStdString();
    std::vector<std::string> arguments{"curl", "-sS", "--cacert", trusted, "-o", file, address};
    std::vector<char*> pointers;
    for (auto& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    const auto start = Clock::now();
    pid_t child = 0;
    int status = -1;
    rusage usage{};
    if (posix_spawnp(&child, "curl", nullptr, nullptr, pointers.data(), environ) == 0) {
        wait4(child, &status, 0, &usage);
    }
    const Cost cost{secondsSince(start), processorSeconds(usage)};
    unlink(file.c_str());
    if (status != 0) {
        std::fprintf(stderr, "curl ended with status %d\n", status);
    }
    return cost;
}

double median(const std::vector<Cost>& costs, double Cost::*field) {
    std::vector<double> values;
    for (const auto& cost : costs) {
        values.push_back(cost.*field);
    }
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void print(const char* name, const char* what, double own, double curl) {
    std::printf("%-10s %-14s ours %.3f s, curl %.3f s, ratio %.2f\n", name, what, own, curl, own / curl);
}

void compare(const char* name, const std::string& address, const std::string& trusted, int rounds) {
    std::vector<Cost> own;
    std::vector<Cost> curl;
    for (int round = 0; round < rounds; ++round) {
        own.push_back(ownDownload(address));
        curl.push_back(curlDownload(address, trusted));
    }
    print(name, "wall clock", median(own, &Cost::wall), median(curl, &Cost::wall));
    print(name, "processor", median(own, &Cost::processor), median(curl, &Cost::processor));
}

} // namespace

int main(int argc, char** argv) {
    if (const std::optional<int> status = runInPrivateBundle(argc, argv)) {
        return *status;
    }
    constexpr int kUsualRounds = 7;
    const int rounds = argc > 1 ? std::max(1, static_cast<int>(std::strtol(argv[1], nullptr, 10))) : kUsualRounds;
    const loopback::Reply reply{.generated = std::uint64_t{1024} * 1024 * 1024};
    const auto identity = loopback::makeSelfSignedIdentity();
    const loopback::LoopbackProcess plain(reply);
    const loopback::LoopbackProcess secure(reply, identity);
    const QString trusted = test::folder() + u"/trusted.pem"_s;
    test::writeFile(trusted, QByteArray::fromStdString(identity.certificate));
    test::setEnvironment("SSL_CERT_FILE", trusted.toUtf8());

    const QCoreApplication application(argc, argv);
    MainQueue::attachToMainThread();
    std::printf("1 GiB, medians of %d\n", rounds);
    compare("plain HTTP", plain.address(), trusted.toStdString(), rounds);
    compare("TLS", secure.address(), trusted.toStdString(), rounds);
    return 0;
}
