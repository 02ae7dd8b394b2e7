#pragma once

#include "tools/portal/Options.h"

#include <string>
#include <string_view>

// What the portal answers with. Pure.
namespace portal {

inline constexpr const char* kConfigPath = "/config.json";
inline constexpr const char* kImagePath = "/download/Installer.dmg";
inline constexpr const char* kAnalyticsPath = "/analytics";
inline constexpr const char* kPagePath = "/page";

// The configuration document of a built-in ending; `base` is the portal's address without a slash at the end. Not
// JSON for Ending::kConfigError.
std::string configuration(const Options& options, const std::string& base);

// A configuration from a file, with the portal's address filled in.
std::string filledIn(std::string text, const std::string& base);

// The line that tells the addresses, without a line end.
std::string addressLine(int port);

// Bytes that are no disk image.
std::string garbageImage();

} // namespace portal
