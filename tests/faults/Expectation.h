#pragma once

#include "tools/faults/Scenario.h"

#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

// What is written down in this folder: expected.txt tells how a run ends for each scenario and each answer that it
// spoils, and endings/ holds what there is then, once for each ending.
namespace faultsuite {

// What a row tells of one run.
struct Expectation {
    QString scenario;                     // "status=404"
    std::optional<faults::Target> target; // absent: the fault has but one answer that it can spoil
    QString ending;                       // the name of a file in endings/, without its own ending
    QMap<QString, QString> values;        // what stands there in braces
    bool isLong = false;                  // takes a minute
};

// All of them, in the order of the file. Throws std::runtime_error at the first line that cannot be read.
const std::vector<Expectation>& expectations();

// What there is to be after the run, its marks filled in; and of that what shows on the screen, line by line.
QString expectedAccount(const Expectation& expectation);
QStringList expectedScreen(const QString& account);

} // namespace faultsuite
