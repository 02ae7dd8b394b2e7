#pragma once

#include "tools/qn-portal/check/ConfigCheck.h"
#include "tools/qn-portal/check/Finding.h"
#include "tools/qn-portal/check/ImageCheck.h"

#include <QString>

#include <vector>

namespace portal::check {

// What a bundle leads to.
struct BundleOutcome {
    struct Source {
        QString environment;
        ConfigAddress address;
    };
    std::vector<Source> configurations; // those that the installer could ask for, each address once
    std::vector<ConfigAddress> links;
    QStringList languages;          // that have a table
    std::optional<QString> appName; // of the request's header
    InstallerFacts installer;
};

// Checks the bundle at `path`: settings, program, resources, texts. `mayBeLocal` as for checkAddress().
BundleOutcome checkBundle(Findings& findings, const QString& path, bool mayBeLocal);
// The same of a brand's folder, which holds settings and texts only.
BundleOutcome checkBrand(Findings& findings, const QString& path, bool mayBeLocal);

} // namespace portal::check
