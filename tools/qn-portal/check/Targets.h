#pragma once

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace portal::check {

enum class TargetKind { kConfigAddress, kImageAddress, kConfigFile, kImage, kBundle, kBrand };

struct Target {
    TargetKind kind;
    QString name; // the address or the path
};

struct Targets {
    std::vector<Target> all;
    QStringList refusals; // a sentence for each word that cannot be checked
};

// What the words of the command line stand for. Folders are looked into, not deeper than themselves.
Targets findTargets(const QStringList& words);

} // namespace portal::check
