#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

// A session bus with an accessibility bus (AT-SPI2) of its own, and a client of it as a screen reader is one: it says
// that it is there, walks the trees of the programs that it finds, and does what their nodes offer.
//
// Nodes go by "role: name", with the roles' names as the bus has them. Needs an application object.
class ScreenReader {
public:
    // An older reader knows no announcements, and does not ask for them.
    enum class Age { kToday, kOlder };

    // A failure of the running test when one of the buses does not come up.
    explicit ScreenReader(Age age = Age::kToday);
    ~ScreenReader();
    ScreenReader(const ScreenReader&) = delete;
    ScreenReader& operator=(const ScreenReader&) = delete;

    // For the programs that it is to find: their DBUS_SESSION_BUS_ADDRESS.
    const QString& sessionBus() const { return address_; }

    // All that is said to be showing, wherever in the trees it is, in their order. Nameless containers are left out: a
    // screen reader passes them over.
    QStringList announced() const;
    // Once that is `expected`; else what it is in the end.
    QStringList announcedOnce(const QStringList& expected) const;
    // What the programs have told since, in order: "announcement: TEXT", and "focus: ROLE: NAME" for each control that
    // got the keyboard. Once there are `count`.
    QStringList heard(qsizetype count) const;

    // The part of announced() that can be pressed.
    QStringList pressable() const;
    // Does the press action of the one showing node of this description, and returns when it is done. False when there
    // is no such node, or more than one, or it refuses.
    bool press(const QString& description) const;

private:
    struct Node;
    class Ear;

    std::vector<Node> showingNodes() const;

    QProcess daemon_;
    QString address_;
    std::unique_ptr<Ear> ear_;
};
