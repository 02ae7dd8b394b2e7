#pragma once

#include <QString>

class QWidget;

// Has assistive technology say what a new screen shows. What came last is said again to one that appears later. Main
// thread.
void announceScreen(QWidget& screen, const QString& text);
