#pragma once

// The database of runs, version 1. It is made by whoever writes first (`qn-portal report --into`, `qn-portal serve
// --collect`), and is an ordinary SQLite file: the views at its end are there for everybody who has `sqlite3`.
//
// A run is what lies between one "Start" line of an identifier and that identifier's "End". It is known by a digest of
// the identifier and its first line's time, so that lines which are read twice count once. The identifier itself is not
// kept: `client` tells machines apart and leads back to nobody.
//
// Texts stand in `text` once. A dimension that no line told is the text "". Times are seconds since 1970 (UTC),
// durations milliseconds. The four stages follow each other: a run that is `downloaded` is also `configured` and
// `started`; `finished` is downloaded and then ended, with no FAIL in between.
namespace portal::report {

inline constexpr int kApplicationId = 0x514E5231;
inline constexpr int kSchemaVersion = 1;

inline constexpr const char* kSchema = R"sql(
CREATE TABLE text (
    id    INTEGER PRIMARY KEY,
    value TEXT NOT NULL UNIQUE
);
CREATE TABLE run (
    id          INTEGER PRIMARY KEY,
    identity    INTEGER NOT NULL UNIQUE,
    client      INTEGER NOT NULL,
    lines       INTEGER NOT NULL,
    first_time  INTEGER NOT NULL,
    last_time   INTEGER NOT NULL,
    ended       INTEGER NOT NULL,
    started     INTEGER NOT NULL,
    configured  INTEGER NOT NULL,
    downloaded  INTEGER NOT NULL,
    finished    INTEGER NOT NULL,
    product     INTEGER NOT NULL REFERENCES text,
    version     INTEGER NOT NULL REFERENCES text,
    country     INTEGER NOT NULL REFERENCES text,
    language    INTEGER NOT NULL REFERENCES text,
    system      INTEGER NOT NULL REFERENCES text,
    processor   INTEGER NOT NULL REFERENCES text,
    config_ms   INTEGER,
    download_ms INTEGER
);
CREATE TABLE failure (
    run    INTEGER NOT NULL REFERENCES run,
    number INTEGER NOT NULL,
    event  INTEGER NOT NULL REFERENCES text,
    reason INTEGER NOT NULL REFERENCES text,
    PRIMARY KEY (run, number)
) WITHOUT ROWID;

CREATE VIEW funnel AS
    SELECT sum(started) AS started, sum(configured) AS configured, sum(downloaded) AS downloaded,
           sum(finished) AS finished FROM run;
CREATE VIEW funnel_by_product AS
    SELECT value AS name, sum(started) AS started, sum(configured) AS configured, sum(downloaded) AS downloaded,
           sum(finished) AS finished FROM run JOIN text ON text.id = product WHERE started GROUP BY product;
CREATE VIEW funnel_by_version AS
    SELECT value AS name, sum(started) AS started, sum(configured) AS configured, sum(downloaded) AS downloaded,
           sum(finished) AS finished FROM run JOIN text ON text.id = version WHERE started GROUP BY version;
CREATE VIEW funnel_by_country AS
    SELECT value AS name, sum(started) AS started, sum(configured) AS configured, sum(downloaded) AS downloaded,
           sum(finished) AS finished FROM run JOIN text ON text.id = country WHERE started GROUP BY country;
CREATE VIEW funnel_by_language AS
    SELECT value AS name, sum(started) AS started, sum(configured) AS configured, sum(downloaded) AS downloaded,
           sum(finished) AS finished FROM run JOIN text ON text.id = language WHERE started GROUP BY language;
CREATE VIEW funnel_by_system AS
    SELECT value AS name, sum(started) AS started, sum(configured) AS configured, sum(downloaded) AS downloaded,
           sum(finished) AS finished FROM run JOIN text ON text.id = system WHERE started GROUP BY system;
CREATE VIEW funnel_by_processor AS
    SELECT value AS name, sum(started) AS started, sum(configured) AS configured, sum(downloaded) AS downloaded,
           sum(finished) AS finished FROM run JOIN text ON text.id = processor WHERE started GROUP BY processor;
CREATE VIEW funnel_by_day AS
    SELECT date(first_time, 'unixepoch') AS name, sum(started) AS started, sum(configured) AS configured,
           sum(downloaded) AS downloaded, sum(finished) AS finished FROM run WHERE started
    GROUP BY first_time / 86400;
CREATE VIEW failure_reasons AS
    SELECT e.value AS event, r.value AS reason, count(*) AS lines, count(DISTINCT run) AS runs
    FROM failure JOIN text AS e ON e.id = event JOIN text AS r ON r.id = reason GROUP BY event, reason
    ORDER BY lines DESC;
)sql";

} // namespace portal::report
