#include "tools/qn-portal/check/Spelling.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace portal::check {

namespace {

// How many letters must be put in, taken out, replaced or swapped with their neighbour (V. Levenshtein, F. Damerau).
int distance(const QString& from, const QString& to) {
    const auto width = static_cast<std::size_t>(to.size()) + 1;
    std::vector<int> before(width);
    std::vector<int> last(width);
    std::vector<int> row(width);
    std::iota(last.begin(), last.end(), 0);
    for (qsizetype i = 0; i < from.size(); ++i) {
        row[0] = static_cast<int>(i) + 1;
        for (qsizetype j = 0; j < to.size(); ++j) {
            const auto at = static_cast<std::size_t>(j);
            row[at + 1] = std::min({row[at] + 1, last[at + 1] + 1, last[at] + (from[i] == to[j] ? 0 : 1)});
            if (i > 0 && j > 0 && from[i] == to[j - 1] && from[i - 1] == to[j]) {
                row[at + 1] = std::min(row[at + 1], before[at - 1] + 1);
            }
        }
        before.swap(last);
        last.swap(row);
    }
    return last.back();
}

} // namespace

std::optional<QString> nearestWord(const QString& written, const QStringList& known) {
    std::optional<QString> nearest;
    int least = 1000;
    for (const QString& word : known) {
        if (word == written) {
            return std::nullopt;
        }
        const int letters = distance(written.toLower(), word.toLower());
        const int allowed = std::max(1, static_cast<int>(word.size()) / 5);
        if (letters <= allowed && letters < least) {
            least = letters;
            nearest = word;
        }
    }
    return nearest;
}

} // namespace portal::check
