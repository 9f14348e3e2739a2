#include "Host/Commands/Decisions.hpp"

#include "Host/Console.hpp"
#include "Host/Library.hpp"
#include "Host/Message.hpp"
#include "Host/TextWidth.hpp"
#include "Host/Waiting.hpp"
#include "Platform/Foundation/JSONWriter.hpp"
#include "Platform/Foundation/NotificationCenter.hpp"
#include "Platform/Foundation/WriteFailure.hpp"
#include "Platform/Photos/LibraryLock.hpp"
#include "Platform/Photos/PHChangeRequests.hpp"
#include "Platform/Photos/PHFetchResult.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <iostream>

namespace host {

using platform::PHAsset;
using platform::PHPhotoLibrary;
using velmorant::Group;
using velmorant::StitchableItem;
using Shown = Library::Shown;

namespace {

/// Tells what was done, or why it was not.
ExitStatus told(const std::string& line, const std::string& verb, std::size_t count, bool json) {
    if (const auto failure = platform::lastWriteFailure()) {
        complain(message("{}: it could not be written ({}); nothing was changed; make room or look at its permissions",
                         {shown(failure->file), failure->error.message()}));
        return ExitStatus::incomplete;
    }
    platform::JSONWriter writer;
    writer.beginObject().member(verb, count).endObject();
    return print(json ? writer.text() + "\n" : line + "\n") ? ExitStatus::success : ExitStatus::incomplete;
}

ExitStatus refused(const std::string& reason, ExitStatus status = ExitStatus::wrongCall) {
    complain(reason);
    return status;
}

/// Runs `work` on a library that nobody else changes meanwhile.
ExitStatus changing(const std::function<ExitStatus(Library&)>& work) {
    const auto library = Library::open(Library::Use::changing);
    return library ? work(**library) : refused(library.error(), ExitStatus::incomplete);
}

/// Asks on a terminal; elsewhere the call must have said so already.
bool agrees(const std::string& question, bool yes) {
    if (yes)
        return true;
    if (isatty(STDIN_FILENO) != 1)
        return complain(message("nobody can be asked here; add --yes")), false;
    std::fputs((question + " [y/N] ").c_str(), stderr);
    std::string answer;
    return std::getline(std::cin, answer) && (answer == "y" || answer == "Y" || answer == "yes");
}

std::string countOf(std::size_t count) {
    return std::to_string(count);
}

} // namespace

ExitStatus ignoreGroup(const NamedOptions& options) {
    return changing([&](Library& library) {
        const auto found = library.find(options.names, Shown::groups);
        if (!found)
            return refused(found.error());
        for (const LibraryGroup& group : *found)
            library.userDeleted().ignore(group.group);
        return told(message("ignored: {}", {countOf(found->size())}), "ignored", found->size(), options.json);
    });
}

ExitStatus unignoreGroups(const NamedOptions& options) {
    return changing([&](Library& library) {
        const auto found = options.all ? library.groups(Shown::ignored) : library.find(options.names, Shown::ignored);
        if (!found)
            return refused(found.error());
        for (const LibraryGroup& group : *found)
            library.userDeleted().unignore(group.group);
        if (options.all)
            library.userDeleted().reset();
        return told(message("no longer ignored: {}", {countOf(found->size())}), "unignored", found->size(),
                    options.json);
    });
}

ExitStatus combineItems(const NamedOptions& options) {
    return changing([&](Library& library) {
        auto items = library.find(options.names);
        if (!items)
            return refused(items.error());
        if (items->size() < 2)
            return refused(message("name two items or more"));
        std::ranges::stable_sort(*items, std::ranges::greater(), &StitchableItem::date); // as the library lists them
        items->erase(std::unique(items->begin(), items->end()), items->end());
        const LibraryGroup group{Group(std::move(*items))};
        library.manual().add(group.group);
        return told(message("combined: {}", {group.shortId()}), "combined", group.group.items().size(), options.json);
    });
}

ExitStatus separateGroup(const NamedOptions& options) {
    return changing([&](Library& library) {
        const auto found = library.find(options.names, Shown::groups);
        if (!found)
            return refused(found.error());
        for (const LibraryGroup& group : *found)
            if (!group.byHand)
                return refused(message("{}: it was not put together by hand; velmorant ignore takes it out of the list",
                                       {group.shortId()}));
        for (const LibraryGroup& group : *found)
            library.manual().remove(*group.byHand);
        return told(message("separated: {}", {countOf(found->size())}), "separated", found->size(), options.json);
    });
}

ExitStatus deleteItems(const NamedOptions& options) {
    return changing([&](Library& library) {
        const auto items = library.find(options.names);
        if (!items)
            return refused(items.error());
        if (!agrees(message("delete {} items? They can be restored for 30 days.", {countOf(items->size())}),
                    options.yes))
            return refused(message("nothing was deleted"), ExitStatus::incomplete);
        const auto success = awaited<bool>([&](auto done) { library.source.deleteItems(*items, std::move(done)); });
        const auto left = library.items(); // read back: no word is taken for it
        if (!left)
            return refused(left.error(), ExitStatus::incomplete);
        const bool isGone = std::ranges::none_of(*items, [&](const StitchableItem& item) {
            return std::ranges::any_of(*left, [&](const StitchableItem& other) { return other.id == item.id; });
        });
        if (!success.value_or(false) || !isGone)
            return refused(message("nothing was deleted: the library cannot be written; make room or look at its "
                                   "permissions"),
                           ExitStatus::incomplete);
        return told(message("deleted: {}; velmorant restore brings them back", {countOf(items->size())}), "deleted",
                    items->size(), options.json);
    });
}

ExitStatus restoreItems(const NamedOptions& options) {
    return changing([&](Library&) {
        const auto trash = checked([] { return PHAsset::fetchDeletedAssets().assets(); });
        if (!trash)
            return refused(trash.error(), ExitStatus::incomplete);
        const auto found = options.all ? trash : Library::find(*trash, options.names);
        if (!found)
            return refused(message("{}; velmorant trash lists what was deleted", {found.error()}));
        const std::vector<PHAsset>& restored = *found;
        const auto done = performChanges([restored] { platform::PHAssetChangeRequest::restoreAssets(restored); });
        if (!done || !*done)
            return refused(done ? libraryErrorMessage(done->error()) : message("interrupted"), ExitStatus::incomplete);
        return told(message("restored: {}", {countOf(restored.size())}), "restored", restored.size(), options.json);
    });
}

ExitStatus listTrash(bool json) {
    const auto library = Library::open(Library::Use::reading);
    if (!library)
        return refused(library.error(), ExitStatus::incomplete);
    platform::JSONWriter writer;
    std::vector<std::vector<std::string>> table;
    writer.beginObject().key("items").beginArray();
    const auto trash = checked([] { return PHAsset::fetchDeletedAssets().assets(); });
    if (!trash)
        return refused(trash.error(), ExitStatus::incomplete);
    for (const PHAsset& asset : *trash) {
        writer.beginObject().member("id", asset.localIdentifier).member("path", asset.file().native()).endObject();
        table.push_back({shortened(asset.localIdentifier),
                         localDate(asset.creationDate.value_or(platform::Date::distantPast())),
                         sizeOf({asset.pixelWidth, asset.pixelHeight, 1})});
    }
    writer.endArray().endObject();
    const std::string text = json            ? writer.text() + "\n"
                             : table.empty() ? message("the trash is empty\n")
                                             : tableOf(table);
    return print(text) ? ExitStatus::success : ExitStatus::incomplete;
}

ExitStatus emptyTrash(const NamedOptions& options) {
    return changing([&](Library&) {
        const std::size_t count = PHAsset::fetchDeletedAssets().count();
        if (count > 0 && !agrees(message("remove {} items for good?", {countOf(count)}), options.yes))
            return refused(message("nothing was removed"), ExitStatus::incomplete);
        const auto removed = PHPhotoLibrary::shared()->emptyTrash();
        if (!removed)
            return refused(libraryErrorMessage(removed.error()), ExitStatus::incomplete);
        return told(message("removed for good: {}", {std::to_string(*removed)}), "removed",
                    static_cast<std::size_t>(*removed), options.json);
    });
}

ExitStatus permission(const std::string& verb, const NamedOptions& items) {
    using Status = platform::PHAuthorizationStatus;
    const auto photos = PHPhotoLibrary::shared();
    std::expected<void, platform::PhotoLibraryError> done = photos->check();
    if (done && verb == "grant")
        done = photos->setAuthorization(Status::authorized);
    if (done && verb == "deny")
        done = photos->setAuthorization(Status::denied);
    if (done && verb == "limit") {
        if (items.names.empty())
            return refused(message("name the items that a limited access covers"));
        const auto lock = photos->lock();
        const Status before = PHPhotoLibrary::authorizationStatus();
        done = photos->setAuthorization(Status::authorized); // all can be chosen from
        const auto found = Library::find(PHAsset::fetchAssets({}).assets(), items.names);
        if (done && !found) {
            std::ignore = photos->setAuthorization(before);
            return refused(found.error());
        }
        std::vector<std::string> chosen;
        std::ranges::transform(found.value_or(std::vector<PHAsset>()), std::back_inserter(chosen),
                               &PHAsset::localIdentifier);
        if (done)
            done = photos->setLimitedSelection(chosen);
        if (done)
            done = photos->setAuthorization(Status::limited);
    }
    if (done && verb == "ask") {
        photos->setPrompts({.authorization =
                                [] {
                                    return agrees(message("may velmorant see and change this photo library?"), false)
                                               ? Status::authorized
                                               : Status::denied;
                                },
                            .limitedSelection = {}});
        if (isatty(STDIN_FILENO) != 1)
            return refused(message("nobody can be asked here; use velmorant permission grant"));
        done = photos->setAuthorization(Status::notDetermined);
        velmorant::PhotosStitchableDataSource source;
        awaited<bool>([&](const auto& answered) { source.promptForPermission([answered] { answered(true); }); });
    }
    if (!done)
        return refused(libraryErrorMessage(done.error()), ExitStatus::incomplete);
    const char* names[] = {translatable("notRequested"), translatable("allowed"), translatable("limited"),
                           translatable("denied")};
    const char* name = names[static_cast<int>(velmorant::PhotosStitchableDataSource().permissionStatus())];
    platform::JSONWriter writer;
    writer.beginObject().member("permission", name).endObject();
    return print((items.json ? writer.text() : message(name)) + "\n") ? ExitStatus::success : ExitStatus::incomplete;
}

ExitStatus noteCapture() {
    return changing([](Library& library) {
        std::ignore = library.items(); // the source is there; what follows records its first item
        platform::NotificationCenter::defaultCenter()->post(library.inApp().notification);
        std::ignore = library.items(); // comes after the recording, on the same queues
        return told(message("the newest screenshot is kept out of the groups"), "noted", 1, false);
    });
}

} // namespace host
