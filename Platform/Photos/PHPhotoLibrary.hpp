#pragma once

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/Mutex.hpp"
#include "Platform/Photos/PHAuthorizationStatus.hpp"
#include "Platform/Photos/PHChange.hpp"
#include "Platform/Photos/PhotoLibraryError.hpp"
#include "Platform/UIKit/UIViewController.hpp"

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace SQLite {
class Database;
}

namespace platform {

class LibraryLock;
class FolderWatch;
class PhotoCatalogue;

/// The device's photo library: a folder with a catalogue and the original files. What is not there yet is made by the
/// first change; reading needs no write and makes nothing. Several processes may use one library at a time.
///
/// Any thread, but for `setPrompts`.
class PHPhotoLibrary final : public std::enable_shared_from_this<PHPhotoLibrary> {
public:
    using Completion = std::function<void(bool success, const std::optional<PhotoLibraryError>& error)>;

    static std::shared_ptr<PHPhotoLibrary> shared();

    PHPhotoLibrary();
    ~PHPhotoLibrary();

    /// A new library's is `authorized`.
    static PHAuthorizationStatus authorizationStatus();
    static PHAuthorizationStatus authorizationStatus(PHAccessLevel level);

    /// Asks the user, where that has not been done. `handler` receives the answer, later, on another thread.
    static void requestAuthorization(std::function<void(PHAuthorizationStatus)> handler);

    /// Has the user choose the assets that a limited access covers.
    void presentLimitedLibraryPicker(const UIViewController& from);

    /// Runs `changes`, in which change requests are made, and carries all of them out or none. `changes` and, once all
    /// is on the disk, `completion`, which may be empty, run later, one after the other, on a thread of the library's
    /// own. Fails without access.
    void performChanges(std::function<void()> changes, Completion completion);

    /// `observer` hears of every change from now on; it is not kept alive. An observer that is registered already stays
    /// so, once.
    void registerChangeObserver(const std::shared_ptr<PHPhotoLibraryChangeObserver>& observer);
    void unregisterChangeObserver(const std::shared_ptr<PHPhotoLibraryChangeObserver>& observer);

    // What a phone's system does for the user rather than for the application.

    /// How the user is asked; without it nobody is asked, and nothing is chosen.
    struct Prompts {
        std::function<PHAuthorizationStatus()> authorization;
        std::function<std::optional<std::vector<std::string>>()> limitedSelection; ///< nothing: it stays as it is
    };
    /// Before the library is used.
    void setPrompts(Prompts prompts);

    /// Whether the library can be read. One that is not there yet can.
    [[nodiscard]] std::expected<void, PhotoLibraryError> check();

    /// Why a fetch answered nothing, if one could not be carried out since this was last asked.
    std::optional<PhotoLibraryError> takeReadFailure();

    /// Sets the access and what a limited one covers.
    [[nodiscard]] std::expected<void, PhotoLibraryError> setAuthorization(PHAuthorizationStatus status);
    [[nodiscard]] std::expected<void, PhotoLibraryError> setLimitedSelection(const std::vector<std::string>& ids);

    /// For how many seconds the trash keeps what was deleted: 30 days.
    static constexpr std::int64_t trashKeeps = std::int64_t{30} * 24 * 60 * 60;

    /// Removes for good what was deleted at least `age` seconds ago; answers how many assets that were.
    [[nodiscard]] std::expected<std::int64_t, PhotoLibraryError> emptyTrash(std::int64_t age = 0);

    /// Keeps other processes from changing the library for as long as the answer lives. Waits for one that is at it.
    [[nodiscard]] std::expected<std::shared_ptr<LibraryLock>, PhotoLibraryError>
    lock(const std::function<bool()>& keepsWaiting = [] { return true; });

    /// How often the library has changed; rises with each change.
    std::int64_t changeNumber();

    PhotoCatalogue& catalogue() { return *catalogue_; } ///< for this folder's own

private:
    std::expected<void, PhotoLibraryError> perform(const std::function<void()>& changes);
    std::expected<void, PhotoLibraryError> write(const std::function<void(SQLite::Database&)>& work);
    void noticeChanges();
    void announceChanges();

    const std::unique_ptr<PhotoCatalogue> catalogue_;
    const DispatchQueue changesQueue_; ///< serial
    const DispatchQueue noticesQueue_; ///< serial
    Prompts prompts_;

    Mutex mutex_;
    std::vector<std::weak_ptr<PHPhotoLibraryChangeObserver>> observers_ VELMORANT_GUARDED_BY(mutex_);
    std::int64_t announced_ VELMORANT_GUARDED_BY(mutex_) = 0; ///< the change number that observers have heard of
    std::unique_ptr<FolderWatch> watch_ VELMORANT_GUARDED_BY(mutex_);
    std::weak_ptr<LibraryLock> lock_ VELMORANT_GUARDED_BY(mutex_);
};

} // namespace platform
