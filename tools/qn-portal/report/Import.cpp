#include "tools/qn-portal/report/Import.h"

#include "base/Descriptor.h"
#include "tools/qn-portal/report/EventLine.h"
#include "tools/qn-portal/report/ReportError.h"
#include "tools/qn-portal/report/RunBuilder.h"
#include "tools/qn-portal/report/StoredLine.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace portal::report {

namespace {

constexpr std::size_t kBlock = 1U << 20U;
constexpr std::size_t kLongestLine = 4U << 20U; // a body is a few kilobytes; what is longer is passed over

class Input {
public:
    explicit Input(const std::string& path)
        : path_(path), file_(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        if (!file_) {
            fail();
        }
    }

    // 0 at the end.
    std::size_t read(char* bytes, std::size_t size, const std::atomic<bool>& isCancelled) const {
        for (;;) {
            const ssize_t count = ::read(file_.get(), bytes, size);
            if (isCancelled) {
                throw Interrupted("the import was ended; the database is as it was before");
            }
            if (count >= 0) {
                return static_cast<std::size_t>(count);
            }
            if (errno != EINTR) {
                fail();
            }
        }
    }

private:
    [[noreturn]] void fail() const { throw ReportError(path_ + " cannot be read: " + std::strerror(errno)); }

    std::string path_;
    base::Descriptor file_;
};

// Cuts a stream of bytes into lines. A line beyond the limit is counted and left out.
class LineCutter {
public:
    template <typename Take>
    void add(std::string_view block, const Take& take) {
        while (!block.empty()) {
            const auto* const end = static_cast<const char*>(std::memchr(block.data(), '\n', block.size()));
            const std::size_t size = end == nullptr ? block.size() : static_cast<std::size_t>(end - block.data());
            if (end != nullptr && rest_.empty() && !isTooLong_) {
                take(block.substr(0, size));
            } else {
                keep(block.substr(0, size));
                if (end != nullptr) {
                    finish(take);
                }
            }
            block.remove_prefix(std::min(size + 1, block.size()));
        }
    }

    template <typename Take>
    void finish(const Take& take) {
        if (isTooLong_) {
            ++tooLong_;
        } else if (!rest_.empty()) {
            take(std::string_view(rest_));
        }
        rest_.clear();
        isTooLong_ = false;
    }

    std::int64_t tooLong() const { return tooLong_; }

private:
    void keep(std::string_view piece) {
        isTooLong_ = isTooLong_ || rest_.size() + piece.size() > kLongestLine;
        if (isTooLong_) {
            rest_.clear();
        } else {
            rest_ += piece;
        }
    }

    std::string rest_;
    bool isTooLong_ = false;
    std::int64_t tooLong_ = 0;
};

class Importer {
public:
    Importer(Database& database, const std::atomic<bool>& isCancelled)
        : isCancelled_(isCancelled), store_(database), builder_(store_) {}

    void addFile(const std::string& path) {
        const Input input(path);
        const std::int64_t linesBefore = result_.lines;
        std::string block(kBlock, '\0');
        bool isEmpty = true;
        LineCutter cutter;
        while (const std::size_t count = input.read(block.data(), block.size(), isCancelled_)) {
            isEmpty = false;
            cutter.add(std::string_view(block).substr(0, count), [&](std::string_view line) { addStored(line); });
        }
        cutter.finish([&](std::string_view line) { addStored(line); });
        result_.passed += cutter.tooLong();
        if (!isEmpty && result_.lines == linesBefore) {
            throw ReportError(path + " holds no analytics lines");
        }
    }

    ImportResult finish() {
        builder_.finish();
        result_.added = builder_.added();
        result_.known = builder_.known();
        return result_;
    }

private:
    bool addLine(std::string_view line) {
        const Event* const event = reader_.read(line);
        if (event == nullptr) {
            return false;
        }
        builder_.add(*event);
        ++result_.lines;
        return true;
    }

    void addStored(std::string_view stored) {
        if (stored.ends_with('\r')) {
            stored.remove_suffix(1);
        }
        if (stored.empty() || addLine(stored)) {
            return;
        }
        bool isOurs = false;
        forEachLine(bodyIn(stored), [&](std::string_view line) { isOurs = addLine(line) || isOurs; });
        result_.passed += isOurs ? 0 : 1;
    }

    const std::atomic<bool>& isCancelled_;
    RunStore store_;
    RunBuilder builder_;
    EventReader reader_;
    ImportResult result_;
};

} // namespace

ImportResult importFiles(Database& database, const std::vector<std::string>& paths,
                         const std::atomic<bool>& isCancelled) {
    Transaction transaction(database);
    Importer importer(database, isCancelled);
    for (const std::string& path : paths) {
        importer.addFile(path);
    }
    const ImportResult result = importer.finish();
    transaction.commit();
    return result;
}

} // namespace portal::report
