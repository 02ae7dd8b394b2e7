#include "tools/qn-portal/check/ConfigKeys.h"

#include "tools/qn-portal/check/Placeholder.h"
#include "tools/qn-portal/check/Spelling.h"

#include <QStringList>

#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

// The three kinds of object that a document has.
struct Level {
    QString name; // for sentences
    QStringList lists;
    QStringList texts;
    QString mark; // of an active entry
};

const std::array<Level, 3>& levels() {
    static const std::array<Level, 3> kLevels{
        Level{u"the document"_s, {u"userAction"_s, u"software"_s}, {u"analyticsUrl"_s}, {}},
        Level{u"an entry of userAction"_s,
              {},
              {u"action"_s, u"isActive"_s, u"actionUrl"_s, u"actionDescription"_s, u"customParam"_s},
              u"isActive"_s},
        Level{u"an entry of software"_s,
              {},
              {u"IsActive"_s, u"macUrl"_s, u"winUrl"_s, u"appName"_s, u"appShortName"_s, u"commandLineArgs"_s},
              u"IsActive"_s}};
    return kLevels;
}

bool isActiveMark(const QString& key) {
    return key.compare(u"isActive", Qt::CaseInsensitive) == 0;
}

class Keys {
public:
    Keys(Findings& findings, const ConfigPlaces& places) : findings_(findings), places_(places) {}

    void check(const JsonValue& object, const Level& level, const QString& path) {
        for (const JsonMember& member : object.members) {
            if (level.lists.contains(member.key)) {
                checkList(member, path + u'.' + member.key);
            } else if (level.texts.contains(member.key)) {
                checkText(member, level, path);
            } else {
                checkUnknown(object, member, level, path);
            }
        }
    }

    std::set<QString> told() && { return std::move(told_); }

private:
    void checkList(const JsonMember& member, const QString& path) {
        if (member.value.kind != JsonValue::Kind::kList) {
            findings_.add("config-wrong-type", places_.at(member.value, path),
                          {member.key, describe(member.value), u"a list of objects"_s});
            told_.insert(path);
            return;
        }
        const Level& level = levels()[member.key == u"userAction" ? 1 : 2];
        for (std::size_t at = 0; at < member.value.items.size(); ++at) {
            const JsonValue& entry = member.value.items[at];
            const QString below = u"%1[%2]"_s.arg(path).arg(at);
            if (entry.kind == JsonValue::Kind::kObject) {
                check(entry, level, below);
            } else {
                findings_.add("config-wrong-type", places_.at(entry, below),
                              {member.key, u"a list with "_s + describe(entry), u"a list of objects"_s});
                told_.insert(path);
            }
        }
    }

    // An entry's mark is missed by its list.
    static QString pathOf(const QString& key, const Level& level, const QString& path) {
        return key == level.mark ? path.section(u'[', 0, 0) : path + u'.' + key;
    }

    void checkText(const JsonMember& member, const Level& level, const QString& path) {
        const Place place = places_.at(member.value, path + u'.' + member.key);
        const JsonValue& value = member.value;
        const bool isMark = member.key == level.mark;
        if (value.kind != JsonValue::Kind::kText) {
            told_.insert(pathOf(member.key, level, path));
            const bool isArguments = member.key == u"commandLineArgs" && value.kind == JsonValue::Kind::kList;
            findings_.add(isMark        ? "config-active-not-text"
                          : isArguments ? "config-argument-list"
                                        : "config-wrong-type",
                          place,
                          isMark || isArguments ? QStringList{describe(value)}
                                                : QStringList{member.key, describe(value), u"a text"_s});
            return;
        }
        if (isMark) {
            if (value.text != u"1" && value.text != u"0") {
                told_.insert(pathOf(member.key, level, path));
                findings_.add("config-active-value", place, {value.text});
            }
            return;
        }
        if (value.text != value.text.trimmed()) {
            findings_.add("config-blanks-around", place, {value.text});
        }
        if (const auto placeholder = placeholderIn(value.text)) {
            findings_.add("config-placeholder", place, {*placeholder});
        }
    }

    void checkUnknown(const JsonValue& object, const JsonMember& member, const Level& level, const QString& path) {
        const Place place = places_.at(member, path + u'.' + member.key);
        if (!level.mark.isEmpty() && isActiveMark(member.key)) {
            // Beside the right spelling the other one may be meant for other clients.
            findings_.add(object.member(level.mark) ? "config-unknown-key" : "config-mixed-up-active", place,
                          {member.key, level.mark});
            told_.insert(pathOf(level.mark, level, path));
            return;
        }
        for (const Level& other : levels()) {
            if (other.texts.contains(member.key) || other.lists.contains(member.key)) {
                findings_.add("config-misplaced-key", place, {member.key, other.name});
                return;
            }
        }
        const auto nearest = nearestWord(member.key, level.texts + level.lists);
        if (nearest && !object.member(*nearest)) {
            findings_.add("config-misspelt-key", place, {member.key, *nearest});
            told_.insert(pathOf(*nearest, level, path));
        } else {
            findings_.add("config-unknown-key", place, {member.key});
        }
    }

    Findings& findings_;
    const ConfigPlaces& places_;
    std::set<QString> told_;
};

} // namespace

std::set<QString> checkKeys(Findings& findings, const ConfigPlaces& places, const JsonValue& root) {
    Keys keys(findings, places);
    keys.check(root, levels()[0], u"$"_s);
    return std::move(keys).told();
}

} // namespace portal::check
