#include "tests/faults/FaultRun.h"

#include "tests/faults/Expectation.h"
#include "tests/support/TestEnvironment.h"
#include "tools/loopback/Certificate.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

using namespace Qt::StringLiterals;
using faults::Target;

namespace faultsuite {

namespace {

// Beyond the minute that the program itself waits.
constexpr std::chrono::seconds kPatience(100);

faults::ChosenFault faultCalled(const QString& name, std::optional<Target> target) {
    const faults::Scenario* const scenario = faults::scenarioCalled(name.section(u'=', 0, 0).toStdString());
    if (scenario == nullptr) {
        throw std::runtime_error("there is no scenario " + name.toStdString());
    }
    const std::string value = name.section(u'=', 1).toStdString();
    return {scenario, value.empty() ? std::string(scenario->value) : value,
            scenario->spoil == nullptr ? std::nullopt : target};
}

QString authorityOf(const std::string& base) {
    return QString::fromStdString(base.substr(base.find("//") + 2));
}

QString text(const std::string& bytes) {
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

} // namespace

FaultRun::FaultRun(const QString& scenario, std::optional<Target> target)
    : target_(target), installs_(target.value_or(Target::kImage) == Target::kImage) {
    makeImage();
    startServers(faultCalled(scenario, target));
    QVariantMap settings = test::infoPlist().value(u"QNConfig"_s).toMap();
    const std::string address = addressOf(Target::kConfiguration);
    settings.insert(u"DEV1_URL"_s, text(address).toHtmlEscaped());
    run_.setInfo(u"QNConfig"_s, settings);
    run_.setEnvironment(u"DBUS_SESSION_BUS_ADDRESS"_s, reader_.sessionBus());
    run_.setEnvironment(u"LANG"_s, u"en_US.UTF-8"_s);
    run_.takeRequestsFrom([this] {
        const std::lock_guard lock(mutex_);
        return requests_;
    });
}

// With checksums, which an image of another maker would not have.
void FaultRun::makeImage() {
    const QString source = test::folder() + u"/image-source"_s;
    const auto files = sampleInstaller(u"Setup"_s);
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        test::writeFile(source + u'/' + file.key(), file.value());
        QFile::setPermissions(source + u'/' + file.key(), QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    }
    const QString image = test::folder() + u"/Installer.dmg"_s;
    QProcess writer;
    writer.start(u"" BUILT_BUNDLE "/Contents/SystemRoot/usr/bin/hdiutil"_s,
                 {u"create"_s, u"-srcfolder"_s, source, u"-volname"_s, u"Kit Setup"_s, image});
    if (!writer.waitForFinished() || writer.exitCode() != 0) {
        throw std::runtime_error("no image: " + writer.readAllStandardError().toStdString());
    }
    image_ = image.toStdString();
}

void FaultRun::startServers(const faults::ChosenFault& fault) {
    const auto options = [this] {
        faults::FaultyServer::Options common;
        common.good = [this](const std::string& base) { return good(base); };
        common.seen = [this](const loopback::Request& request, int) { remember(request); };
        return common;
    };
    if (fault.scenario->needsTls || fault.scenario->isOfProxy) {
        if (fault.scenario->isOfProxy) {
            auto behind = options();
            behind.hasTls = true;
            behind_.emplace(std::move(behind));
        }
        auto broken = options();
        broken.hasTls = fault.scenario->needsTls;
        broken.faults = {fault};
        if (behind_) {
            broken.tunnelPort = behind_->port();
        }
        broken_.emplace(std::move(broken));
        elsewhere_ = target_ ? broken_->address(*target_) : std::string();
        const std::string authority = (behind_ ? *behind_ : *broken_).authority();
        test::writeFile(run_.folder() + u"/authority.pem"_s, QByteArray::fromStdString(authority));
        run_.setEnvironment(u"SSL_CERT_FILE"_s, run_.folder() + u"/authority.pem"_s);
        if (fault.scenario->isOfProxy) {
            leadThroughProxy();
        }
        portal_.emplace(options());
        return;
    }
    auto spoiled = options();
    spoiled.faults = {fault};
    portal_.emplace(std::move(spoiled));
}

void FaultRun::leadThroughProxy() {
    const QString proxy = text(broken_->base());
    run_.setEnvironment(u"http_proxy"_s, proxy);
    run_.setEnvironment(u"https_proxy"_s, proxy);
    run_.setEnvironment(u"no_proxy"_s, u"127.0.0.1"_s);
}

std::string FaultRun::addressOf(Target target) const {
    return !elsewhere_.empty() && target == target_ ? elsewhere_ : portal_->address(target);
}

std::string FaultRun::configuration(const std::string& base) const {
    // A server puts in by itself where its faults lead.
    const auto written = [&](Target target, const char* path) {
        return !elsewhere_.empty() && target == target_ ? elsewhere_ : base + path;
    };
    const std::string analytics = written(Target::kAnalytics, faults::kAnalyticsPath);
    const std::string begin = "{\"analyticsUrl\": \"" + analytics + "\", \"userAction\": [{\"isActive\": \"1\", ";
    if (!installs_) {
        return begin + R"("action": "openLink", "actionUrl": "https://www.example.com/get", "customParam": "ask"}]})";
    }
    return begin + R"("action": "install"}], "software": [{"IsActive": "1", "macUrl": ")" +
           written(Target::kImage, faults::kImagePath) +
           R"(", "appName": "Kit Studio", "commandLineArgs": "--a --b"}]})";
}

faults::Answers FaultRun::good(const std::string& base) const {
    faults::Answers answers;
    answers.configuration = loopback::replyWith(configuration(base), "application/json");
    answers.image = loopback::replyWith({}, "application/x-apple-diskimage");
    answers.image.file = image_;
    answers.analytics = loopback::replyWith("thank you", "text/plain");
    return answers;
}

// What a redirect or a tunnel adds is a line; the rest is kept as it came, but for what only a proxy is told.
void FaultRun::remember(loopback::Request request) {
    const std::lock_guard lock(mutex_);
    const std::string method = request.line.substr(0, request.line.find(' '));
    std::string target = request.line.substr(method.size() + 1, request.line.rfind(' ') - method.size() - 1);
    const std::size_t host = target.find("://");
    if (host != std::string::npos) {
        target = "(proxy) " + target.substr(target.find('/', host + 3));
        request.head = method + " " + target + request.head.substr(request.head.find(" HTTP/1.1"));
        const std::size_t line = request.head.find("Proxy-Connection: Keep-Alive\r\n");
        request.head.erase(line, request.head.find('\n', line) + 1 - line);
    }
    constexpr std::size_t kReadable = 200;
    if (target.size() > kReadable) {
        target = target.substr(0, 3) + "…" + target.substr(target.rfind("/hop/"));
    }
    const bool isAgain =
        std::ranges::any_of(requests_, [&](const auto& earlier) { return earlier.line == request.line; });
    if (method == "CONNECT" || isAgain || target.find("/hop/") != std::string::npos) {
        const bool isWhole = !requests_.empty() && request.body == lastBody_ && !request.body.empty();
        request.head = method + " " + target + (isWhole ? " with the same body\r\n" : "\r\n");
        request.body.clear();
    }
    lastBody_ = request.body.empty() ? lastBody_ : request.body;
    requests_.push_back(std::move(request));
}

void FaultRun::goThrough(const QString& expected) {
    const QStringList screen = expectedScreen(expected);
    run_.start();
    if (!screen.isEmpty()) {
        // Asking for what shows takes many questions: not before it can be there.
        const QString last = u"\"message\":\" Show generic"_s;
        const QByteArray sign = expected.contains(last) ? last.toUtf8() : QByteArray("\"EVT\":\"Config\"");
        test::waitFor([&] { return run_.hasEnded() || test::readFile(run_.logPath()).contains(sign); }, kPatience);
        screen_ = reader_.announcedOnce(screen);
        run_.askToEnd();
    }
    EXPECT_TRUE(run_.waitForEnd(kPatience));
    for (const auto* const server : {&broken_, &behind_}) {
        if (*server) {
            run_.mask(authorityOf((*server)->base()), u"BROKEN"_s);
        }
    }
    run_.mask(authorityOf(portal_->base()), u"PORTAL"_s);
}

QString FaultRun::account() const {
    QString account = run_.account() + u"--- screen\n"_s + screen_.join(u'\n') + (screen_.isEmpty() ? u""_s : u"\n"_s) +
                      u"--- left behind\n"_s + run_.leftovers().join(u'\n') + u'\n';
    // The ports where nobody listens, or only IPv6 does. Those that are none stay.
    const QString port = u":([1-6]\\d{4}|[1-9]\\d{3})\\b"_s;
    account.replace(QRegularExpression(u"127\\.0\\.0\\.1"_s + port), u"REFUSING"_s);
    return account.replace(QRegularExpression(u"(\\[::1\\]|localhost)"_s + port), u"\\1:SIX"_s);
}

} // namespace faultsuite
