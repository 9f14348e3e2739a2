#pragma once

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/Mutex.hpp"
#include "Velmorant/Alignment/AlignerCache.hpp"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>

namespace velmorant {

/// An aligner cache that outlives the process: a map in memory, mirrored into one JSON file for each aligner version in
/// the device's caches folder, "IDENTIFIER/Alignments/VERSION". Without a caches folder it lives in memory only.
///
/// Lookups read memory and never wait for the disk. The file always holds one whole map; rewrites in quick succession
/// are made one. What another process wrote meanwhile is kept, and a file that does not decode is set aside. All
/// failures are silent: a lookup then finds nothing.
class AlignerDiskCache final : public AlignerCache, public std::enable_shared_from_this<AlignerDiskCache> {
public:
    /// Starts to load the file and does not wait for it.
    static std::shared_ptr<AlignerDiskCache> make(std::int64_t alignerVersion);

    std::optional<Alignment> alignment(const std::string& groupId) const override;
    void setAlignment(const std::string& groupId, std::optional<Alignment> alignment) override;

    /// From then on lookups find what the file held when this object was made.
    void waitUntilLoaded() const;
    /// From then on the file holds all that was set before the call, unless it could not be written.
    void waitUntilSaved();

    /// Removes the files of all versions. Live objects keep what they have in memory and write no file any more.
    static void clear();

private:
    using Entries = std::map<std::string, std::shared_ptr<const Alignment>>;

    /// Tells one state of a file from another.
    struct FileState {
        std::uint64_t device = 0, inode = 0;
        std::int64_t size = -1, changed = 0; ///< bytes, nanoseconds
        friend bool operator==(const FileState&, const FileState&) = default;
    };

    explicit AlignerDiskCache(std::int64_t alignerVersion);

    static std::filesystem::path alignmentsDirectory();
    static FileState stateOf(const std::filesystem::path& file);

    // All on `files_`.
    std::optional<Entries> read() const;
    void load();
    void save();
    void write(const Entries& entries);

    void merge(Entries entries);
    void pauseBeforeSaving();

    std::filesystem::path url_;             ///< empty: nothing is read or written
    const platform::DispatchQueue queue_;   ///< guards `cache_`
    const platform::DispatchQueue files_;   ///< serial; all file work
    Entries cache_;                         ///< null: removed, whatever the file says
    bool isSaveScheduled_ = false;          ///< within barriers of `queue_`
    std::optional<FileState> known_;        ///< on `files_`: the file as it was last read or written
    std::int64_t lastSaveMilliseconds_ = 0; ///< on `files_`

    platform::Mutex mutex_;
    platform::Condition hurry_;
    int waiting_ VELMORANT_GUARDED_BY(mutex_) = 0; ///< callers of `waitUntilSaved`
};

} // namespace velmorant
