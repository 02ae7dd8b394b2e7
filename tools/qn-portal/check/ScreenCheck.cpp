#include "tools/qn-portal/check/ScreenCheck.h"

#include "tools/qn-portal/check/Settings.h"

#include <nlohmann/json.hpp>

#include <map>
#include <tuple>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

const QStringList& scales() {
    static const QStringList kScales{u"1"_s, u"1.5"_s, u"2"_s, u"3"_s};
    return kScales;
}

// Language, screen, text and what is wrong with it.
using Misfit = std::tuple<QString, QString, QString, QString>;

QString textAt(const nlohmann::json& object, const char* key) {
    return QString::fromStdString(object.at(key).get<std::string>());
}

} // namespace

void checkScreens(Findings& findings, const QString& what, const screens::Stage& stage, const QStringList& languages) {
    QStringList words{u"texts"_s};
    for (const QString& language : languages) {
        words += localeFor(language);
    }
    std::vector<screens::Showing> showings;
    for (const QString& scale : scales()) {
        showings.push_back({u"en-US"_s, scale, words});
    }
    std::map<Misfit, QStringList> misfits; // the scales of each
    QStringList unseen;
    stage.show(showings, [&](const screens::Showing& showing, const std::optional<QByteArray>& printed) {
        const QList<QByteArray> lines = printed.value_or(QByteArray()).split('\n');
        for (qsizetype at = 0; at < languages.size(); ++at) {
            const auto told = nlohmann::json::parse(lines.value(at).toStdString(), nullptr, false);
            if (!told.is_array()) {
                unseen += languages[at];
                continue;
            }
            for (const auto& each : told) {
                misfits[{languages[at], textAt(each, "screen"), textAt(each, "text"), textAt(each, "how")}] +=
                    showing.scale;
            }
        }
    });
    unseen.removeDuplicates();
    if (!unseen.isEmpty()) {
        findings.add("bundle-screens", {what, 0, 0, {}, {}}, {unseen.join(u", "_s)});
    }
    for (const auto& [misfit, at] : misfits) {
        const auto& [language, screen, text, how] = misfit;
        const QString sizes = at.size() == scales().size() ? u"every scale"_s : u"the scale "_s + at.join(u", "_s);
        findings.add("bundle-text-fit", {what, 0, 0, language + u' ' + screen, {}},
                     {text.simplified(), how, screen, sizes, language});
    }
}

} // namespace portal::check
