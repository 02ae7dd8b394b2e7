#pragma once

#include <QString>

#include <string>

// Puts a built program into a bundle NAME.app of the case's folder, with that identifier; returns the executable's
// path.
std::string putIntoBundle(const char* program, const QString& name, const QString& identifier);
