#include "hdiutil/image/LzfseMatches.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>

namespace hdi::lzfse {

namespace {

constexpr unsigned kHashBits = 15;
constexpr std::size_t kWays = 4;
constexpr std::size_t kMinLength = 4;
// A match of this length is taken without a look at the next position.
constexpr std::size_t kGoodLength = 40;

using Way = std::array<std::uint32_t, kWays>;
using Table = std::array<Way, std::size_t{1} << kHashBits>;

struct Found {
    std::size_t at = 0;
    std::size_t length = 0;
    std::size_t distance = 0;
};

class Finder {
public:
    explicit Finder(std::span<const std::byte> raw) : raw_(raw), table_(std::make_unique<Table>()) {
        table_->fill(Way{kNowhere, kNowhere, kNowhere, kNowhere});
    }

    std::vector<Match> run() {
        std::size_t at = 0;
        while (at + kWord <= raw_.size()) {
            Found best = search(at);
            if (best.length == 0) {
                at += 1 + (at - literalsFrom_) / kHurry;
                continue;
            }
            if (best.length < kGoodLength && at + 1 + kWord <= raw_.size()) {
                const Found next = search(at + 1);
                best = next.length > best.length ? next : best;
            }
            take(extendBack(best));
            at = literalsFrom_;
        }
        takeLiterals(raw_.size());
        return std::move(matches_);
    }

private:
    static constexpr std::uint32_t kNowhere = UINT32_MAX;
    static constexpr std::size_t kWord = 8;
    // So many literals without a match, and every second position is left out, and so on.
    static constexpr std::size_t kHurry = 128;

    std::uint64_t word(std::size_t at) const {
        std::uint64_t value = 0;
        std::memcpy(&value, raw_.data() + at, sizeof(value));
        return value;
    }

    std::size_t commonLength(std::size_t a, std::size_t b) const {
        std::size_t length = 0;
        for (; b + length + kWord <= raw_.size(); length += kWord) {
            const std::uint64_t difference = word(a + length) ^ word(b + length);
            if (difference != 0) {
                return length + static_cast<std::size_t>(std::countr_zero(difference)) / 8;
            }
        }
        while (b + length < raw_.size() && raw_[a + length] == raw_[b + length]) {
            ++length;
        }
        return length;
    }

    // The longest match at a position, which is remembered for later ones.
    Found search(std::size_t at) {
        const auto prefix = static_cast<std::uint32_t>(word(at));
        Way& way = (*table_)[prefix * 2654435761U >> (32 - kHashBits)];
        Found best;
        for (const std::uint32_t candidate : way) {
            if (candidate == kNowhere || at - candidate > kMaxDistance || candidate == at ||
                static_cast<std::uint32_t>(word(candidate)) != prefix) {
                continue;
            }
            const std::size_t length = commonLength(candidate, at);
            if (length > best.length) {
                best = {at, length, at - candidate};
            }
        }
        remember(way, at);
        return best.length >= kMinLength ? best : Found{};
    }

    static void remember(Way& way, std::size_t at) {
        if (way[0] != at) {
            std::copy_backward(way.begin(), way.end() - 1, way.end());
            way[0] = static_cast<std::uint32_t>(at);
        }
    }

    Found extendBack(Found found) const {
        while (found.at > literalsFrom_ && found.at > found.distance &&
               raw_[found.at - 1] == raw_[found.at - 1 - found.distance]) {
            --found.at;
            ++found.length;
        }
        return found;
    }

    // Puts literals up to `end` out, but for the last few that go with the next match.
    std::uint32_t splitLiterals(std::size_t end) {
        while (end - literalsFrom_ > kMaxRun) {
            matches_.push_back({kMaxRun, 0, 1});
            literalsFrom_ += kMaxRun;
        }
        return static_cast<std::uint32_t>(end - literalsFrom_);
    }

    void takeLiterals(std::size_t end) {
        const std::uint32_t rest = splitLiterals(end);
        if (rest > 0) {
            matches_.push_back({rest, 0, 1});
        }
        literalsFrom_ = end;
    }

    void take(const Found& found) {
        std::uint32_t literals = splitLiterals(found.at);
        for (std::size_t left = found.length; left > 0;) {
            const std::size_t length = std::min<std::size_t>(left, kMaxLength);
            matches_.push_back(
                {literals, static_cast<std::uint32_t>(length), static_cast<std::uint32_t>(found.distance)});
            literals = 0;
            left -= length;
        }
        literalsFrom_ = found.at + found.length;
        rememberInside(found);
    }

    // A few positions within the match, so that later text can refer to it.
    void rememberInside(const Found& found) {
        const std::size_t step = 1 + found.length / 64;
        for (std::size_t at = found.at + 2; at < literalsFrom_ && at + kWord <= raw_.size(); at += step) {
            remember((*table_)[static_cast<std::uint32_t>(word(at)) * 2654435761U >> (32 - kHashBits)], at);
        }
    }

    std::span<const std::byte> raw_;
    std::unique_ptr<Table> table_;
    std::vector<Match> matches_;
    std::size_t literalsFrom_ = 0; // what has not been put out begins here
};

} // namespace

std::vector<Match> findMatches(std::span<const std::byte> raw) {
    return Finder(raw).run();
}

} // namespace hdi::lzfse
