#pragma once

#include "tools/qn-portal/report/Database.h"
#include "tools/qn-portal/report/EventLine.h"
#include "tools/qn-portal/report/RunBuilder.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace portal::report {

// Keeps what is posted to an analytics endpoint. Any thread.
class Collector {
public:
    // Makes the database when it is missing. Throws ReportError.
    explicit Collector(const std::string& path);

    // The body of one request: lines of one run, joined by CR LF. They are on the disk when this returns, all or none.
    // Gives how many of its lines were events; what is none is passed over. Throws ReportError.
    std::int64_t addBody(std::string_view body);

private:
    struct Writer {
        explicit Writer(Database& database) : store(database), builder(store) {}
        RunStore store;
        RunBuilder builder;
    };

    std::int64_t addLines(std::string_view body);

    std::mutex mutex_;
    Database database_;
    EventReader reader_;
    std::optional<Writer> writer_; // made anew after a transaction that was rolled back
};

} // namespace portal::report
