#pragma once

#include <string>

namespace portal::brand {

// Whether a brand may be called this: small letters, digits and hyphens, beginning with a letter. The name becomes part
// of an identifier and of a scheme.
bool isBrandName(const std::string& name);

// The information list of a new brand: every setting, with a comment that explains it and a value to be replaced.
// Pure.
std::string newSettings(const std::string& name);

// Makes the folder `path` with the brand's Info.plist and, for each language of the original, an empty table for texts
// that replace ours. Throws std::runtime_error with a sentence when the folder is there already or cannot be made; what
// was made of it is then removed.
void makeBrand(const std::string& path, const std::string& name);

} // namespace portal::brand
