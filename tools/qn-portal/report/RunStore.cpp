#include "tools/qn-portal/report/RunStore.h"

#include <nlohmann/json.hpp>

#include <sqlite3.h>

namespace portal::report {

namespace {

constexpr std::size_t kLongestText = 400;        // bytes; reasons carry descriptions of errors, with addresses in them
constexpr std::size_t kRememberedTexts = 20'000; // at most 8 MB of them

// Valid UTF-8, cut between characters.
std::string cleanText(std::string_view text) {
    std::size_t size = std::min(text.size(), kLongestText);
    while (size < text.size() && size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80U) {
        --size;
    }
    const std::string cut(text.substr(0, size));
    const std::string written = nlohmann::json(cut).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return nlohmann::json::parse(written).get<std::string>();
}

} // namespace

RunStore::RunStore(Database& database)
    : database_(database), insertText_(database.prepare("INSERT INTO text (value) VALUES (?1)")),
      findText_(database.prepare("SELECT id FROM text WHERE value = ?1")),
      insertRun_(database.prepare(
          "INSERT INTO run (identity, client, lines, first_time, last_time, ended, started, configured, downloaded, "
          "finished, product, version, country, language, system, processor, config_ms, download_ms) "
          "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, ?17, ?18) "
          "ON CONFLICT (identity) DO NOTHING")),
      findRun_(database.prepare("SELECT id, lines FROM run WHERE identity = ?1")),
      deleteRun_(database.prepare("DELETE FROM run WHERE id = ?1")),
      deleteFailures_(database.prepare("DELETE FROM failure WHERE run = ?1")),
      insertFailure_(database.prepare("INSERT INTO failure (run, number, event, reason) VALUES (?1, ?2, ?3, ?4)")) {}

TextId RunStore::textId(std::string_view text) {
    const auto known = texts_.find(text);
    return known != texts_.end() ? known->second : newTextId(text);
}

TextId RunStore::newTextId(std::string_view text) {
    const std::string clean = cleanText(text);
    findText_.bind(1, clean);
    TextId id = findText_.step() ? findText_.integer(0) : 0;
    findText_.reset();
    if (id == 0) {
        insertText_.bind(1, clean).run();
        id = sqlite3_last_insert_rowid(database_.connection());
    }
    if (texts_.size() >= kRememberedTexts) {
        texts_.clear(); // somebody sends ever new ones
    }
    if (text.size() <= kLongestText) {
        texts_.emplace(text, id);
    }
    return id;
}

bool RunStore::add(const Run& run) {
    const bool isConfigured = run.hasStarted && run.isConfigured;
    const bool isDownloaded = isConfigured && run.isDownloaded;
    const auto known = [&](TextId id) { return id == 0 ? textId({}) : id; };
    insertRun_.bind(1, run.identity).bind(2, run.client).bind(3, run.lines).bind(4, run.firstTime);
    insertRun_.bind(5, run.lastTime).bind(6, std::int64_t{run.hasEnded}).bind(7, std::int64_t{run.hasStarted});
    insertRun_.bind(8, std::int64_t{isConfigured}).bind(9, std::int64_t{isDownloaded});
    insertRun_.bind(10, std::int64_t{isDownloaded && run.hasEnded && !run.hasFailedSinceDownload});
    insertRun_.bind(11, known(run.product)).bind(12, known(run.version)).bind(13, known(run.country));
    insertRun_.bind(14, known(run.language)).bind(15, known(run.system)).bind(16, known(run.processor));
    insertRun_.bind(17, run.configMilliseconds).bind(18, run.downloadMilliseconds).run();
    if (sqlite3_changes(database_.connection()) == 0) {
        return replace(run);
    }
    addFailures(sqlite3_last_insert_rowid(database_.connection()), run);
    return true;
}

// Always false: the run was known.
bool RunStore::replace(const Run& run) {
    findRun_.bind(1, run.identity);
    findRun_.step();
    const std::int64_t id = findRun_.integer(0);
    const std::int64_t lines = findRun_.integer(1);
    findRun_.reset();
    if (lines < run.lines) {
        deleteFailures_.bind(1, id).run();
        deleteRun_.bind(1, id).run();
        add(run);
    }
    return false;
}

void RunStore::addFailures(std::int64_t id, const Run& run) {
    std::int64_t number = 0;
    for (const auto& [event, reason] : run.failures) {
        insertFailure_.bind(1, id).bind(2, number++).bind(3, event).bind(4, reason).run();
    }
}

} // namespace portal::report
