#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

namespace portal::eventlog {

enum class Personal {
    kLoginName,
    kQuery,
    kCredentials,
    kIdentifier,
    kMailAddress,
    kHardwareAddress,
    kNetworkAddress,
    kComputerName,
    kUserFolder,
};
inline constexpr std::size_t kPersonalKinds = 9;

// What was found of one kind.
struct Finding {
    std::string_view kind; // for people
    std::int64_t count = 0;
    std::set<std::string> values; // the first twenty different ones
};

// Takes out of texts what can identify a person. The host and the path of an address stay, since support needs them.
//
// Login names are known by the home folders that the texts name, and are then taken out wherever they stand as a word;
// so all texts go through learn() before the first one goes through cleaned(). An identifier becomes a digest that is
// the same within one object and different in any other.
class PersonalData {
public:
    PersonalData();

    void learn(std::string_view text);
    std::string cleaned(std::string_view text);
    std::string cleanedIdentifier(std::string_view identifier);

    // What cleaned() and cleanedIdentifier() found since the last call of forget().
    const std::array<Finding, kPersonalKinds>& findings() const { return findings_; }
    void forget();

private:
    struct Found;
    using Find = Found (PersonalData::*)(std::string_view text, std::size_t from) const;

    std::string replaced(std::string_view text, Find find);
    void note(Personal kind, std::string_view value);
    std::string digestOf(std::string_view text) const;

    Found findCredentials(std::string_view text, std::size_t from) const;
    Found findQuery(std::string_view text, std::size_t from) const;
    Found findHome(std::string_view text, std::size_t from) const;
    Found findName(std::string_view text, std::size_t from) const;
    Found findUserFolder(std::string_view text, std::size_t from) const;
    Found findMail(std::string_view text, std::size_t from) const;
    Found findToken(std::string_view text, std::size_t from) const;

    std::string salt_;
    std::set<std::string, std::less<>> names_;
    std::array<Finding, kPersonalKinds> findings_;
};

} // namespace portal::eventlog
