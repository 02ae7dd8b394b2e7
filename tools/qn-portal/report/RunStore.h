#pragma once

#include "tools/qn-portal/report/Database.h"
#include "tools/qn-portal/report/Run.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace portal::report {

// Writes runs into a database. Belongs into a transaction; what it remembers of texts is wrong once one was rolled
// back.
class RunStore {
public:
    explicit RunStore(Database& database);

    // The number of a text, which is kept from now on. What is no UTF-8 becomes U+FFFD, and a long text is cut.
    TextId textId(std::string_view text);

    // Nothing changes when the database knows the run with as many lines; with fewer, this one takes its place.
    // True when the run was not known.
    bool add(const Run& run);

private:
    struct Hash : std::hash<std::string_view> {
        using is_transparent = void; // NOLINT(readability-identifier-naming): the standard's own name
    };

    TextId newTextId(std::string_view text);
    bool replace(const Run& run);
    void addFailures(std::int64_t id, const Run& run);

    Database& database_;
    Statement insertText_;
    Statement findText_;
    Statement insertRun_;
    Statement findRun_;
    Statement deleteRun_;
    Statement deleteFailures_;
    Statement insertFailure_;
    std::unordered_map<std::string, TextId, Hash, std::equal_to<>> texts_; // the ones met lately
};

} // namespace portal::report
