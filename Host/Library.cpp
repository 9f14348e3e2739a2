#include "Host/Library.hpp"

#include "Host/Console.hpp"
#include "Host/ConsoleLog.hpp"
#include "Host/Interrupt.hpp"
#include "Host/Message.hpp"
#include "Host/Waiting.hpp"
#include "Platform/Foundation/Calendar.hpp"
#include "Platform/Foundation/ContentHash.hpp"
#include "Platform/Photos/LibraryLock.hpp"
#include "Platform/Photos/PHChangeRequests.hpp"
#include "Velmorant/Pipeline/Steps/AddPrestitchedStep.hpp"
#include "Velmorant/Pipeline/Steps/Grouper.hpp"
#include "Velmorant/Pipeline/Steps/IgnoreEmptyOrSingleStep.hpp"
#include "Velmorant/Pipeline/Steps/SortGroupsStep.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <cstdio>

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

/// For each of the names the one thing with an id that begins so, letters of either case; an error for people.
template <class Thing>
std::expected<std::vector<Thing>, std::string>
named(const std::vector<Thing>& things, const std::vector<std::string>& names,
      const std::function<std::vector<std::string>(const Thing&)>& idsOf) {
    std::vector<Thing> all;
    for (const std::string& name : names) {
        std::vector<const Thing*> found;
        for (const Thing& thing : things)
            if (std::ranges::any_of(idsOf(thing),
                                    [&](const std::string& id) { return lowercase(id).starts_with(lowercase(name)); }))
                found.push_back(&thing);
        if (found.empty() || name.empty())
            return std::unexpected(message("{}: nothing in the library has an id that begins so", {shown(name)}));
        if (found.size() > 1)
            return std::unexpected(
                message("{}: {} ids begin so; write more of it", {shown(name), std::to_string(found.size())}));
        all.push_back(*found.front());
    }
    return all;
}

std::vector<std::string> idsOf(const StitchableItem& item) {
    return {item.id};
}

std::vector<std::string> idsOf(const LibraryGroup& group) {
    return {group.shortId(), group.group.id()};
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
        auto taken = Library::lock();
        if (!taken)
            return std::unexpected(taken.error());
        lock = std::move(*taken);
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

std::expected<std::shared_ptr<platform::LibraryLock>, std::string> Library::lock() {
    auto taken = platform::PHPhotoLibrary::shared()->lock(toldToWait());
    showStatus({});
    if (!taken)
        return std::unexpected(libraryErrorMessage(taken.error()));
    return std::move(*taken);
}

std::expected<std::vector<StitchableItem>, std::string> Library::items() {
    return checked([this] { return fetchedItems(); });
}

std::expected<std::vector<LibraryGroup>, std::string> Library::groups(Shown shown) {
    return checked([this, shown] { return listedGroups(shown); });
}

std::vector<StitchableItem> Library::fetchedItems() {
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
    return awaited<std::vector<Group>>([&](const auto& done) {
               pipeline.process(
                   [done](std::vector<Group> groups, const velmorant::Change&) { done(std::move(groups)); });
           })
        .value_or(std::vector<Group>());
}

std::vector<LibraryGroup> Library::listedGroups(Shown shown) {
    std::unordered_set<std::string> filed;
    for (const platform::PHAssetNote& note : platform::notesOfAssets())
        filed.insert(note.note);
    std::unordered_map<std::string, Group> byHand; // by the ids that they are listed by
    for (const Group& group : manual_->process({})) {
        auto listed = inApp_->process({group});
        byHand.emplace((shown == Shown::groups ? userDeleted_->process(listed) : listed).front().id(), group);
    }
    std::vector<LibraryGroup> listed;
    for (Group& group : process(pipeline(shown))) {
        if (shown == Shown::ignored && !userDeleted_->process({group}).front().items().empty())
            continue;
        const std::string id = group.id();
        const auto state = group.prestitched()  ? LibraryGroup::State::stitched
                           : filed.contains(id) ? LibraryGroup::State::filed
                                                : LibraryGroup::State::open;
        const auto made = byHand.find(id);
        listed.push_back({std::move(group), state, made == byHand.end() ? std::nullopt : std::optional(made->second)});
    }
    return listed;
}

std::expected<std::vector<StitchableItem>, std::string> Library::find(const std::vector<std::string>& names) {
    const auto all = items();
    if (!all)
        return all;
    return named<StitchableItem>(*all, names, [](const StitchableItem& item) { return idsOf(item); });
}

std::expected<std::vector<LibraryGroup>, std::string> Library::find(const std::vector<std::string>& names,
                                                                    Shown shown) {
    const auto all = groups(shown);
    if (!all)
        return all;
    return named<LibraryGroup>(*all, names, [](const LibraryGroup& group) { return idsOf(group); });
}

std::expected<std::vector<StitchableItem>, std::string>
Library::findItemsOrGroups(const std::vector<std::string>& names) {
    struct Thing {
        std::vector<std::string> ids;
        std::vector<StitchableItem> items;
    };
    std::vector<Thing> things;
    const auto allItems = items();
    const auto allGroups = groups();
    if (!allItems || !allGroups)
        return std::unexpected(allItems ? allGroups.error() : allItems.error());
    for (const StitchableItem& item : *allItems)
        things.push_back({idsOf(item), {item}});
    for (const LibraryGroup& group : *allGroups)
        things.push_back({idsOf(group), group.group.items()});
    const auto found = named<Thing>(things, names, [](const Thing& thing) { return thing.ids; });
    if (!found)
        return std::unexpected(found.error());
    std::vector<StitchableItem> items;
    for (const Thing& thing : *found)
        std::ranges::copy(thing.items, std::back_inserter(items));
    return items;
}

std::expected<std::vector<platform::PHAsset>, std::string> Library::find(const std::vector<platform::PHAsset>& among,
                                                                         const std::vector<std::string>& names) {
    return named<platform::PHAsset>(among, names,
                                    [](const platform::PHAsset& asset) { return std::vector{asset.localIdentifier}; });
}

std::string shortened(const std::string& id) {
    return id.substr(0, 8);
}

std::string localDate(const platform::Date& date) {
    const auto local = platform::Calendar::current().components(date);
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", local.year, local.month, local.day,
                  local.hour, local.minute, local.second);
    return text.data();
}

std::string sizeOf(const velmorant::PixelSize& size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height);
}

std::optional<ChangeResult> performChanges(const std::function<void()>& changes) {
    using Error = std::optional<PhotoLibraryError>;
    return awaited<ChangeResult>([&](const auto& done) {
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

bool mayPass(const PhotoLibraryError& error) {
    using enum PhotoLibraryError::Code;
    return error.code == readFailed || error.code == writeFailed || error.code == busy;
}

} // namespace host
