#pragma once

#include "Platform/Photos/PHPhotoLibrary.hpp"
#include "Velmorant/Curation/AddManuallyGroupedStep.hpp"
#include "Velmorant/Curation/IgnoreInAppScreenshotsStep.hpp"
#include "Velmorant/Curation/IgnoreUserDeletedStep.hpp"
#include "Velmorant/DataSources/PhotosStitchableDataSource.hpp"
#include "Velmorant/Pipeline/Pipeline.hpp"

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace host {

/// A group of the library as the commands list it.
struct LibraryGroup {
    enum class State {
        open,     ///< a run that has not been filed
        filed,    ///< its picture is in the album
        stitched, ///< the picture itself
    };

    velmorant::Group group;
    State state = State::open;
    std::optional<velmorant::Group> byHand = {}; ///< as the user put it together

    std::string shortId() const; ///< eight hexadecimal digits of a hash of the group's id
};

/// The device's photo library with the user's decisions, as the commands work on it. On the main thread, which waits.
class Library {
public:
    enum class Use { reading, changing };

    /// Changing holds the lock for as long as the answer lives. An error for people where the library cannot be used.
    static std::expected<std::unique_ptr<Library>, std::string> open(Use use);

    /// Keeps other processes from changing the library for as long as the answer lives. Waits for one that is at it and
    /// tells so, until Ctrl-C; then an error for people.
    static std::expected<std::shared_ptr<platform::LibraryLock>, std::string> lock();

    enum class Shown { groups, ignored };

    // An error for people where the catalogue cannot be read.

    std::expected<std::vector<velmorant::StitchableItem>, std::string> items();
    /// Newest first. `ignored`: those of which the user ignores every item.
    std::expected<std::vector<LibraryGroup>, std::string> groups(Shown shown = Shown::groups);

    // By beginnings of their ids; an error for people where one names none or several.

    std::expected<std::vector<velmorant::StitchableItem>, std::string> find(const std::vector<std::string>& items);
    std::expected<std::vector<LibraryGroup>, std::string> find(const std::vector<std::string>& groups, Shown shown);
    /// The items that are named and those of groups that are named.
    std::expected<std::vector<velmorant::StitchableItem>, std::string>
    findItemsOrGroups(const std::vector<std::string>& names);
    static std::expected<std::vector<platform::PHAsset>, std::string> find(const std::vector<platform::PHAsset>& among,
                                                                           const std::vector<std::string>& names);

    /// All but the steps that the user's decisions are not to go through.
    velmorant::Pipeline pipeline(Shown shown) const;

    velmorant::PhotosStitchableDataSource source;
    velmorant::AddManuallyGroupedStep& manual() { return *manual_; }
    velmorant::IgnoreUserDeletedStep& userDeleted() { return *userDeleted_; }
    velmorant::IgnoreInAppScreenshotsStep& inApp() { return *inApp_; }

private:
    Library() = default;
    std::vector<velmorant::StitchableItem> fetchedItems();
    std::vector<LibraryGroup> listedGroups(Shown shown);
    std::vector<velmorant::Group> process(const velmorant::Pipeline& pipeline) const;

    std::shared_ptr<velmorant::AddManuallyGroupedStep> manual_ = std::make_shared<velmorant::AddManuallyGroupedStep>();
    std::shared_ptr<velmorant::IgnoreUserDeletedStep> userDeleted_ =
        std::make_shared<velmorant::IgnoreUserDeletedStep>();
    std::shared_ptr<velmorant::IgnoreInAppScreenshotsStep> inApp_ = velmorant::IgnoreInAppScreenshotsStep::make(source);
    std::shared_ptr<platform::LibraryLock> lock_; ///< while changing
};

// As lists tell them.

std::string shortened(const std::string& id);
std::string localDate(const platform::Date& date);    ///< as in "2026-03-01 10:11:12"
std::string sizeOf(const velmorant::PixelSize& size); ///< as in "390 x 844"

/// One line for people: what is wrong, with which file, and what can be done.
std::string libraryErrorMessage(const platform::PhotoLibraryError& error);

/// What `fetch` answers, or an error for people where the catalogue could not be read meanwhile: then a fetch answers
/// nothing, as if the library were empty.
template <class Fetch>
std::expected<std::invoke_result_t<Fetch>, std::string> checked(const Fetch& fetch) {
    const auto photos = platform::PHPhotoLibrary::shared();
    std::ignore = photos->takeReadFailure();
    auto fetched = fetch();
    if (const auto failure = photos->takeReadFailure())
        return std::unexpected(libraryErrorMessage(*failure));
    return fetched;
}

using ChangeResult = std::expected<void, platform::PhotoLibraryError>;

/// Carries changes of the photo library out and waits for their end; nothing where Ctrl-C came first. On the main
/// thread.
std::optional<ChangeResult> performChanges(const std::function<void()>& changes);

/// Whether the same may go well later.
bool mayPass(const platform::PhotoLibraryError& error);

} // namespace host
