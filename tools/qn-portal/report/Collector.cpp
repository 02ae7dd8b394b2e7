#include "tools/qn-portal/report/Collector.h"

#include "tools/qn-portal/report/StoredLine.h"

namespace portal::report {

Collector::Collector(const std::string& path) : database_(path, Access::kWrite) {}

std::int64_t Collector::addBody(std::string_view body) {
    const std::lock_guard lock(mutex_);
    try {
        Transaction transaction(database_);
        if (!writer_) {
            writer_.emplace(database_);
        }
        const std::int64_t events = addLines(body);
        transaction.commit();
        return events;
    } catch (...) {
        writer_.reset(); // it remembers texts that are not in the database
        throw;
    }
}

std::int64_t Collector::addLines(std::string_view body) {
    std::int64_t events = 0;
    forEachLine(body, [&](std::string_view line) {
        if (const Event* const event = reader_.read(line)) {
            writer_->builder.add(*event);
            ++events;
        }
    });
    writer_->builder.finish();
    return events;
}

} // namespace portal::report
