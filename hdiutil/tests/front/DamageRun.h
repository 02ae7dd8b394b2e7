#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// Images with one random damage each, attached as `mount` would and read whole; what came of it, counted.
namespace hdi::test {

enum class Damage { kTruncated, kHole, kTrailerByte, kListByte, kDataByte, kTreeByte };
inline constexpr Damage kDamages[] = {Damage::kTruncated, Damage::kHole,     Damage::kTrailerByte,
                                      Damage::kListByte,  Damage::kDataByte, Damage::kTreeByte};
std::string nameOf(Damage damage);

enum class Verdict {
    kRefused,       // nothing was attached
    kReadError,     // EIO for some of the contents, everything else right
    kUnaffected,    // everything right
    kSilentlyWrong, // something was shown that is not so
};
std::string nameOf(Verdict verdict);

// An undamaged image and what is in it.
class DamageSubject {
public:
    // An encrypted image is opened with its password.
    explicit DamageSubject(std::string path, std::string password = {});

    const std::string& path() const { return path_; }
    // Whether a checksum covers its contents.
    bool isChecksummed() const { return checksummed_; }
    // The damage that this seed gives; the same for the same seed.
    std::vector<char> damaged(Damage damage, std::uint64_t seed) const;
    // Attaches and reads a damaged copy, with the check or without.
    Verdict judge(const std::vector<char>& bytes, const std::string& scratchFile, bool verify) const;

private:
    using Contents = std::map<std::string, std::string>; // path to what it is; volumes by their place
    Contents contentsOf(const std::string& path, bool verify, bool& readError) const;

    std::string path_;
    std::string password_;
    std::vector<char> bytes_;
    bool checksummed_ = false;
    Contents contents_;
};

using Counts = std::map<Verdict, unsigned>;

} // namespace hdi::test
