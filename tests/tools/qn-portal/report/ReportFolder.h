#pragma once

#include "tools/qn-portal/report/Figures.h"
#include "tools/qn-portal/report/Import.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace test {

// A folder of one test case, deleted with it.
class ReportFolder {
public:
    ReportFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "report-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    ~ReportFolder() { std::filesystem::remove_all(path_); }
    ReportFolder(const ReportFolder&) = delete;
    ReportFolder& operator=(const ReportFolder&) = delete;

    std::string path(const std::string& name) const { return path_ + "/" + name; }
    std::string write(const std::string& name, const std::string& contents) const {
        std::ofstream(path(name), std::ios::binary) << contents;
        return path(name);
    }

    // The figures of a file with this text, through a database of its own.
    portal::report::Figures figuresOf(const std::string& lines) const {
        portal::report::Database database("", portal::report::Access::kWrite);
        portal::report::importFiles(database, {write("lines", lines)}, isCancelled_);
        return portal::report::figuresOf(database, {});
    }

    // Adds a file with this text to the database called `name`.
    portal::report::ImportResult import(const std::string& name, const std::string& lines) const {
        portal::report::Database database(path(name), portal::report::Access::kWrite);
        return portal::report::importFiles(database, {write("lines", lines)}, isCancelled_);
    }

private:
    std::string path_;
    std::atomic<bool> isCancelled_{false};
};

// "2026-11-01T10:00:SSZ ci=IDENTIFIER {"APP":"Kit","EVT":"NAME"MORE}" and a line end.
inline std::string line(int second, const std::string& identifier, const std::string& name,
                        const std::string& more = "") {
    const std::string seconds = (second < 10 ? "0" : "") + std::to_string(second);
    return "2026-11-01T10:00:" + seconds + "Z ci=" + identifier + R"( {"APP":"Kit","EVT":")" + name + "\"" + more +
           "}\r\n";
}

inline const std::string kPass = R"(,"RSLT":"PASS")";
inline const std::string kFail = R"(,"RSLT":"FAIL","RSN":"Configuration error")";

// All lines of a run without a failure.
inline std::string goodRun(const std::string& identifier) {
    return line(0, identifier, "Start") + line(1, identifier, "Config", kPass) +
           line(2, identifier, "Download", kPass) + line(3, identifier, "End");
}

} // namespace test
