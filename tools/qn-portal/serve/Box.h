#pragma once

#include "tools/portal/Record.h"
#include "tools/qn-portal/report/Collector.h"
#include "tools/qn-portal/serve/LivePage.h"
#include "tools/qn-portal/serve/SampleImage.h"
#include "tools/qn-portal/serve/ServeOptions.h"

#include <memory>
#include <optional>
#include <string>

namespace portal::serve {

// The portal in a box: what a good one answers, put behind the server that can do it wrong; its record, its page and
// its database.
class Box {
public:
    // Can be reached when constructed. Throws std::exception when the port or a file cannot be had.
    explicit Box(const ServeOptions& options);
    Box(const Box&) = delete;
    Box& operator=(const Box&) = delete;

    // The line that tells the addresses, without a line end.
    std::string addressLine() const;

private:
    faults::Answers good(const std::string& base) const;
    void remember(const loopback::Request& request, int status);
    void writeAuthority();

    ServeOptions options_;
    std::unique_ptr<SampleImage> sample_;
    Record record_;
    LivePage page_;
    std::unique_ptr<report::Collector> collector_;
    std::string authorityFile_;
    std::optional<faults::FaultyServer> server_; // last: its threads use the others
};

} // namespace portal::serve
