#pragma once

#include "Platform/Dispatch/Mutex.hpp"
#include "Platform/Photos/PHAuthorizationStatus.hpp"
#include "Platform/Photos/PhotoLibraryError.hpp"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>

#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

namespace platform {

/// The SQLite file in which a photo library keeps what it knows of its pictures; docs/photo-library.md describes it.
/// Opened when it is first asked for, made by the first change. Any thread, one at a time.
class PhotoCatalogue {
public:
    /// `folder` may be empty: then there is nothing to read, and no change succeeds.
    explicit PhotoCatalogue(const std::filesystem::path& folder);

    const std::filesystem::path& folder() const { return folder_; }
    const std::filesystem::path& file() const { return file_; }
    std::filesystem::path originals() const { return folder_ / "Originals"; }

    /// What `work(SQLite::Database&)` answers within one transaction: it sees one state of the catalogue throughout.
    /// Without a catalogue `work` does not run and the answer is a `Result()`.
    template <class Work>
    auto read(const Work& work) -> std::expected<std::invoke_result_t<Work, SQLite::Database&>, PhotoLibraryError> {
        using Result = std::invoke_result_t<Work, SQLite::Database&>;
        const MutexLock lock(mutex_);
        if (const auto opened = open(Missing::leave); !opened)
            return std::unexpected(*(readFailure_ = opened.error()));
        if (!database_)
            return Result();
        try {
            SQLite::Transaction transaction(*database_);
            Result result = work(*database_);
            transaction.commit();
            return result;
        } catch (const SQLite::Exception& exception) {
            return std::unexpected(*(readFailure_ = errorOf(exception)));
        }
    }

    /// Why a read failed since this was last asked.
    std::optional<PhotoLibraryError> takeReadFailure() {
        const MutexLock lock(mutex_);
        return std::exchange(readFailure_, std::nullopt);
    }

    /// Runs `work(SQLite::Database&)` within one transaction: all of it is on the disk when the call returns, or
    /// nothing. The caller holds the library's lock.
    template <class Work>
    std::expected<void, PhotoLibraryError> write(const Work& work) {
        const MutexLock lock(mutex_);
        if (auto opened = open(Missing::make); !opened)
            return opened;
        try {
            SQLite::Transaction transaction(*database_, SQLite::TransactionBehavior::IMMEDIATE);
            work(*database_);
            transaction.commit();
            return {};
        } catch (const SQLite::Exception& exception) {
            return std::unexpected(errorOf(exception));
        }
    }

private:
    enum class Missing { leave, make };

    std::expected<void, PhotoLibraryError> open(Missing missing) VELMORANT_REQUIRES(mutex_);
    PhotoLibraryError errorOf(const SQLite::Exception& exception) const;

    const std::filesystem::path folder_;
    const std::filesystem::path file_;

    Mutex mutex_;
    std::unique_ptr<SQLite::Database> database_ VELMORANT_GUARDED_BY(mutex_);
    std::optional<PhotoLibraryError> readFailure_ VELMORANT_GUARDED_BY(mutex_);
};

// Within a transaction.

PHAuthorizationStatus authorizationStatus(SQLite::Database& database);
/// Changes counted so far.
std::int64_t changeNumber(SQLite::Database& database);
/// Counts a change of one asset, or one after which anything may be different.
void logChange(SQLite::Database& database, const std::string& localIdentifier);
void logChangeOfAll(SQLite::Database& database);

} // namespace platform
