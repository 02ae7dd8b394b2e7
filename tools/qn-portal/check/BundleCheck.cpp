#include "tools/qn-portal/check/BundleCheck.h"

#include "platform/Bundle.h"
#include "tools/qn-portal/check/AddressCheck.h"
#include "tools/qn-portal/check/BundleInfo.h"
#include "tools/qn-portal/check/BundleTexts.h"
#include "tools/qn-portal/check/ColorCheck.h"
#include "tools/qn-portal/check/Placeholder.h"
#include "tools/qn-portal/check/Settings.h"
#include "tools/qn-portal/check/Spelling.h"

#include <QFileInfo>
#include <QMap>
#include <QRegularExpression>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

QString text(std::string_view view) {
    return QString::fromUtf8(view.data(), static_cast<qsizetype>(view.size()));
}

QStringList settingKeys() {
    QStringList keys;
    for (const Setting& setting : settings()) {
        keys += text(setting.key);
    }
    return keys;
}

class Check {
public:
    Check(Findings& findings, const QString& path, bool isBrand, bool mayBeLocal)
        : findings_(findings), info_(path, isBrand), mayBeLocal_(mayBeLocal) {}

    BundleOutcome run() {
        if (info_.top().isEmpty()) {
            findings_.add("bundle-no-info", info_.place({}));
            return outcome_;
        }
        checkTop();
        if (!info_.isBrand()) {
            checkProgram();
        }
        const QVariant config = info_.top().value(u"QNConfig"_s);
        if (config.typeId() != QMetaType::QVariantMap) {
            findings_.add("bundle-no-settings", info_.place({}));
        } else {
            config_ = config.toMap();
            checkKeys();
            checkSettings();
            checkShared();
            checkColors(findings_, info_, config_);
            if (!info_.isBrand()) {
                checkScheme();
            }
        }
        outcome_.languages = checkTexts(findings_, info_);
        if (!info_.isBrand()) {
            checkResources();
        }
        return outcome_;
    }

private:
    QString topText(const QString& key) const { return info_.top().value(key).toString(); }

    void checkTop() {
        const QString identifier = topText(u"CFBundleIdentifier"_s);
        static const QRegularExpression kIdentifier(u"^[A-Za-z0-9-]+(\\.[A-Za-z0-9-]+)+$"_s);
        if (!kIdentifier.match(identifier).hasMatch()) {
            findings_.add("bundle-identifier", info_.place(u"CFBundleIdentifier"_s), {identifier});
        } else if (const auto placeholder = placeholderIn(identifier)) {
            findings_.add("config-placeholder", info_.place(u"CFBundleIdentifier"_s), {*placeholder});
        }
        outcome_.installer.identifier = identifier;
        if (!info_.isBrand() && topText(u"CFBundleShortVersionString"_s).isEmpty()) {
            findings_.add("bundle-version", info_.place({}));
        }
        if (const QString system = topText(u"LSMinimumSystemVersion"_s); !system.isEmpty()) {
            outcome_.installer.minimumSystem = system;
        }
        const QString environment = topText(u"QNEnv"_s);
        static const QStringList kEnvironments{u"dev1"_s, u"qa1"_s, u"beta"_s, u"prod"_s, u"production"_s, QString()};
        if (!kEnvironments.contains(environment)) {
            findings_.add("bundle-environment", info_.place(u"QNEnv"_s), {environment});
        }
        for (const QString& key : settingKeys()) {
            if (info_.top().contains(key)) {
                findings_.add("bundle-misplaced-setting", info_.place(key), {key, u"QNConfig"_s});
            }
        }
    }

    void checkProgram() {
        QString name = topText(u"CFBundleExecutable"_s);
        if (name.isEmpty()) {
            name = QFileInfo(info_.path()).completeBaseName();
        }
        const QFileInfo program(info_.path() + u"/Contents/MacOS/"_s + name);
        if (!program.isFile()) {
            findings_.add("bundle-no-program", info_.place(u"CFBundleExecutable"_s), {name});
        } else if (!(program.permissions() & QFileDevice::ExeOwner)) {
            findings_.add("bundle-program-not-executable", info_.place(u"CFBundleExecutable"_s), {name});
        }
    }

    void checkKeys() {
        const QStringList known = settingKeys();
        for (auto entry = config_.cbegin(); entry != config_.cend(); ++entry) {
            if (known.contains(entry.key())) {
                continue;
            }
            const auto nearest = nearestWord(entry.key(), known);
            if (entry.key() == u"QNEnv") {
                findings_.add("bundle-misplaced-setting", info_.place(entry.key()),
                              {entry.key(), u"the list's top level"_s});
            } else if (nearest && !config_.contains(*nearest)) {
                findings_.add("bundle-misspelt-setting", info_.place(entry.key()), {entry.key(), *nearest});
                misspelt_ += *nearest;
            } else {
                findings_.add("bundle-unknown-setting", info_.place(entry.key()), {entry.key()});
            }
        }
    }

    void checkSettings() {
        for (const Setting& setting : settings()) {
            const QString key = text(setting.key);
            if (!config_.contains(key)) {
                if (setting.isRequired && !misspelt_.contains(key)) {
                    findings_.add("bundle-missing-setting", info_.place(u"QNConfig"_s),
                                  {key, text(setting.meaning), text(setting.without)});
                }
                continue;
            }
            const QVariant value = config_.value(key);
            if (value.typeId() != QMetaType::QString) {
                findings_.add("bundle-setting-type", info_.place(key), {key});
            } else {
                checkSetting(setting, key, value.toString());
            }
        }
    }

    void checkSetting(const Setting& setting, const QString& key, const QString& stored) {
        const QString value = QString(stored).replace(u"&amp;"_s, u"&"_s);
        const Place place = info_.place(key);
        if (const auto placeholder = placeholderIn(value)) {
            findings_.add("config-placeholder", place, {*placeholder});
        } else if (value != value.trimmed()) {
            findings_.add("config-blanks-around", place, {value});
        }
        if (key == u"AnalyticsProductName") {
            outcome_.appName = value;
        }
        const bool isAddress = setting.kind == Setting::Kind::kConfigAddress || setting.kind == Setting::Kind::kLink;
        if (setting.kind == Setting::Kind::kDataPath && !value.startsWith(u'/')) {
            findings_.add("bundle-data-path", place, {key, value});
        } else if (isAddress &&
                   checkAddress(findings_, place, value,
                                setting.kind == Setting::Kind::kLink ? AddressUse::kLink : AddressUse::kConfiguration,
                                mayBeLocal_)) {
            addAddress(setting, {value, place});
        }
    }

    void addAddress(const Setting& setting, const ConfigAddress& address) {
        if (setting.kind == Setting::Kind::kLink) {
            outcome_.links.push_back(address);
            return;
        }
        const bool isKnown = std::ranges::any_of(outcome_.configurations,
                                                 [&](const auto& known) { return known.address.text == address.text; });
        if (!isKnown) {
            outcome_.configurations.push_back({text(setting.environment), address});
        }
    }

    // Environments that share what each should have for itself.
    void checkShared() {
        QMap<QString, QString> paths;
        QMap<QString, QString> addresses;
        for (const Setting& setting : settings()) {
            const bool isPath = setting.kind == Setting::Kind::kDataPath;
            if (!isPath && setting.kind != Setting::Kind::kConfigAddress) {
                continue;
            }
            const QString key = text(setting.key);
            const QString value = config_.value(key).toString();
            auto& known = isPath ? paths : addresses;
            if (!value.isEmpty() && known.contains(value)) {
                findings_.add(isPath ? "bundle-shared-path" : "bundle-shared-address", info_.place(key),
                              {known.value(value), key});
            }
            known.insert(value, key);
        }
    }

    void checkScheme() {
        const QString scheme = config_.value(u"QNPortalType"_s, u"qn"_s).toString() + u'd';
        for (const QVariant& type : info_.top().value(u"CFBundleURLTypes"_s).toList()) {
            if (type.toMap().value(u"CFBundleURLSchemes"_s).toList().contains(scheme)) {
                return;
            }
        }
        findings_.add("bundle-scheme", info_.place(u"CFBundleURLTypes"_s), {scheme});
    }

    void checkResources() {
        static const std::array<std::pair<QString, QString>, 9> kResources{{
            {u"Base.lproj/MainMenu.ui"_s, u"Nothing starts."_s},
            {u"Base.lproj/QNMainController.ui"_s, u"The program ends at once."_s},
            {u"Base.lproj/QNErrorController.ui"_s, u"The program ends at once."_s},
            {u"Base.lproj/QNAlertController.ui"_s, u"The program ends at once."_s},
            {u"unmount.sh"_s, u"Nothing; the volume stays mounted."_s},
            {u"no_internet.png"_s, u"The screen without a connection lacks its picture."_s},
            {u"install_failed_block_img.png"_s, u"The screen \"Installation failed\" lacks its picture."_s},
            {u"window_close.png"_s, u"The window has no cross to close it."_s},
            {u"connecting_Spinner.png"_s, u"The screen \"Connecting…\" lacks its spinner."_s},
        }};
        for (const auto& [name, seen] : kResources) {
            if (!QFileInfo::exists(info_.path() + u"/Contents/Resources/"_s + name)) {
                findings_.add("bundle-missing-resource", info_.place({}), {name, seen});
            }
        }
    }

    Findings& findings_;
    BundleInfo info_;
    bool mayBeLocal_;
    QVariantMap config_;
    QStringList misspelt_;
    BundleOutcome outcome_;
};

} // namespace

BundleOutcome checkBundle(Findings& findings, const QString& path, bool mayBeLocal) {
    return Check(findings, path, false, mayBeLocal).run();
}

BundleOutcome checkBrand(Findings& findings, const QString& path, bool mayBeLocal) {
    return Check(findings, path, true, mayBeLocal).run();
}

} // namespace portal::check
