#pragma once

#include "tools/qn-portal/check/Finding.h"
#include "tools/qn-portal/screens/Stage.h"

#include <QString>
#include <QStringList>

namespace portal::check {

// Shows every screen that is on the stage in these languages, at the scales 1, 1.5, 2 and 3, and tells of texts that do
// not fit. `what` is the bundle or the brand as the user named it. Main thread.
void checkScreens(Findings& findings, const QString& what, const screens::Stage& stage, const QStringList& languages);

} // namespace portal::check
