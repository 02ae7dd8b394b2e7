#pragma once

#include <map>
#include <string>
#include <string_view>

// The hardware addresses that devices left the factory with, as the kernel knows them (rtnetlink(7)). Setting another
// address, as network managers do for privacy, does not change them; what was made up when a device came up is none.
namespace standins {

// By the interface's number, as six pairs of lower-case hexadecimal digits. Empty when the kernel cannot be asked, and
// with kernels that do not tell (before 5.6).
std::map<long, std::string> permanentAddresses();

// Adds those of one answer of the kernel to `found`. False when the answer was the last, or makes no sense.
bool readLinks(std::string_view answer, std::map<long, std::string>& found);

} // namespace standins
