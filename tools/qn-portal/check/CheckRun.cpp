#include "tools/qn-portal/check/CheckRun.h"

#include "config/QNConfig.h"
#include "tools/qn-portal/Verb.h"
#include "tools/qn-portal/check/AddressCheck.h"
#include "tools/qn-portal/check/BundleCheck.h"
#include "tools/qn-portal/check/ConfigCheck.h"
#include "tools/qn-portal/check/ImageCheck.h"
#include "tools/qn-portal/check/ScreenCheck.h"
#include "tools/qn-portal/check/Settings.h"
#include "tools/qn-portal/check/Targets.h"
#include "tools/qn-portal/screens/BrandedBundle.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>
#include <QUrl>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <future>
#include <map>
#include <memory>
#include <set>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

using Headers = std::vector<std::pair<QString, QString>>;

// The six headers of the installer's request. The identifier belongs to nobody.
Headers headersFor(const QString& locale, const std::optional<QString>& appName) {
    Headers headers;
    if (appName) {
        headers.emplace_back(u"appName"_s, *appName);
    }
    headers.emplace_back(u"ci"_s, u"00000000-0000-0000-0000-000000000000"_s);
    headers.emplace_back(u"os"_s, u"mac"_s);
    headers.emplace_back(u"osVer"_s, u"14.0.0"_s);
    headers.emplace_back(u"country"_s, locale.section(u'-', -1));
    headers.emplace_back(u"locale"_s, locale);
    return headers;
}

class Run {
public:
    explicit Run(const CheckOptions& options) : options_(options), transfers_(report_.findings, options.patience) {}

    CheckReport go() {
        const Targets targets = findTargets(options_.targets);
        report_.refusals = targets.refusals;
        for (const Target& target : targets.all) {
            if (target.kind == TargetKind::kImage) {
                localImages_.insert({QFileInfo(target.name).fileName(), target.name});
            }
        }
        // A bundle tells what the others are judged against.
        for (const Target& target : targets.all) {
            if (target.kind == TargetKind::kBundle || target.kind == TargetKind::kBrand) {
                checkBundleTarget(target);
            }
        }
        for (const Target& target : targets.all) {
            checkTarget(target);
        }
        return std::move(report_);
    }

private:
    void checkTarget(const Target& target) {
        const Place place{target.name, 0, 0, {}, {}};
        switch (target.kind) {
        case TargetKind::kBundle:
        case TargetKind::kBrand:
            return; // done before
        case TargetKind::kImage:
            ++report_.checked;
            checkImage(report_.findings, target.name, target.name, installer_);
            return;
        case TargetKind::kConfigFile:
            checkConfigFile(target.name);
            return;
        case TargetKind::kImageAddress:
            if (mayAsk(target.name) &&
                checkAddress(report_.findings, place, target.name, AddressUse::kImage, options_.isLocal)) {
                checkImageAddress({target.name, place});
            }
            return;
        case TargetKind::kConfigAddress:
            if (mayAsk(target.name) &&
                checkAddress(report_.findings, place, target.name, AddressUse::kConfiguration, options_.isLocal)) {
                checkConfigAddress(target.name, localesOr({u"en-US"_s, u"de-DE"_s, u"ja-JP"_s}));
            }
            return;
        }
    }

    bool mayAsk(const QString& address) {
        if (options_.isOffline) {
            report_.refusals += u"%1 cannot be asked with --offline"_s.arg(address);
        }
        return !options_.isOffline;
    }

    QStringList localesOr(const QStringList& others) const {
        return options_.locales.isEmpty() ? others : options_.locales;
    }

    void checkBundleTarget(const Target& target) {
        ++report_.checked;
        const auto check = target.kind == TargetKind::kBundle ? checkBundle : checkBrand;
        const BundleOutcome outcome = check(report_.findings, target.name, options_.isLocal);
        installer_ = outcome.installer;
        appName_ = outcome.appName;
        showScreens(target, outcome.languages);
        if (options_.isOffline) {
            return;
        }
        for (const ConfigAddress& link : outcome.links) {
            ++report_.checked;
            transfers_.page(link.place, link.text, "bundle-link-dead");
        }
        QStringList locales;
        for (const QString& language : outcome.languages) {
            locales += localeFor(language);
        }
        for (const auto& source : outcome.configurations) {
            checkConfigAddress(source.address.text, localesOr(locales));
        }
    }

    // As far as there is something to show: of what is missing or damaged it is told already.
    void showScreens(const Target& target, const QStringList& tables) {
        static constexpr std::array kUnshowable{"bundle-no-info", "bundle-no-settings", "bundle-strings-damaged",
                                                "bundle-missing-resource", "bundle-text-unknown"};
        const bool isBrand = target.kind == TargetKind::kBrand;
        const bool isDamaged =
            std::ranges::any_of(kUnshowable, [&](const char* code) { return report_.findings.has(code); });
        if (options_.program.isEmpty() || isDamaged) {
            return;
        }
        const QString bundle = isBrand ? screens::installerBundle(options_.program) : target.name;
        const screens::Stage stage(bundle, options_.program);
        QStringList languages = tables;
        if (isBrand) {
            screens::putBrand(target.name, stage.bundle());
            languages.clear();
            for (const std::string_view language : check::languages()) {
                languages += QString::fromUtf8(language.data(), static_cast<qsizetype>(language.size()));
            }
        }
        checkScreens(report_.findings, target.name, stage, languages);
    }

    void checkConfigFile(const QString& path) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            report_.refusals += u"%1 cannot be read: %2"_s.arg(path, file.errorString());
            return;
        }
        // One byte more than the installer takes tells that it is too much.
        follow(file.read(TransferLimits().data + 1), path, options_.isLocal);
    }

    void checkConfigAddress(const QString& address, QStringList locales) {
        if (!askedFor_.insert(address).second) {
            return;
        }
        const QString first = locales.isEmpty() ? u"en-US"_s : locales.takeFirst();
        const auto document = transfers_.configuration(address, headersFor(first, appName_));
        if (!document) {
            ++report_.checked;
            return;
        }
        follow(*document, address, options_.isLocal);
        std::vector<std::future<std::optional<QByteArray>>> others;
        for (const QString& locale : locales) {
            others.push_back(std::async(std::launch::async, [this, address, locale] {
                return transfers_.configurationAgain(address, headersFor(locale, appName_));
            }));
        }
        for (std::size_t at = 0; at < others.size(); ++at) {
            compare(address, first, *document, locales[static_cast<qsizetype>(at)], others[at].get());
        }
    }

    void compare(const QString& address, const QString& first, const QByteArray& document, const QString& locale,
                 const std::optional<QByteArray>& other) {
        if (!other || transfers_.compare(address, first, document, locale, *other)) {
            return;
        }
        follow(*other, u"%1 (%2)"_s.arg(address, locale), options_.isLocal);
    }

    // From a document to what it leads to.
    void follow(const QByteArray& document, const QString& source, bool mayBeLocal) {
        ++report_.checked;
        const ConfigOutcome outcome = checkConfiguration(report_.findings, document, source, mayBeLocal);
        if (options_.isOffline) {
            return;
        }
        if (outcome.image) {
            checkImageAddress(*outcome.image);
        }
        if (outcome.analytics && askedFor_.insert(outcome.analytics->text).second) {
            ++report_.checked;
            transfers_.analytics(*outcome.analytics);
        }
    }

    void checkImageAddress(const ConfigAddress& address) {
        if (!askedFor_.insert(address.text).second) {
            return;
        }
        ++report_.checked;
        // Without a name from the beginning, so that nothing stays when the program is ended in the middle.
        QTemporaryFile kept;
        if (!kept.open() || ::unlink(kept.fileName().toLocal8Bit().constData()) != 0) {
            throw std::runtime_error("cannot make a temporary file: " + kept.errorString().toStdString());
        }
        const QString file = u"/proc/self/fd/%1"_s.arg(kept.handle());
        const auto sums = std::make_shared<hdi::PieceSums>();
        const bool isWhole = transfers_.image(address, file, *sums);
        // An image that is a target itself is judged there, once.
        if (isWhole && !localImages_.contains(QUrl(address.text).fileName())) {
            checkImage(report_.findings, file, address.text, installer_, sums);
        }
    }

    const CheckOptions& options_;
    CheckReport report_;
    TransferCheck transfers_;
    InstallerFacts installer_;
    std::optional<QString> appName_;
    std::map<QString, QString> localImages_; // by name
    std::set<QString> askedFor_;
};

} // namespace

CheckReport runChecks(const CheckOptions& options) {
    std::signal(SIGPIPE, SIG_IGN); // of a server that goes in the middle of a handshake
    return Run(options).go();
}

int statusOf(const CheckReport& report, bool isStrict) {
    if (!report.refusals.isEmpty()) {
        return kCannotDo;
    }
    const bool isBad = report.findings.count(Severity::kError) > 0 || (isStrict && !report.findings.all().empty());
    return isBad ? kFoundErrors : kGood;
}

} // namespace portal::check
