#include "tools/qn-portal/log/Archive.h"

#include "tools/qn-portal/log/LogError.h"

#include <archive.h>
#include <archive_entry.h>

#include <cstring>
#include <ctime>

namespace portal::eventlog {

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& why) {
    throw LogError(path + " cannot be written: " + why);
}

[[noreturn]] void fail(const std::string& path, archive* writer) {
    const int error = archive_errno(writer);
    const char* const text = archive_error_string(writer);
    fail(path, error > 0 ? std::strerror(error) : text == nullptr ? "the archive is refused" : text);
}

} // namespace

void Archive::Free::operator()(archive* writer) const {
    archive_write_free(writer);
}

Archive::Archive(std::string path) : path_(std::move(path)), file_(path_), writer_(archive_write_new()) {
    check(archive_write_set_format_zip(writer_.get()));
    check(archive_write_open_fd(writer_.get(), file_.descriptor()));
}

void Archive::begin(const std::string& name, std::int64_t size) {
    constexpr mode_t kMode = 0644;
    const std::unique_ptr<archive_entry, decltype(&archive_entry_free)> entry(archive_entry_new(), archive_entry_free);
    archive_entry_set_pathname(entry.get(), name.c_str());
    archive_entry_set_size(entry.get(), size);
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), kMode);
    archive_entry_set_mtime(entry.get(), std::time(nullptr), 0);
    check(archive_write_header(writer_.get(), entry.get()));
}

void Archive::add(std::string_view bytes) {
    const la_ssize_t count = archive_write_data(writer_.get(), bytes.data(), bytes.size());
    if (count != static_cast<la_ssize_t>(bytes.size())) {
        count < 0 ? fail(path_, writer_.get()) : fail(path_, "the log became longer meanwhile");
    }
}

void Archive::finish() {
    check(archive_write_close(writer_.get()));
    file_.publish();
}

void Archive::check(int status) {
    if (status != ARCHIVE_OK) {
        fail(path_, writer_.get());
    }
}

} // namespace portal::eventlog
