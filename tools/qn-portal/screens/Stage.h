#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <optional>
#include <vector>

namespace portal::screens {

// The bundle that came with `program`: beside it where it was built, below ../lib/qn-portal where it was installed.
// Throws std::runtime_error when there is none.
QString installerBundle(const QString& program);

// One time on the stage.
struct Showing {
    QString locale;    // such as "pt-BR"
    QString scale;     // such as "1.5"
    QStringList words; // of showScreens()
};

// A place where the screens of a bundle can be seen and nothing else happens: a copy of the bundle in which `program`
// (a qn-portal) stands for the bundle's own program, which is not started; a home of its own; no network and no
// display.
//
// Main thread. Throws std::runtime_error with a sentence.
class Stage {
public:
    Stage(const QString& bundle, const QString& program);

    // The copy, which may be changed before the first showing.
    QString bundle() const;

    // What the program printed at each showing; absent when it failed. Several are shown at once, and seen in order.
    using Seen = std::function<void(const Showing&, const std::optional<QByteArray>& printed)>;
    void show(const std::vector<Showing>& showings, const Seen& seen) const;

private:
    QTemporaryDir folder_;
};

} // namespace portal::screens
