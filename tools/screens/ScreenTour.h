#pragma once

#include <QString>

#include <functional>

class Window;

// Shows every screen of the bundle that this program lies in, one after the other, in the language and at the scale of
// its environment: "no-internet", "error", "download", "connecting" and "alert". `visit` gets each while it is on the
// screen, painted or about to be.
//
// For a program that lies in a copy of the bundle, with a home of its own, on a machine without a network: the first
// run then ends at once. Main thread, with a QApplication, once.
void tourScreens(const std::function<void(const QString& screen, Window& window)>& visit);
