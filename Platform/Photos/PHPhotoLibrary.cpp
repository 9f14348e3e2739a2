#include "Platform/Photos/PHPhotoLibrary.hpp"

#include "Platform/Foundation/Device.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/FolderWatch.hpp"
#include "Platform/Photos/ChangeTransaction-inl.hpp"
#include "Platform/Photos/LibraryLock.hpp"
#include "Platform/Photos/OriginalFile.hpp"
#include "Platform/Photos/PhotoCatalogue-inl.hpp"

#include <algorithm>
#include <unordered_set>

namespace platform {

namespace {

DispatchQueue queueNamed(const char* name) {
    return DispatchQueue::serial(Device::current().hostIdentifier + ".library." + name);
}

bool isSame(const std::weak_ptr<PHPhotoLibraryChangeObserver>& a,
            const std::shared_ptr<PHPhotoLibraryChangeObserver>& b) {
    return !a.owner_before(b) && !b.owner_before(a);
}

/// What was deleted at least so many seconds ago leaves the catalogue.
struct Removed {
    std::int64_t count = 0;
    std::vector<std::string> files; ///< that no asset names any more
};

Removed removeDeleted(std::int64_t age, SQLite::Database& database) {
    Removed removed;
    SQLite::Statement files(
        database, "SELECT DISTINCT file FROM assets WHERE deleted <= unixepoch() - ?1 EXCEPT SELECT file FROM "
                  "assets WHERE deleted IS NULL OR deleted > unixepoch() - ?1");
    files.bind(1, age);
    while (files.executeStep())
        if (std::string name = files.getColumn(0).getString(); isOriginalName(name))
            removed.files.push_back(std::move(name));
    SQLite::Statement statement(database, "DELETE FROM assets WHERE deleted <= unixepoch() - ?");
    statement.bind(1, age);
    removed.count = statement.exec();
    if (removed.count > 0)
        logChangeOfAll(database);
    return removed;
}

/// Removes original files that no asset names, left by a process that was killed: on the word of a sound catalogue
/// only, and never of an empty one, which may have lost its content.
void sweep(PhotoCatalogue& catalogue) {
    const auto named = catalogue.read([](SQLite::Database& database) {
        std::unordered_set<std::string> names;
        if (database.execAndGet("PRAGMA quick_check").getString() != "ok")
            return names;
        SQLite::Statement rows(database, "SELECT file FROM assets");
        while (rows.executeStep())
            names.insert(rows.getColumn(0).getString());
        return names;
    });
    if (!named || named->empty())
        return;
    for (const std::string& name : originalNames(catalogue.originals()))
        if (!named->contains(name))
            std::ignore = FileManager::remove(catalogue.originals() / name);
}

} // namespace

std::shared_ptr<PHPhotoLibrary> PHPhotoLibrary::shared() {
    return Device::shared<PHPhotoLibrary>();
}

PHPhotoLibrary::PHPhotoLibrary()
    : catalogue_(std::make_unique<PhotoCatalogue>(Device::current().folders.photoLibrary)),
      changesQueue_(queueNamed("changes")), noticesQueue_(queueNamed("notices")) {}

PHPhotoLibrary::~PHPhotoLibrary() = default;

PHAuthorizationStatus PHPhotoLibrary::authorizationStatus() {
    const PHAuthorizationStatus unread = PHAuthorizationStatus::denied;
    const auto status = shared()->catalogue().read(
        [](SQLite::Database& database) { return std::optional(platform::authorizationStatus(database)); });
    return status ? status->value_or(PHAuthorizationStatus::authorized) : unread;
}

PHAuthorizationStatus PHPhotoLibrary::authorizationStatus(PHAccessLevel) {
    return authorizationStatus(); // one setting for both levels
}

void PHPhotoLibrary::requestAuthorization(std::function<void(PHAuthorizationStatus)> handler) {
    const auto library = shared();
    library->changesQueue_.async([library, handler = std::move(handler)] {
        PHAuthorizationStatus status = authorizationStatus();
        if (status == PHAuthorizationStatus::notDetermined && library->prompts_.authorization) {
            status = library->prompts_.authorization();
            std::ignore = library->setAuthorization(status);
        }
        if (handler)
            handler(status);
    });
}

void PHPhotoLibrary::presentLimitedLibraryPicker(const UIViewController&) {
    changesQueue_.async([self = shared_from_this()] {
        if (!self->prompts_.limitedSelection)
            return;
        if (const auto chosen = self->prompts_.limitedSelection())
            std::ignore = self->setLimitedSelection(*chosen);
    });
}

void PHPhotoLibrary::setPrompts(Prompts prompts) {
    prompts_ = std::move(prompts);
}

void PHPhotoLibrary::performChanges(std::function<void()> changes, Completion completion) {
    changesQueue_.async([self = shared_from_this(), changes = std::move(changes), completion = std::move(completion)] {
        const auto done = self->perform(changes);
        if (completion)
            completion(done.has_value(), done ? std::nullopt : std::optional(done.error()));
    });
}

std::expected<void, PhotoLibraryError> PHPhotoLibrary::perform(const std::function<void()>& changes) {
    if (!isAccessGranted(authorizationStatus()))
        return std::unexpected(PhotoLibraryError{PhotoLibraryError::Code::denied, catalogue_->folder()});
    const auto held = lock();
    if (!held)
        return std::unexpected(held.error());
    auto done = ChangeTransaction::perform(changes, *catalogue_);
    if (done)
        noticeChanges();
    return done;
}

std::expected<void, PhotoLibraryError> PHPhotoLibrary::check() {
    if (const auto read = catalogue_->read([](SQLite::Database& database) { return platform::changeNumber(database); });
        !read)
        return std::unexpected(read.error());
    return {};
}

std::optional<PhotoLibraryError> PHPhotoLibrary::takeReadFailure() {
    return catalogue_->takeReadFailure();
}

std::expected<void, PhotoLibraryError> PHPhotoLibrary::write(const std::function<void(SQLite::Database&)>& work) {
    const auto held = lock();
    if (!held)
        return std::unexpected(held.error());
    auto written = catalogue_->write(work);
    if (written)
        noticeChanges();
    return written;
}

std::expected<void, PhotoLibraryError> PHPhotoLibrary::setAuthorization(PHAuthorizationStatus status) {
    return write([status](SQLite::Database& database) {
        SQLite::Statement statement(database, "UPDATE settings SET authorization = ?");
        statement.bind(1, static_cast<int>(status));
        statement.exec();
        logChangeOfAll(database);
    });
}

std::expected<void, PhotoLibraryError> PHPhotoLibrary::setLimitedSelection(const std::vector<std::string>& ids) {
    return write([&ids](SQLite::Database& database) {
        database.exec("UPDATE assets SET isSelected = 0");
        SQLite::Statement statement(database, "UPDATE assets SET isSelected = 1 WHERE localIdentifier = ?");
        for (const std::string& id : ids) {
            statement.bind(1, id);
            statement.exec();
            statement.reset();
        }
        logChangeOfAll(database);
    });
}

std::expected<std::int64_t, PhotoLibraryError> PHPhotoLibrary::emptyTrash(std::int64_t age) {
    const auto held = lock();
    if (!held)
        return std::unexpected(held.error());
    Removed removed;
    if (const auto done = write([&](SQLite::Database& database) { removed = removeDeleted(age, database); }); !done)
        return std::unexpected(done.error());
    for (const std::string& file : removed.files)
        std::ignore = FileManager::remove(catalogue_->originals() / file);
    return removed.count;
}

std::expected<std::shared_ptr<LibraryLock>, PhotoLibraryError>
PHPhotoLibrary::lock(const std::function<bool()>& keepsWaiting) {
    const MutexLock guard(mutex_);
    if (auto held = lock_.lock())
        return held;
    if (const auto made = FileManager::createDirectory(catalogue_->folder()); !made)
        return std::unexpected(
            PhotoLibraryError{PhotoLibraryError::Code::writeFailed, catalogue_->folder(), made.error().message()});
    auto taken = LibraryLock::take(catalogue_->folder(), keepsWaiting);
    if (!taken)
        return taken;
    lock_ = *taken;
    if ((*taken)->followsKill())
        sweep(*catalogue_);
    return taken;
}

std::int64_t PHPhotoLibrary::changeNumber() {
    return catalogue_->read([](SQLite::Database& database) { return platform::changeNumber(database); }).value_or(0);
}

void PHPhotoLibrary::registerChangeObserver(const std::shared_ptr<PHPhotoLibraryChangeObserver>& observer) {
    const std::int64_t now = changeNumber();
    const MutexLock lock(mutex_);
    if (observers_.empty())
        announced_ = now;
    if (std::ranges::none_of(observers_, [&](const auto& known) { return isSame(known, observer); }))
        observers_.push_back(observer);
    if (!watch_) {
        std::ignore = FileManager::createDirectory(catalogue_->folder()); // else there is nothing to watch
        watch_ = FolderWatch::make(catalogue_->folder(), [this] { noticeChanges(); });
    }
}

void PHPhotoLibrary::unregisterChangeObserver(const std::shared_ptr<PHPhotoLibraryChangeObserver>& observer) {
    const MutexLock lock(mutex_);
    std::erase_if(observers_, [&](const auto& known) { return known.expired() || isSame(known, observer); });
}

void PHPhotoLibrary::noticeChanges() {
    noticesQueue_.async([weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->announceChanges();
    });
}

void PHPhotoLibrary::announceChanges() {
    const std::int64_t now = changeNumber();
    std::vector<std::shared_ptr<PHPhotoLibraryChangeObserver>> told;
    {
        const MutexLock lock(mutex_);
        if (now <= announced_)
            return;
        announced_ = now;
        for (const auto& observer : observers_)
            if (auto there = observer.lock())
                told.push_back(std::move(there));
    }
    for (const auto& observer : told)
        observer->photoLibraryDidChange(PHChange());
}

} // namespace platform
