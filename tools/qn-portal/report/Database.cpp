#include "tools/qn-portal/report/Database.h"

#include "tools/qn-portal/report/ReportError.h"
#include "tools/qn-portal/report/Schema.h"

#include <sqlite3.h>

namespace portal::report {

namespace {

constexpr int kBusyMilliseconds = 10'000; // a collector's transaction takes milliseconds, an import seconds

[[noreturn]] void fail(sqlite3* connection) {
    throw ReportError(std::string("the database says: ") + sqlite3_errmsg(connection));
}

void check(sqlite3* connection, int status) {
    if (status != SQLITE_OK) {
        fail(connection);
    }
}

} // namespace

void Statement::Finalize::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

Statement::Statement(sqlite3* connection, std::string_view sql) {
    sqlite3_stmt* statement = nullptr;
    check(connection, sqlite3_prepare_v3(connection, sql.data(), static_cast<int>(sql.size()),
                                         SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
    statement_.reset(statement);
}

Statement& Statement::bind(int index, std::int64_t value) {
    check(sqlite3_db_handle(statement_.get()), sqlite3_bind_int64(statement_.get(), index, value));
    return *this;
}

Statement& Statement::bind(int index, std::string_view text) {
    check(sqlite3_db_handle(statement_.get()),
          sqlite3_bind_text64(statement_.get(), index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
    return *this;
}

Statement& Statement::bind(int index, const std::optional<std::int64_t>& value) {
    if (value) {
        return bind(index, *value);
    }
    check(sqlite3_db_handle(statement_.get()), sqlite3_bind_null(statement_.get(), index));
    return *this;
}

bool Statement::step() {
    const int status = sqlite3_step(statement_.get());
    if (status != SQLITE_ROW && status != SQLITE_DONE) {
        fail(sqlite3_db_handle(statement_.get()));
    }
    return status == SQLITE_ROW;
}

void Statement::reset() {
    sqlite3_reset(statement_.get()); // tells the error of the last step() again
}

void Statement::run() {
    while (step()) {
    }
    reset();
}

std::int64_t Statement::integer(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
}

bool Statement::isNull(int column) const {
    return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

std::string_view Statement::text(int column) const {
    const unsigned char* const bytes = sqlite3_column_text(statement_.get(), column);
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column));
    return bytes == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(bytes), size);
}

void Database::Close::operator()(sqlite3* connection) const {
    sqlite3_close(connection);
}

Database::Database(const std::string& path, Access access) {
    // For reading, too: a transaction that was killed is rolled back by whoever comes next. Where the file or its
    // folder is read-only, SQLite reads without.
    const int flags = SQLITE_OPEN_READWRITE | (access == Access::kRead ? 0 : SQLITE_OPEN_CREATE);
    sqlite3* connection = nullptr;
    const int status = sqlite3_open_v2(path.c_str(), &connection, flags, nullptr);
    connection_.reset(connection);
    if (status != SQLITE_OK) {
        throw ReportError(path + " cannot be opened: " + sqlite3_errmsg(connection));
    }
    sqlite3_busy_timeout(connection, kBusyMilliseconds);
    try {
        if (access == Access::kWrite && pragma("page_count") == 0) {
            makeSchema();
        }
        checkSchema();
    } catch (const ReportError& error) {
        throw ReportError(path + ": " + error.what());
    }
    // The texts' and identities' trees are touched everywhere while runs are added.
    execute("PRAGMA cache_size = -65536; PRAGMA temp_store = FILE");
}

void Database::execute(const std::string& sql) {
    check(connection(), sqlite3_exec(connection(), sql.c_str(), nullptr, nullptr, nullptr));
}

std::int64_t Database::pragma(const char* name) {
    Statement statement = prepare(std::string("PRAGMA ") + name);
    return statement.step() ? statement.integer(0) : 0;
}

void Database::makeSchema() {
    // Immediate: of two that find no schema, the second one waits, and then finds it.
    execute("BEGIN IMMEDIATE");
    if (pragma("page_count") == 0 || pragma("user_version") == 0) {
        execute(kSchema);
        execute("PRAGMA application_id = " + std::to_string(kApplicationId) +
                "; PRAGMA user_version = " + std::to_string(kSchemaVersion));
    }
    execute("COMMIT");
}

void Database::checkSchema() {
    if (pragma("application_id") != kApplicationId) {
        throw ReportError("this is a database, but not one of runs");
    }
    if (const auto version = pragma("user_version"); version != kSchemaVersion) {
        throw ReportError("this database has version " + std::to_string(version) + ", and this program reads version " +
                          std::to_string(kSchemaVersion));
    }
}

Transaction::Transaction(Database& database) : database_(database) {
    database_.execute("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    if (isOpen_) {
        // The disk may be full: SQLite then has rolled back by itself, and says so here.
        sqlite3_exec(database_.connection(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void Transaction::commit() {
    database_.execute("COMMIT");
    isOpen_ = false;
}

bool isDatabase(std::string_view firstBytes) {
    return firstBytes.starts_with(std::string_view("SQLite format 3\0", 16));
}

} // namespace portal::report
