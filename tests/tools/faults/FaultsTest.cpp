#include "hdiutil/front/Create.h"
#include "tools/faults/FaultyServer.h"
#include "tools/portal/Content.h"
#include "tools/qn-portal/check/CheckRun.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <map>
#include <set>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace faults {

namespace {

using Codes = std::set<std::string>;

// What `qn-portal check` says of each fault when it meets it over a real connection. Empty where a client cannot tell,
// or need not mind.
const std::map<std::string, Codes>& expected() {
    static const std::map<std::string, Codes> kExpected{
        {"config-404",
         {"transfer-config-status", "transfer-config-cache-unsaid", "transfer-config-type", "json-syntax"}},
        {"config-500", {"transfer-config-status"}},
        {"config-empty", {"json-syntax"}},
        {"config-html", {"json-syntax"}},
        {"config-noise", {"json-not-text", "json-syntax"}},
        {"config-cut", {"json-unended"}},
        {"config-byte-order-mark", {"json-byte-order-mark"}},
        {"config-utf16", {"json-encoding"}},
        {"config-not-utf8", {"json-not-text", "config-unknown-key"}},
        {"config-trailing-comma", {"json-trailing-comma"}},
        {"config-comment", {"json-comment"}},
        {"config-duplicate-key", {"json-duplicate-key"}},
        {"config-deep", {"json-too-deep", "config-large"}},
        {"config-huge", {"config-too-large"}},
        {"config-list", {"json-not-object"}},
        {"config-number", {"json-not-object"}},
        {"config-nulls", {"config-wrong-type"}},
        {"config-active-number", {"config-active-not-text"}},
        {"config-wrong-mark", {"config-mixed-up-active"}},
        {"config-unknown-action", {"config-unhandled-action"}},
        {"config-no-action", {"config-no-active-action"}},
        {"config-no-software", {"config-no-software"}},
        {"config-no-image", {"config-no-image"}},
        {"config-not-dmg", {"config-not-dmg"}},
        {"config-bad-image-address", {"address-malformed"}},
        {"config-image-over-ftp", {"address-scheme"}},
        {"config-arguments-list", {"config-argument-list"}},
        {"config-no-analytics", {"config-no-analytics"}},
        {"config-bad-analytics-address", {"address-malformed"}},
        {"slow-config", {"transfer-slow"}},
        {"stall-config", {"transfer-failed"}},
        {"trickle-config", {"transfer-slow"}},
        {"close-config", {"transfer-failed"}},
        {"reset-config", {"transfer-failed"}},
        {"cut-config-head", {"transfer-failed"}},
        {"config-long-length", {"transfer-length"}},
        {"config-short-length", {"json-unended"}},
        {"config-no-length", {}},
        {"config-pieces", {}},
        {"config-broken-pieces", {"transfer-failed"}},
        {"config-flooded-head", {"transfer-failed"}},
        {"config-no-http", {"transfer-failed"}},
        {"config-unknown-encoding", {"transfer-encoding"}},
        {"config-broken-gzip", {"transfer-failed"}},
        {"config-damaged-gzip", {"transfer-failed"}},
        {"config-redirects", {"transfer-redirects"}},
        {"config-redirect-loop", {"transfer-redirect-loop"}},
        {"config-redirect-nowhere", {"transfer-failed"}},
        {"image-404", {"transfer-image-status"}},
        {"image-503", {"transfer-image-status"}},
        {"image-status", {"transfer-image-status"}},
        {"image-204", {"transfer-image-status"}},
        {"image-empty", {"image-not-recognized"}},
        {"image-noise", {"image-not-recognized"}},
        {"image-page", {"transfer-image-type", "transfer-name-changed", "image-not-recognized"}},
        {"image-one-byte", {"image-damaged"}},
        {"image-cut", {"image-not-recognized"}},
        {"image-no-trailer", {"image-not-recognized"}},
        {"reset-in-body", {"transfer-length"}},
        {"close-in-body", {"transfer-length"}},
        {"stall-in-body", {"transfer-failed"}},
        {"stall-image", {"transfer-failed"}},
        {"close-image", {"transfer-failed"}},
        {"reset-image", {"transfer-failed"}},
        {"cut-image-head", {"transfer-failed"}},
        {"refuse-image", {"transfer-failed"}},
        {"slow-image", {}},
        {"late-image", {}},
        {"image-long-length", {"transfer-length"}},
        {"image-short-length", {"image-not-recognized"}},
        {"image-no-length", {"transfer-no-length"}},
        {"image-pieces", {"transfer-no-length"}},
        {"image-broken-pieces", {"transfer-failed"}},
        {"image-broken-gzip", {"transfer-failed"}},
        {"image-redirect", {}},
        {"image-redirect-loop", {"transfer-redirect-loop"}},
        {"image-named-outside", {"transfer-name-changed"}},
        {"image-named-nothing", {"transfer-name-changed"}},
        {"image-named-long", {"transfer-name-changed"}},
        {"image-named-strangely", {"transfer-name-changed"}},
        {"slow-analytics", {"analytics-slow"}},
        {"stall-analytics", {"analytics-slow"}},
        {"close-analytics", {"analytics-unreachable"}},
        {"reset-analytics", {"analytics-unreachable"}},
        {"refuse-analytics", {"analytics-unreachable"}},
        {"analytics-404", {"analytics-refused"}},
        {"analytics-405", {"analytics-refused"}},
        {"analytics-500", {"analytics-refused"}},
        {"analytics-204", {}},
        {"analytics-redirect", {"analytics-redirects"}},
        {"analytics-half", {"analytics-unreachable"}},
        {"tls-expired", {"tls-expired"}},
        {"tls-not-yet", {"tls-not-yet"}},
        {"tls-other-host", {"tls-other-host"}},
        {"tls-self-signed", {"tls-untrusted", "tls-expires-soon"}},
        {"tls-unknown-authority", {"tls-untrusted"}},
        {"tls-missing-intermediate", {"tls-missing-intermediate"}},
        {"tls-old-version", {"tls-too-old"}},
        {"tls-garbage", {"transfer-failed"}},
        {"tls-plain", {"transfer-failed"}},
        {"tls-reset", {"transfer-failed"}},
        {"tls-close", {"transfer-failed"}},
        {"tls-wants-certificate", {"transfer-failed"}},
        {"tls-no-farewell", {"transfer-no-length"}},
    };
    return kExpected;
}

// Those that a check of a second cannot meet: more than the limits of a request, a doubled image (whose trailer is a
// good one), a handshake for which TLS's own look waits ten seconds.
const std::set<std::string> kElsewhere{"analytics-huge", "image-doubled", "tls-stall"};

class PortalInABox {
public:
    PortalInABox(const std::string& fault, bool hasTls) {
        makeImage();
        FaultyServer::Options options;
        options.hasTls = hasTls;
        if (!fault.empty()) {
            const Scenario* const scenario = scenarioCalled(fault);
            options.faults.push_back({scenario, valueFor(fault, *scenario)});
        }
        options.good = [this](const std::string& base) { return good(base); };
        server_.emplace(std::move(options));
        trust();
    }

    Codes check() const {
        portal::check::CheckOptions options;
        options.targets = QStringList{QString::fromStdString(server_->base() + kConfigPath)};
        options.locales = QStringList{u"en-US"_s};
        options.isLocal = true;
        options.patience.configuration = 500ms;
        options.patience.analytics = 500ms;
        options.patience.analyticsLimit = 2s;
        options.patience.idle = 1500ms;
        Codes codes;
        const auto report = portal::check::runChecks(options);
        for (const auto& finding : report.findings.all()) {
            codes.emplace(finding.rule->code);
        }
        return codes;
    }

private:
    static std::string valueFor(const std::string& fault, const Scenario& scenario) {
        static const std::map<std::string, std::string> kQuick{
            {"slow-config", "1"}, {"late-image", "1"}, {"slow-analytics", "1"}, {"trickle-config", "5"}};
        const auto quick = kQuick.find(fault);
        return quick == kQuick.end() ? std::string(scenario.value) : quick->second;
    }

    void makeImage() {
        const QString program = folder_.filePath(u"root/Kit.app/Contents/MacOS/Kit"_s);
        QDir().mkpath(QFileInfo(program).path());
        write(program, "#!/bin/sh\n");
        QFile::setPermissions(program, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        write(folder_.filePath(u"root/Kit.app/Contents/Info.plist"_s),
              R"(<plist version="1.0"><dict><key>CFBundleExecutable</key><string>Kit</string>
                 <key>CFBundleIdentifier</key><string>net.kit</string></dict></plist>)");
        hdi::CreateOptions options;
        options.sourceFolder = folder_.filePath(u"root"_s).toStdString();
        options.volumeName = "Kit";
        static_cast<void>(hdi::createImage(options, image()));
    }

    std::string image() const { return folder_.filePath(u"Kit.dmg"_s).toStdString(); }

    static void write(const QString& path, const QByteArray& bytes) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    Answers good(const std::string& base) const {
        portal::Options options;
        options.appName = "Kit";
        options.commandLineArgs = "--quiet";
        Answers answers;
        answers.configuration = loopback::replyWith(portal::configuration(options, base), "application/json");
        answers.configuration.headers.emplace_back("Cache-Control", "max-age=60");
        answers.image = loopback::replyWith({}, "application/x-apple-diskimage");
        answers.image.file = image();
        answers.image.headers.emplace_back("ETag", "\"1\"");
        answers.analytics = loopback::replyWith("thank you", "text/plain");
        return answers;
    }

    void trust() {
        const QString file = folder_.filePath(u"authority.pem"_s);
        write(file, QByteArray::fromStdString(server_->authority()));
        if (!server_->authority().empty()) {
            qputenv("SSL_CERT_FILE", file.toUtf8());
        }
    }

    QTemporaryDir folder_;
    std::optional<FaultyServer> server_;
};

class EachFault : public testing::TestWithParam<const Scenario*> {};

TEST_P(EachFault, IsMetOverARealConnection) {
    const std::string name(GetParam()->name);
    const PortalInABox box(name, GetParam()->needsTls);
    EXPECT_EQ(box.check(), expected().at(name));
}

std::vector<const Scenario*> checkable() {
    std::vector<const Scenario*> all = scenarios();
    // What can happen to each answer alike is met by the whole program, in tests/faults.
    std::erase_if(all, [](const Scenario* scenario) {
        return scenario->spoil != nullptr || kElsewhere.contains(std::string(scenario->name));
    });
    return all;
}

std::string nameOfScenario(const testing::TestParamInfo<const Scenario*>& known) {
    std::string name(known.param->name);
    std::ranges::replace(name, '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Faults, EachFault, testing::ValuesIn(checkable()), nameOfScenario);

TEST(PortalInABox, IsGoodWithoutAFault) {
    EXPECT_THAT(PortalInABox("", false).check(), testing::IsEmpty());
}

TEST(PortalInABox, IsGoodOverTlsForWhoTrustsItsAuthority) {
    EXPECT_THAT(PortalInABox("", true).check(), testing::IsEmpty());
}

} // namespace

} // namespace faults
