#pragma once

#include "tools/qn-portal/report/EventLine.h"
#include "tools/qn-portal/report/RunStore.h"

#include <cstdint>
#include <list>
#include <unordered_map>

namespace portal::report {

// Puts events together to runs and hands each run to the store as soon as it has ended. Events of one run come in
// order; runs of different identifiers may be mixed. Runs that one identifier starts within a second are told apart by
// their order, so that the same lines read again give the same runs. At most 100,000 runs are open: beyond, the oldest
// one counts as left without an end.
class RunBuilder {
public:
    explicit RunBuilder(RunStore& store) : store_(store) {}

    void add(const Event& event);

    // Hands over the runs that are still open.
    void finish();

    std::int64_t added() const { return added_; }
    std::int64_t known() const { return known_; } // runs that the database had already

private:
    using OpenRuns = std::list<Run>;

    Run& runOf(const Event& event);
    std::int64_t identityOf(const Event& event);
    void endRun(OpenRuns::iterator run);
    void describe(Run& run, const Event& event);
    void judge(Run& run, const Event& event);

    RunStore& store_;
    OpenRuns open_; // oldest first
    std::unordered_map<std::int64_t, OpenRuns::iterator> byClient_;
    std::unordered_map<std::int64_t, std::uint64_t> sameSecond_; // runs met lately, by identifier and second
    std::string system_;                                         // kept for its memory
    std::int64_t added_ = 0;
    std::int64_t known_ = 0;
};

} // namespace portal::report
