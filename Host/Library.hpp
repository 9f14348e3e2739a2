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
    bool byHand = false; ///< put together by the user

    std::string shortId() const; ///< eight hexadecimal digits of a hash of the group's id
};

/// The device's photo library with the user's decisions, as the commands work on it. On the main thread, which waits.
class Library {
public:
    enum class Use { reading, changing };

    /// Changing keeps other processes from changing it for as long as the answer lives. An error for people where it
    /// cannot be used.
    static std::expected<std::unique_ptr<Library>, std::string> open(Use use);

    enum class Shown { groups, ignored };

    std::vector<velmorant::StitchableItem> items();
    /// Newest first. `ignored`: those of which the user ignores every item.
    std::vector<LibraryGroup> groups(Shown shown = Shown::groups);

    /// By prefixes of their ids; an error for people where one names none or several.
    std::expected<std::vector<velmorant::StitchableItem>, std::string> find(const std::vector<std::string>& items);
    std::expected<std::vector<LibraryGroup>, std::string> find(const std::vector<std::string>& groups, Shown shown);

    /// All but the steps that the user's decisions are not to go through.
    velmorant::Pipeline pipeline(Shown shown) const;

    velmorant::PhotosStitchableDataSource source;
    velmorant::AddManuallyGroupedStep& manual() { return *manual_; }
    velmorant::IgnoreUserDeletedStep& userDeleted() { return *userDeleted_; }
    velmorant::IgnoreInAppScreenshotsStep& inApp() { return *inApp_; }

private:
    Library() = default;
    std::vector<velmorant::Group> process(const velmorant::Pipeline& pipeline) const;

    std::shared_ptr<velmorant::AddManuallyGroupedStep> manual_ = std::make_shared<velmorant::AddManuallyGroupedStep>();
    std::shared_ptr<velmorant::IgnoreUserDeletedStep> userDeleted_ =
        std::make_shared<velmorant::IgnoreUserDeletedStep>();
    std::shared_ptr<velmorant::IgnoreInAppScreenshotsStep> inApp_ = velmorant::IgnoreInAppScreenshotsStep::make(source);
    std::shared_ptr<platform::LibraryLock> lock_; ///< while changing
};

using ChangeResult = std::expected<void, platform::PhotoLibraryError>;

/// Carries changes of the photo library out and waits for their end; nothing where Ctrl-C came first. On the main
/// thread.
std::optional<ChangeResult> performChanges(const std::function<void()>& changes);

/// One line for people: what is wrong, with which file, and what can be done.
std::string libraryErrorMessage(const platform::PhotoLibraryError& error);

} // namespace host
