#include "tools/qn-portal/check/ConfigCheck.h"

#include "config/ConfigRequest.h"
#include "config/JSONReader.h"
#include "config/QNConfig.h"
#include "platform/UrlSession.h"
#include "tools/qn-portal/check/AddressCheck.h"
#include "tools/qn-portal/check/ConfigKeys.h"
#include "tools/qn-portal/check/ConfigPlaces.h"
#include "tools/qn-portal/check/QuietConsole.h"
#include "tools/qn-portal/check/Spelling.h"

#include <algorithm>
#include <set>
#include <utility>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

constexpr qsizetype kLarge = 65536; // bytes

// Follows the run that the document leads to.
class Flow {
public:
    // `told`: the paths of values of which it is told already why they count as missing.
    Flow(Findings& findings, const ConfigPlaces& places, const JsonValue& root, const QNConfig& model,
         std::set<QString> told, bool mayBeLocal)
        : findings_(findings), places_(places), root_(root), model_(model), told_(std::move(told)),
          mayBeLocal_(mayBeLocal) {}

    void follow(ConfigOutcome& outcome) {
        outcome.analytics =
            usable(root_.value(u"analyticsUrl"), u"$.analyticsUrl"_s, model_.analyticsURL(), AddressUse::kAnalytics);
        if (!model_.analyticsURL()) {
            addMissing("config-no-analytics", places_.document(), u"$.analyticsUrl"_s);
        }
        const Entry action = activeEntry(u"userAction"_s, u"isActive"_s, "config-two-active-actions");
        if (!root_.member(u"userAction")) {
            addMissing("config-no-actions", places_.document(), u"$.userAction"_s);
        } else if (action.value == nullptr) {
            addMissing("config-no-active-action", places_.at(*root_.member(u"userAction"), u"$.userAction"_s),
                       u"$.userAction"_s);
        } else {
            followAction(action, outcome);
        }
    }

private:
    void addMissing(std::string_view code, const Place& place, const QString& path) {
        if (!told_.contains(path)) {
            findings_.add(code, place);
        }
    }

    struct Entry {
        const JsonValue* value = nullptr;
        QString path;
    };

    // The first entry that the installer takes for active; further ones are told of under `second`.
    Entry activeEntry(const QString& list, const QString& mark, std::string_view second) {
        Entry first;
        const JsonValue* const entries = root_.value(list);
        if (entries == nullptr) {
            return first;
        }
        for (qsizetype at = 0; at < static_cast<qsizetype>(entries->items.size()); ++at) {
            const JsonValue& entry = entries->items[static_cast<std::size_t>(at)];
            const JsonValue* const value = entry.value(mark);
            if (value == nullptr || value->kind != JsonValue::Kind::kText || value->text != u"1") {
                continue;
            }
            const QString path = u"$.%1[%2]"_s.arg(list).arg(at);
            if (first.value == nullptr) {
                first = {&entry, path};
            } else {
                findings_.add(second, places_.at(*entry.member(mark), path + u'.' + mark));
            }
        }
        return first;
    }

    std::optional<ConfigAddress> usable(const JsonValue* value, const QString& path,
                                        const std::optional<QString>& address, AddressUse use) {
        if (value == nullptr || !address) {
            return std::nullopt;
        }
        const Place place = places_.at(*value, path);
        return checkAddress(findings_, place, *address, use, mayBeLocal_)
                   ? std::optional(ConfigAddress{*address, place})
                   : std::nullopt;
    }

    void followAction(const Entry& entry, ConfigOutcome& outcome) {
        const Place place = places_.at(*entry.value, entry.path);
        if (!model_.defaultAction()) {
            addMissing("config-no-action", place, entry.path + u".action"_s);
        } else if (model_.defaultAction() == u"install"_s) {
            followInstall(outcome);
        } else if (model_.defaultAction() == u"openLink"_s) {
            followLink(entry, outcome);
        } else {
            const JsonValue& action = *entry.value->value(u"action");
            findings_.add("config-unhandled-action", places_.at(action, entry.path + u".action"_s),
                          {*model_.defaultAction()});
        }
    }

    void followLink(const Entry& entry, ConfigOutcome& outcome) {
        if (!model_.actionUrl()) {
            addMissing("config-no-link", places_.at(*entry.value, entry.path), entry.path + u".actionUrl"_s);
        }
        outcome.link = usable(entry.value->value(u"actionUrl"), entry.path + u".actionUrl"_s, model_.actionUrl(),
                              AddressUse::kLink);
        const auto param = model_.customParam();
        if (param && !param->isEmpty() && param != u"autoOpen"_s) {
            findings_.add("config-custom-param",
                          places_.at(*entry.value->value(u"customParam"), entry.path + u".customParam"_s), {*param});
        }
    }

    void followInstall(ConfigOutcome& outcome) {
        const Entry entry = activeEntry(u"software"_s, u"IsActive"_s, "config-two-active-software");
        if (!root_.member(u"software")) {
            addMissing("config-no-software", places_.document(), u"$.software"_s);
            return;
        }
        if (entry.value == nullptr) {
            addMissing("config-no-active-software", places_.at(*root_.member(u"software"), u"$.software"_s),
                       u"$.software"_s);
            return;
        }
        if (!model_.latestMacURL()) {
            addMissing("config-no-image", places_.at(*entry.value, entry.path), entry.path + u".macUrl"_s);
            return;
        }
        if (!model_.appName()) {
            addMissing("config-no-app-name", places_.at(*entry.value, entry.path), entry.path + u".appName"_s);
        }
        checkArguments(entry);
        outcome.image =
            usable(entry.value->value(u"macUrl"), entry.path + u".macUrl"_s, model_.latestMacURL(), AddressUse::kImage);
        checkFormat(entry, outcome);
    }

    void checkArguments(const Entry& entry) {
        const QString arguments = model_.commandLineArgs().value_or(QString());
        if (arguments.trimmed().contains(u' ')) {
            findings_.add("config-arguments-stay-one",
                          places_.at(*entry.value->value(u"commandLineArgs"), entry.path + u".commandLineArgs"_s),
                          {arguments});
        }
    }

    void checkFormat(const Entry& entry, ConfigOutcome& outcome) {
        if (ConfigRequest::hasUsableFormat(model_)) {
            return;
        }
        const QString address = *model_.latestMacURL();
        const Place place = places_.at(*entry.value->value(u"macUrl"), entry.path + u".macUrl"_s);
        const qsizetype dmg = address.lastIndexOf(u".dmg"_s, -1, Qt::CaseInsensitive);
        if (dmg >= 0 && dmg + 4 < address.size() && u"?#"_s.contains(address[dmg + 4])) {
            findings_.add("config-behind-dmg", place, {address.mid(dmg + 4)});
        } else {
            findings_.add("config-not-dmg", place, {address});
        }
        outcome.image.reset();
    }

    Findings& findings_;
    const ConfigPlaces& places_;
    const JsonValue& root_;
    const QNConfig& model_;
    std::set<QString> told_;
    bool mayBeLocal_;
};

// The scan's guesses, and the verdict of the installer's own reader, which counts.
void addTextFindings(Findings& findings, const QByteArray& document, const JsonScan& scan, const ConfigPlaces& places) {
    for (const JsonProblem& problem : scan.problems) {
        findings.add(problem.code, places.at(problem.at), problem.details);
    }
    const bool hasError = std::ranges::any_of(scan.problems, [](const JsonProblem& problem) {
        return ruleCalled(problem.code)->severity == Severity::kError;
    });
    const auto reading = JSONReader::read(document);
    if (!reading.value && !hasError) {
        findings.add("json-syntax", places.document(), {reading.failure.value_or(QString())});
    }
    if (document.size() > kLarge) {
        findings.add("config-large", places.document(), {QString::number(document.size() / 1024)});
    }
}

} // namespace

ConfigOutcome checkConfiguration(Findings& findings, const QByteArray& document, const QString& source,
                                 bool mayBeLocal) {
    constexpr std::int64_t kMebibyte = 1048576;
    constexpr std::int64_t kMost = TransferLimits().data;
    if (document.size() > kMost) {
        findings.add("config-too-large", {source, 0, 0, {}, {}}, {QString::number(kMost / kMebibyte)});
        return {};
    }
    const JsonScan scan = scanJson(document);
    const ConfigPlaces places(source, scan.text);
    addTextFindings(findings, document, scan, places);
    ConfigOutcome outcome;
    if (!scan.root) {
        return outcome;
    }
    if (scan.root->kind != JsonValue::Kind::kObject) {
        if (!JSONReader::read(document).value) {
            return outcome; // told already
        }
        findings.add("json-not-object", places.document(), {describe(*scan.root)});
        return outcome;
    }
    const auto has = [&](std::string_view code) {
        return std::ranges::any_of(scan.problems, [&](const JsonProblem& problem) { return problem.code == code; });
    };
    if (has("json-too-deep")) {
        return outcome; // what stands there is nothing that a portal writes
    }
    std::set<QString> told = checkKeys(findings, places, *scan.root);
    if (has("json-unended")) {
        return outcome; // what is missing may stand in the other half
    }
    {
        const QuietConsole quiet;
        outcome.model = std::make_shared<QNConfig>(variantOf(*scan.root).toMap());
    }
    Flow(findings, places, *scan.root, *outcome.model, std::move(told), mayBeLocal).follow(outcome);
    return outcome;
}

} // namespace portal::check
