#include "Host/Library.hpp"

#include "Host/Console.hpp"
#include "Host/ConsoleLog.hpp"
#include "Host/Interrupt.hpp"
#include "Host/Message.hpp"
#include "Host/Waiting.hpp"
#include "Platform/Foundation/ContentHash.hpp"
#include "Platform/Photos/LibraryLock.hpp"
#include "Platform/Photos/PHChangeRequests.hpp"
#include "Velmorant/Pipeline/Steps/AddPrestitchedStep.hpp"
#include "Velmorant/Pipeline/Steps/Grouper.hpp"
#include "Velmorant/Pipeline/Steps/IgnoreEmptyOrSingleStep.hpp"
#include "Velmorant/Pipeline/Steps/SortGroupsStep.hpp"

#include <algorithm>
#include <cctype>
#include <chrono>

namespace host {

using platform::PhotoLibraryError;
using velmorant::Group;
using velmorant::StitchableItem;

namespace {

/// Screenshots of one size less than so many seconds apart are one run.
constexpr double interval = 20;

std::string lowercase(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

/// The one thing whose id begins as `word` does, letters of either case; an error for people.
template <class Thing>
std::expected<Thing, std::string> only(const std::vector<Thing>& things, const std::string& word,
                                       const std::function<std::vector<std::string>(const Thing&)>& idsOf) {
    std::vector<const Thing*> found;
    for (const Thing& thing : things)
        if (std::ranges::any_of(idsOf(thing),
                                [&](const std::string& id) { return lowercase(id).starts_with(lowercase(word)); }))
            found.push_back(&thing);
    if (found.empty() || word.empty())
        return std::unexpected(message("{}: nothing in the library has an id that begins so", {shown(word)}));
    if (found.size() > 1)
        return std::unexpected(
            message("{}: {} ids begin so; write more of it", {shown(word), std::to_string(found.size())}));
    return *found.front();
}

/// Until Ctrl-C; tells the user once it takes a while.
std::function<bool()> toldToWait() {
    using Clock = std::chrono::steady_clock;
    return [begun = Clock::now()] {
        if (Clock::now() - begun > std::chrono::milliseconds(500))
            showStatus(message("another velmorant is changing the library; waiting for it"));
        return !Interrupt::requested();
    };
}

} // namespace

std::string LibraryGroup::shortId() const {
    platform::ContentHash hash;
    const std::string id = group.id();
    hash.add(id.data(), id.size());
    return hash.hex().substr(0, 8);
}

std::expected<std::unique_ptr<Library>, std::string> Library::open(Use use) {
    const auto photos = platform::PHPhotoLibrary::shared();
    if (const auto checked = photos->check(); !checked)
        return std::unexpected(libraryErrorMessage(checked.error()));
    std::shared_ptr<platform::LibraryLock> lock;
    if (use == Use::changing) {
        auto taken = photos->lock(toldToWait());
        showStatus({});
        if (!taken)
            return std::unexpected(libraryErrorMessage(taken.error()));
        lock = *taken;
        if (const auto emptied = photos->emptyTrash(photos->trashKeeps); !emptied)
            return std::unexpected(libraryErrorMessage(emptied.error()));
    }
    std::unique_ptr<Library> library(new Library); // its steps read their state under the lock
    library->lock_ = std::move(lock);
    using Status = velmorant::StitchableDataSourcePermissionStatus;
    const Status status = library->source.permissionStatus();
    if (status == Status::notRequested || status == Status::denied)
        return std::unexpected(message("access to the library is not granted; see velmorant permission --help"));
    return library;
}

std::vector<StitchableItem> Library::items() {
    return awaited<std::vector<StitchableItem>>(
               [this](auto done) { source.fetchItems(platform::DispatchQueue::main(), std::move(done)); })
        .value_or(std::vector<StitchableItem>());
}

velmorant::Pipeline Library::pipeline(Shown shown) const {
    const auto logger = std::make_shared<ConsoleLog>(velmorant::LogStoreType::fault);
    velmorant::Pipeline pipeline(std::make_shared<velmorant::PhotosStitchableDataSource>(source), logger);
    pipeline.add(velmorant::Grouper(interval, logger));
    pipeline.add(velmorant::AddPrestitchedStep());
    pipeline.add(manual_);
    pipeline.add(inApp_);
    if (shown == Shown::groups)
        pipeline.add(userDeleted_);
    pipeline.add(velmorant::IgnoreEmptyOrSingleStep());
    pipeline.add(velmorant::SortGroupsStep());
    return pipeline;
}

std::vector<Group> Library::process(const velmorant::Pipeline& pipeline) const {
    return awaited<std::vector<Group>>([&](auto done) {
               pipeline.process(
                   [done](std::vector<Group> groups, const velmorant::Change&) { done(std::move(groups)); });
           })
        .value_or(std::vector<Group>());
}

std::vector<LibraryGroup> Library::groups(Shown shown) {
    std::unordered_set<std::string> filed, byHand;
    for (const platform::PHAssetNote& note : platform::notesOfAssets())
        filed.insert(note.note);
    for (const Group& group : manual_->process({}))
        byHand.insert(group.id());
    std::vector<LibraryGroup> listed;
    for (Group& group : process(pipeline(shown))) {
        if (shown == Shown::ignored && !userDeleted_->process({group}).front().items().empty())
            continue;
        const std::string id = group.id();
        const auto state = group.prestitched()  ? LibraryGroup::State::stitched
                           : filed.contains(id) ? LibraryGroup::State::filed
                                                : LibraryGroup::State::open;
        listed.push_back({std::move(group), state, byHand.contains(id)});
    }
    return listed;
}

std::expected<std::vector<StitchableItem>, std::string> Library::find(const std::vector<std::string>& names) {
    const auto all = items();
    std::vector<StitchableItem> found;
    for (const std::string& name : names) {
        const auto item = only<StitchableItem>(all, name, [](const StitchableItem& i) { return std::vector{i.id}; });
        if (!item)
            return std::unexpected(item.error());
        found.push_back(*item);
    }
    return found;
}

std::expected<std::vector<LibraryGroup>, std::string> Library::find(const std::vector<std::string>& names,
                                                                    Shown shown) {
    const auto all = groups(shown);
    std::vector<LibraryGroup> found;
    for (const std::string& name : names) {
        const auto group =
            only<LibraryGroup>(all, name, [](const LibraryGroup& g) { return std::vector{g.shortId(), g.group.id()}; });
        if (!group)
            return std::unexpected(group.error());
        found.push_back(*group);
    }
    return found;
}

std::optional<ChangeResult> performChanges(const std::function<void()>& changes) {
    using Error = std::optional<PhotoLibraryError>;
    return awaited<ChangeResult>([&](auto done) {
        platform::PHPhotoLibrary::shared()->performChanges(changes, [done](bool, const Error& error) {
            done(error ? ChangeResult(std::unexpected(*error)) : ChangeResult());
        });
    });
}

std::string libraryErrorMessage(const PhotoLibraryError& error) {
    const std::string file = shown(error.file);
    switch (error.code) {
    case PhotoLibraryError::Code::denied:
        return message("access to the library is not granted; see velmorant permission --help");
    case PhotoLibraryError::Code::damaged:
        return message(
            "{}: the catalogue is damaged ({}); restore it from a backup, or import the original files beside "
            "it into another library",
            {file, error.detail});
    case PhotoLibraryError::Code::newerVersion:
        return message("{}: the catalogue was written by a newer version of velmorant; use that one", {file});
    case PhotoLibraryError::Code::readFailed:
        return message("{}: it cannot be read ({})", {file, error.detail});
    case PhotoLibraryError::Code::writeFailed:
        return message("{}: it cannot be written ({}); nothing was changed; make room or look at its permissions",
                       {file, error.detail});
    case PhotoLibraryError::Code::busy:
        return message("interrupted while another velmorant changed the library; nothing was changed");
    case PhotoLibraryError::Code::badImage:
        break;
    }
    return message("{}: the picture cannot be read ({})", {file, error.detail});
}

} // namespace host
