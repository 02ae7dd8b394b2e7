#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

// SQLite with owners and errors. A connection and its statements belong to one thread at a time.
namespace portal::report {

class Statement {
public:
    Statement(sqlite3* connection, std::string_view sql);

    // Numbered from 1. The text must live until the next reset().
    Statement& bind(int index, std::int64_t value);
    Statement& bind(int index, std::string_view text);
    Statement& bind(int index, const std::optional<std::int64_t>& value);

    // True when there is a row. Throws ReportError.
    bool step();
    void reset();
    // reset(), step() until done.
    void run();

    // Columns of the row, numbered from 0.
    std::int64_t integer(int column) const;
    bool isNull(int column) const;
    std::string_view text(int column) const; // valid until the next step()

private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

enum class Access { kRead, kWrite };

class Database {
public:
    // The database of runs at `path`. With kWrite it is made when it is missing or empty; an empty path is a private
    // one that goes away with this object and may lie on the disk. Throws ReportError when there is no such file, or it
    // is broken or of another program.
    Database(const std::string& path, Access access);

    sqlite3* connection() const { return connection_.get(); }
    void execute(const std::string& sql);
    Statement prepare(std::string_view sql) { return {connection(), sql}; }

private:
    struct Close {
        void operator()(sqlite3* connection) const;
    };

    std::int64_t pragma(const char* name);
    void makeSchema();
    void checkSchema();

    std::unique_ptr<sqlite3, Close> connection_;
};

// Rolled back unless committed.
class Transaction {
public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit();

private:
    Database& database_;
    bool isOpen_ = true;
};

// True when the file begins as every SQLite database does.
bool isDatabase(std::string_view firstBytes);

} // namespace portal::report
