#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Photos/PhotoCatalogue-inl.hpp"

#include <sqlite3.h>

#include <utility>

namespace platform {

namespace fs = std::filesystem;

namespace {

constexpr int applicationId = 0x56454C4D; // "VELM"
constexpr int version = 1;                // raised with every change of the tables that this program cannot ignore

/// How long to wait for another process that commits.
constexpr int busyMilliseconds = 10'000;

constexpr const char* tables = R"(
CREATE TABLE assets (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    localIdentifier TEXT NOT NULL UNIQUE,
    creationDate REAL,
    mediaSubtype INTEGER NOT NULL,
    pixelWidth INTEGER NOT NULL,
    pixelHeight INTEGER NOT NULL,
    file TEXT NOT NULL,
    contentHash TEXT NOT NULL,
    isSelected INTEGER NOT NULL,
    deleted REAL,
    note TEXT);
CREATE INDEX assetsByDate ON assets (creationDate);
CREATE INDEX assetsByContent ON assets (contentHash);
CREATE TABLE collections (
    number INTEGER PRIMARY KEY,
    localIdentifier TEXT NOT NULL UNIQUE,
    kind INTEGER NOT NULL,
    title TEXT,
    parent INTEGER REFERENCES collections ON DELETE CASCADE);
CREATE TABLE members (
    collection INTEGER NOT NULL REFERENCES collections ON DELETE CASCADE,
    asset INTEGER NOT NULL REFERENCES assets ON DELETE CASCADE,
    position INTEGER NOT NULL,
    PRIMARY KEY (collection, asset)) WITHOUT ROWID;
CREATE INDEX membersByAsset ON members (asset);
CREATE TABLE changes (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    asset INTEGER);
CREATE TABLE settings (
    authorization INTEGER NOT NULL);
INSERT INTO settings VALUES (3);
)";

int pragma(SQLite::Database& database, const std::string& name) {
    return database.execAndGet("PRAGMA " + name).getInt();
}

/// The file may come from anyone: what it defines besides tables does not run.
void distrust(SQLite::Database& database) {
    for (const auto& [option, value] : {std::pair(SQLITE_DBCONFIG_DEFENSIVE, 1),
                                        {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
                                        {SQLITE_DBCONFIG_ENABLE_VIEW, 0},
                                        {SQLITE_DBCONFIG_ENABLE_TRIGGER, 0}})
        sqlite3_db_config(database.getHandle(), option, value, nullptr);
    database.exec("PRAGMA cell_size_check = ON");
}

bool isEmpty(SQLite::Database& database) {
    return database.execAndGet("SELECT count(*) FROM sqlite_schema").getInt() == 0;
}

void makeTables(SQLite::Database& database) {
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    if (!isEmpty(database)) // another process was faster
        return;
    database.exec(tables);
    database.exec("PRAGMA application_id = " + std::to_string(applicationId));
    database.exec("PRAGMA user_version = " + std::to_string(version));
    transaction.commit();
}

} // namespace

PhotoCatalogue::PhotoCatalogue(const fs::path& folder)
    : folder_(folder), file_(folder.empty() ? fs::path() : folder / "Catalogue.sqlite") {}

std::expected<void, PhotoLibraryError> PhotoCatalogue::open(Missing missing) {
    using Code = PhotoLibraryError::Code;
    if (database_)
        return {};
    std::error_code unknown;
    const bool isThere = !file_.empty() && fs::exists(file_, unknown);
    if (!isThere && missing == Missing::leave)
        return {};
    if (!isThere) {
        if (file_.empty())
            return std::unexpected(PhotoLibraryError{Code::writeFailed, {}, "there is no folder for it"});
        if (const auto made = FileManager::createDirectory(folder_); !made)
            return std::unexpected(PhotoLibraryError{Code::writeFailed, folder_, made.error().message()});
    }
    try {
        const int flags = SQLite::OPEN_READWRITE | (missing == Missing::make ? SQLite::OPEN_CREATE : 0);
        auto database = std::make_unique<SQLite::Database>(file_.native(), flags, busyMilliseconds);
        distrust(*database);
        database->exec("PRAGMA journal_mode = TRUNCATE");
        database->exec("PRAGMA synchronous = EXTRA");
        database->exec("PRAGMA foreign_keys = ON");
        if (isEmpty(*database)) {
            if (missing == Missing::leave)
                return {};
            makeTables(*database);
        }
        if (pragma(*database, "application_id") != applicationId)
            return std::unexpected(PhotoLibraryError{Code::damaged, file_, "it is another program's"});
        if (pragma(*database, "user_version") > version)
            return std::unexpected(PhotoLibraryError{Code::newerVersion, file_});
        database_ = std::move(database);
        return {};
    } catch (const SQLite::Exception& exception) {
        return std::unexpected(errorOf(exception));
    }
}

PhotoLibraryError PhotoCatalogue::errorOf(const SQLite::Exception& exception) const {
    using Code = PhotoLibraryError::Code;
    const auto code = [&] {
        switch (exception.getErrorCode()) {
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_ERROR: // tables are not as they should be
        case SQLITE_CONSTRAINT:
            return Code::damaged;
        case SQLITE_FULL:
        case SQLITE_READONLY:
        case SQLITE_IOERR:
            return Code::writeFailed;
        default:
            return Code::readFailed;
        }
    }();
    return {code, file_, exception.what()};
}

PHAuthorizationStatus authorizationStatus(SQLite::Database& database) {
    return static_cast<PHAuthorizationStatus>(database.execAndGet("SELECT authorization FROM settings").getInt());
}

std::int64_t changeNumber(SQLite::Database& database) {
    return database.execAndGet("SELECT coalesce(max(number), 0) FROM changes").getInt64();
}

void logChange(SQLite::Database& database, const std::string& localIdentifier) {
    SQLite::Statement statement(database,
                                "INSERT INTO changes (asset) SELECT number FROM assets WHERE localIdentifier = ?");
    statement.bind(1, localIdentifier);
    statement.exec();
}

void logChangeOfAll(SQLite::Database& database) {
    database.exec("INSERT INTO changes (asset) VALUES (NULL)");
}

} // namespace platform
