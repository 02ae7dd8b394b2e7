#include "tools/qn-portal/log/PersonalData.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <optional>
#include <vector>

namespace portal::eventlog {

namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::size_t kMostNames = 100;
constexpr std::size_t kMostValues = 20;
constexpr std::string_view kMask = "****"; // as the logger masks the login name of whoever ran it

bool isLetterOrDigit(char c) {
    // A byte of a character beyond ASCII belongs to a word.
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c & 0x80) != 0;
}

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// A bracket or an apostrophe may belong to an address: rather a character too much than half a query left.
bool endsAddress(char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == '"' || c == '<' || c == '>';
}

bool isOneOf(std::string_view characters, char c) {
    return characters.find(c) != kNone;
}

// Where the run of characters that `belongs` accepts ends.
template <typename Belongs>
std::size_t endOfRun(std::string_view text, std::size_t from, Belongs belongs) {
    while (from < text.size() && belongs(text[from])) {
        ++from;
    }
    return from;
}

template <typename Belongs>
std::size_t beginOfRun(std::string_view text, std::size_t end, Belongs belongs) {
    while (end > 0 && belongs(text[end - 1])) {
        --end;
    }
    return end;
}

std::vector<std::string_view> partsOf(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == kNone) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

bool areHex(const std::vector<std::string_view>& parts, std::initializer_list<std::size_t> sizes) {
    return std::ranges::equal(parts, sizes, [](std::string_view part, std::size_t size) {
        return part.size() == size && std::ranges::all_of(part, isHexDigit);
    });
}

bool isNetworkAddress(std::string_view token) {
    const auto numbers = partsOf(token, '.');
    const bool isDotted = numbers.size() == 4 && std::ranges::all_of(numbers, [](std::string_view part) {
                              return !part.empty() && part.size() <= 3 &&
                                     part.find_first_not_of("0123456789") == kNone &&
                                     std::stoi(std::string(part)) <= 255;
                          });
    if (isDotted) {
        return numbers[0] != "127" && token != "0.0.0.0";
    }
    const auto groups = partsOf(token, ':');
    const bool isLong = groups.size() == 8 || (groups.size() >= 4 && token.find("::") != kNone);
    return isLong && std::ranges::all_of(groups, [](std::string_view group) {
               return group.size() <= 4 && std::ranges::all_of(group, isHexDigit);
           });
}

std::optional<Personal> kindOfToken(std::string_view token) {
    if (areHex(partsOf(token, '-'), {8, 4, 4, 4, 12})) {
        return Personal::kIdentifier;
    }
    if (areHex(partsOf(token, ':'), {2, 2, 2, 2, 2, 2}) || areHex(partsOf(token, '-'), {2, 2, 2, 2, 2, 2})) {
        return Personal::kHardwareAddress;
    }
    if (isNetworkAddress(token)) {
        return Personal::kNetworkAddress;
    }
    return token.size() > 6 && token.ends_with(".local") ? std::optional(Personal::kComputerName) : std::nullopt;
}

// The next address: where its host begins (credentials included) and ends; none when there is none. In JSON a slash may
// have a backslash before it.
struct Address {
    std::size_t host = kNone;
    std::size_t hostEnd = kNone;
};

Address addressIn(std::string_view text, std::size_t from) {
    for (std::size_t colon = text.find(':', from); colon != kNone; colon = text.find(':', colon + 1)) {
        std::size_t at = colon + 1;
        int slashes = 0;
        while (slashes < 2 && at < text.size() && isOneOf("/\\", text[at])) {
            slashes += text[at] == '/' ? 1 : 0;
            ++at;
        }
        if (slashes == 2 && colon > 0 && isLetterOrDigit(text[colon - 1])) {
            return {at, endOfRun(text, at, [](char c) { return !isOneOf("/\\?#", c) && !endsAddress(c); })};
        }
    }
    return {};
}

// In JSON a quote or a line end behind an address has a backslash before it.
std::size_t endOfQuery(std::string_view text, std::size_t from) {
    std::size_t end = from;
    while (end < text.size() && !endsAddress(text[end])) {
        if (text[end] == '\\' && end + 1 < text.size() && isOneOf("\"nrt", text[end + 1])) {
            break;
        }
        ++end;
    }
    return end;
}

// The home folders' parents, on every system that a path in a log can come from.
constexpr std::array<std::string_view, 3> kHomes{"/Users/", "/home/", "\\Users\\"};

// A name in a home folder's path: its place and size.
struct HomeName {
    std::size_t from = kNone;
    std::size_t size = 0;
};

HomeName homeNameIn(std::string_view text, std::size_t from) {
    HomeName found;
    for (const std::string_view home : kHomes) {
        std::size_t at = text.find(home, from);
        while (at != kNone && at < found.from) {
            const std::size_t name = at + home.size();
            const std::size_t end =
                endOfRun(text, name, [](char c) { return !isOneOf("/\\:;,'()[]{}", c) && !endsAddress(c); });
            const std::string_view value = text.substr(name, end - name);
            // /home/ is a home folders' parent at the root only; /Users/ is one on other volumes, too.
            const bool isParent = home != "/home/" || at == 0 || !isLetterOrDigit(text[at - 1]);
            if (isParent && !value.empty() && value != kMask && value != "Shared") {
                found = {name, value.size()};
                break;
            }
            at = text.find(home, name);
        }
    }
    return found;
}

} // namespace

// The next thing to take out, and what stands there instead; none when `from` is.
struct PersonalData::Found {
    std::size_t from = kNone;
    std::size_t size = 0;
    Personal kind = Personal::kLoginName;
    std::string instead;
};

PersonalData::PersonalData() : salt_(16, '\0') {
    RAND_bytes(reinterpret_cast<unsigned char*>(salt_.data()), static_cast<int>(salt_.size()));
    forget();
}

void PersonalData::forget() {
    findings_ = {Finding{"login names", 0, {}},
                 Finding{"queries of addresses", 0, {}},
                 Finding{"credentials in addresses", 0, {}},
                 Finding{"identifiers (hashed)", 0, {}},
                 Finding{"mail addresses", 0, {}},
                 Finding{"hardware addresses", 0, {}},
                 Finding{"network addresses", 0, {}},
                 Finding{"computer names", 0, {}},
                 Finding{"a user's temporary folders", 0, {}}};
}

void PersonalData::learn(std::string_view text) {
    for (HomeName name = homeNameIn(text, 0); name.from != kNone; name = homeNameIn(text, name.from + name.size)) {
        if (names_.size() < kMostNames) {
            names_.emplace(text.substr(name.from, name.size));
        }
    }
}

std::string PersonalData::cleaned(std::string_view text) {
    std::string result(text);
    // Addresses first: what is left of them is looked through again.
    for (const Find find :
         {&PersonalData::findCredentials, &PersonalData::findQuery, &PersonalData::findMail, &PersonalData::findHome,
          &PersonalData::findName, &PersonalData::findUserFolder, &PersonalData::findToken}) {
        result = replaced(result, find);
    }
    return result;
}

std::string PersonalData::cleanedIdentifier(std::string_view identifier) {
    if (identifier.empty() || identifier == "(null)") {
        return std::string(identifier);
    }
    note(Personal::kIdentifier, identifier);
    return digestOf(identifier);
}

std::string PersonalData::replaced(std::string_view text, Find find) {
    std::string result;
    std::size_t at = 0;
    for (Found found = (this->*find)(text, at); found.from != kNone; found = (this->*find)(text, at)) {
        note(found.kind, text.substr(found.from, found.size));
        result.append(text.substr(at, found.from - at)).append(found.instead);
        at = found.from + found.size;
    }
    return result.append(text.substr(at));
}

void PersonalData::note(Personal kind, std::string_view value) {
    Finding& finding = findings_[static_cast<std::size_t>(kind)];
    ++finding.count;
    if (finding.values.size() < kMostValues) {
        finding.values.emplace(value);
    }
}

// In the form of an identifier, so that it reads as one.
std::string PersonalData::digestOf(std::string_view text) const {
    const std::string salted = salt_ + std::string(text);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    EVP_Digest(salted.data(), salted.size(), digest.data(), nullptr, EVP_sha256(), nullptr);
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string hex;
    for (std::size_t i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            hex += '-';
        }
        (hex += kDigits[digest[i] >> 4U]) += kDigits[digest[i] & 0xFU];
    }
    return hex;
}

PersonalData::Found PersonalData::findCredentials(std::string_view text, std::size_t from) const {
    for (Address address = addressIn(text, from); address.host != kNone; address = addressIn(text, address.host)) {
        const std::size_t sign = text.substr(0, address.hostEnd).rfind('@');
        if (sign != kNone && sign >= address.host) {
            return {address.host, sign + 1 - address.host, Personal::kCredentials, ""};
        }
    }
    return {};
}

PersonalData::Found PersonalData::findQuery(std::string_view text, std::size_t from) const {
    for (Address address = addressIn(text, from); address.host != kNone; address = addressIn(text, address.host)) {
        const std::size_t query =
            endOfRun(text, address.hostEnd, [](char c) { return !isOneOf("?#", c) && !endsAddress(c); });
        if (query < text.size() && isOneOf("?#", text[query])) {
            return {query, endOfQuery(text, query) - query, Personal::kQuery, ""};
        }
    }
    return {};
}

PersonalData::Found PersonalData::findHome(std::string_view text, std::size_t from) const {
    const HomeName name = homeNameIn(text, from);
    return {name.from, name.size, Personal::kLoginName, std::string(kMask)};
}

// A learned name that stands as a word. Short ones would be found in everything.
PersonalData::Found PersonalData::findName(std::string_view text, std::size_t from) const {
    constexpr std::size_t kShortest = 3;
    Found found;
    for (const std::string& name : names_) {
        for (std::size_t at = text.find(name, from); at < found.from; at = text.find(name, at + 1)) {
            const bool isWord = (at == 0 || !isLetterOrDigit(text[at - 1])) &&
                                (at + name.size() == text.size() || !isLetterOrDigit(text[at + name.size()]));
            if (isWord && name.size() >= kShortest) {
                found = {at, name.size(), Personal::kLoginName, std::string(kMask)};
                break;
            }
        }
    }
    return found;
}

// macOS gives each user a temporary folder with a name made of who they are: /var/folders/xx/yyyy/.
PersonalData::Found PersonalData::findUserFolder(std::string_view text, std::size_t from) const {
    constexpr std::string_view kFolders = "/var/folders/";
    const std::size_t at = text.find(kFolders, from);
    if (at == kNone) {
        return {};
    }
    const auto belongs = [](char c) { return isLetterOrDigit(c) || c == '_' || c == '+'; };
    const std::size_t first = at + kFolders.size();
    std::size_t end = endOfRun(text, first, belongs);
    if (end < text.size() && text[end] == '/') {
        end = endOfRun(text, end + 1, belongs);
    }
    return {first, end - first, Personal::kUserFolder, std::string(kMask)};
}

PersonalData::Found PersonalData::findMail(std::string_view text, std::size_t from) const {
    for (std::size_t sign = text.find('@', from); sign != kNone; sign = text.find('@', sign + 1)) {
        const std::size_t begin =
            beginOfRun(text, sign, [](char c) { return isLetterOrDigit(c) || isOneOf("._%+-", c); });
        std::size_t end = endOfRun(text, sign + 1, [](char c) { return isLetterOrDigit(c) || isOneOf(".-", c); });
        end = beginOfRun(text, end, [](char c) { return c == '.'; });
        if (begin >= from && begin < sign && text.substr(sign, end - sign).find('.') < end - sign) {
            return {begin, end - begin, Personal::kMailAddress, "[mail address]"};
        }
    }
    return {};
}

// Words of letters, digits, dots, colons and dashes that have a telling form; not the hosts of addresses.
PersonalData::Found PersonalData::findToken(std::string_view text, std::size_t from) const {
    const auto belongs = [](char c) { return isLetterOrDigit(c) || isOneOf(".:-", c); };
    for (std::size_t at = from; at < text.size();) {
        if (!belongs(text[at])) {
            ++at;
            continue;
        }
        const std::size_t end = endOfRun(text, at, belongs);
        const std::size_t last = beginOfRun(text, end, [](char c) { return isOneOf(".:-", c); });
        std::string_view token = text.substr(at, last > at ? last - at : 0);
        if (token.find('.') < token.find(':')) {
            token = token.substr(0, token.find(':')); // a port behind it
        }
        const bool isHost = at >= 2 && text.substr(at - 2, 2) == "//";
        const auto kind = isHost ? std::nullopt : kindOfToken(token);
        if (kind) {
            const bool isIdentifier = *kind == Personal::kIdentifier;
            return {at, token.size(), *kind, isIdentifier ? digestOf(token) : "[removed]"};
        }
        at = end;
    }
    return {};
}

} // namespace portal::eventlog
