#include "Velmorant/Alignment/AlignerDiskCache.hpp"

#include "Platform/Dispatch/ThreadPool.hpp"
#include "Platform/Foundation/AtomicFile.hpp"
#include "Platform/Foundation/Device.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Velmorant/Alignment/AlignmentCoding.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>

namespace velmorant {

namespace fs = std::filesystem;
using platform::DispatchQueue;
using platform::DispatchWorkItemFlags;
using platform::FileManager;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

/// Saving takes at most one part in so many of the time, so that many groups in a row do not rewrite the file for each,
/// and never pauses for longer than this.
constexpr int pausePerSave = 9;
constexpr std::int64_t longestPause = 1000; // milliseconds

const std::string& hostIdentifier() {
    return platform::Device::current().hostIdentifier;
}

} // namespace

std::shared_ptr<AlignerDiskCache> AlignerDiskCache::make(std::int64_t alignerVersion) {
    const std::shared_ptr<AlignerDiskCache> cache(new AlignerDiskCache(alignerVersion));
    if (!cache->url_.empty())
        cache->files_.async([cache] { cache->load(); });
    return cache;
}

AlignerDiskCache::AlignerDiskCache(std::int64_t alignerVersion)
    : queue_(DispatchQueue::concurrent(hostIdentifier() + ".alignercache")),
      files_(DispatchQueue::serial(hostIdentifier() + ".alignercache.files")) {
    const fs::path directory = alignmentsDirectory();
    if (directory.empty())
        return;
    std::ignore = FileManager::createDirectory(directory);
    url_ = directory / std::to_string(alignerVersion);
}

fs::path AlignerDiskCache::alignmentsDirectory() {
    const auto caches = FileManager::cachesDirectory();
    return caches ? *caches / hostIdentifier() / "Alignments" : fs::path();
}

void AlignerDiskCache::clear() {
    if (const fs::path directory = alignmentsDirectory(); !directory.empty())
        std::ignore = FileManager::remove(directory);
}

std::optional<Alignment> AlignerDiskCache::alignment(const std::string& groupId) const {
    const auto found = queue_.sync([&]() -> std::shared_ptr<const Alignment> {
        const auto entry = cache_.find(groupId);
        return entry == cache_.end() ? nullptr : entry->second;
    });
    return found ? std::optional(*found) : std::nullopt;
}

void AlignerDiskCache::setAlignment(const std::string& groupId, std::optional<Alignment> alignment) {
    auto stored = alignment ? std::make_shared<const Alignment>(std::move(*alignment)) : nullptr;
    queue_.async(DispatchWorkItemFlags::barrier, [self = shared_from_this(), groupId, stored = std::move(stored)] {
        self->cache_[groupId] = stored;
        if (self->url_.empty() || std::exchange(self->isSaveScheduled_, true))
            return;
        self->files_.async([self] { self->save(); });
    });
}

void AlignerDiskCache::waitUntilLoaded() const {
    files_.sync([] {});
}

void AlignerDiskCache::waitUntilSaved() {
    {
        const platform::MutexLock lock(mutex_);
        ++waiting_;
        hurry_.notifyAll();
    }
    queue_.sync(DispatchWorkItemFlags::barrier, [] {}); // what was set is in the map, and its save is scheduled
    files_.sync([] {});
    const platform::MutexLock lock(mutex_);
    --waiting_;
}

void AlignerDiskCache::load() {
    if (auto entries = read()) {
        known_ = stateOf(url_);
        merge(std::move(*entries));
    }
}

/// Nothing where there is no file, or none that decodes.
std::optional<AlignerDiskCache::Entries> AlignerDiskCache::read() const {
    const auto text = FileManager::contents(url_);
    if (!text)
        return std::nullopt;
    Entries entries;
    const auto decoded =
        platform::json::decodeMembers(*text, [&](const std::string& key, const platform::JSONValue& value) {
            entries.insert_or_assign(key, std::make_shared<const Alignment>(decodeAlignment(value)));
        });
    return decoded ? std::optional(std::move(entries)) : std::nullopt;
}

/// What was set meanwhile counts more than what was read.
void AlignerDiskCache::merge(Entries entries) {
    queue_.async(DispatchWorkItemFlags::barrier,
                 [self = shared_from_this(), read = std::move(entries)]() mutable { self->cache_.merge(read); });
}

void AlignerDiskCache::save() {
    pauseBeforeSaving();
    const auto start = steady_clock::now();
    if (stateOf(url_) != known_.value_or(FileState())) { // another process wrote it, or it does not decode
        if (auto entries = read())
            merge(std::move(*entries));
        else if (std::error_code unknown; fs::exists(url_, unknown) && !FileManager::setAsideDamaged(url_))
            return;
    }
    const Entries entries = queue_.sync(DispatchWorkItemFlags::barrier, [this] {
        isSaveScheduled_ = false;
        return cache_;
    });
    write(entries);
    lastSaveMilliseconds_ = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start).count();
}

void AlignerDiskCache::write(const Entries& entries) {
    auto file = platform::AtomicFile::create(url_, platform::AtomicFile::Existing::replace);
    if (!file)
        return;
    platform::JSONWriter json(*file);
    json.beginObject();
    for (const auto& [groupId, alignment] : entries)
        if (alignment)
            encode(json.key(groupId), *alignment);
    json.endObject();
    if (json.finish() && file->commit())
        known_ = stateOf(url_);
}

void AlignerDiskCache::pauseBeforeSaving() {
    const auto until = steady_clock::now() + milliseconds(std::min(longestPause, pausePerSave * lastSaveMilliseconds_));
    const platform::ThreadPool::Waiting waits;
    const platform::MutexLock lock(mutex_);
    while (waiting_ == 0 && steady_clock::now() < until)
        hurry_.waitUntil(mutex_, until);
}

AlignerDiskCache::FileState AlignerDiskCache::stateOf(const fs::path& file) {
    struct stat status = {};
    if (stat(file.c_str(), &status) != 0)
        return {};
    return {status.st_dev, status.st_ino, status.st_size,
            status.st_mtim.tv_sec * std::int64_t{1'000'000'000} + status.st_mtim.tv_nsec};
}

} // namespace velmorant
