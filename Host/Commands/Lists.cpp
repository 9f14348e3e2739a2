#include "Host/Commands/Lists.hpp"

#include "Host/AssetSource.hpp"
#include "Host/Console.hpp"
#include "Host/GroupJSON.hpp"
#include "Host/Library.hpp"
#include "Host/Message.hpp"
#include "Host/TextWidth.hpp"
#include "Orbelquist/AlignerVersion.hpp"
#include "Platform/Photos/PHFetchResult.hpp"
#include "Velmorant/Alignment/AlignerDiskCache.hpp"

#include <algorithm>
#include <cmath>

namespace host {

using platform::JSONWriter;
using velmorant::StitchableItem;

namespace {

ExitStatus printed(const std::string& text) {
    return print(text) ? ExitStatus::success : ExitStatus::incomplete;
}

std::string typeOf(const StitchableItem& item) {
    return item.type == StitchableItem::ItemType::unstitched ? message("screenshot") : message("stitched");
}

std::string stateOf(const LibraryGroup& group) {
    switch (group.state) {
    case LibraryGroup::State::open:
        break;
    case LibraryGroup::State::filed:
        return message("filed");
    case LibraryGroup::State::stitched:
        return message("stitched");
    }
    return message("open");
}

std::string reasonOf(const LibraryGroup& group) {
    const auto& items = group.group.items();
    if (group.state == LibraryGroup::State::stitched)
        return message("a finished picture");
    if (group.byHand)
        return message("put together by hand");
    double widest = 0;
    for (std::size_t i = 1; i < items.size(); ++i)
        widest = std::max(widest, std::abs(items[i].date.timeIntervalSinceReferenceDate -
                                           items[i - 1].date.timeIntervalSinceReferenceDate));
    return message("one size, at most {} s apart", {std::to_string(std::lround(widest))});
}

} // namespace

ExitStatus listItems(bool json) {
    const auto library = Library::open(Library::Use::reading);
    if (!library)
        return complain(library.error()), ExitStatus::incomplete;
    const auto items = (*library)->items();
    if (!items)
        return complain(items.error()), ExitStatus::incomplete;
    const auto files = AssetSource::make(*items);
    JSONWriter writer;
    std::vector<std::vector<std::string>> table;
    writer.beginObject().key("items").beginArray();
    for (const StitchableItem& item : *items) {
        const auto& path = files->path(item);
        std::error_code unknown;
        const bool isMissing = !std::filesystem::exists(path, unknown);
        if (json)
            writeItem(writer, item, path, isMissing);
        else
            table.push_back({shortened(item.id), localDate(item.date), sizeOf(item.assetSize), typeOf(item)});
        if (isMissing && !json)
            table.back().push_back(message("(its file is gone)"));
    }
    writer.endArray().endObject();
    return printed(json            ? writer.text() + "\n"
                   : table.empty() ? message("the library is empty; velmorant import FOLDER fills it\n")
                                   : tableOf(table));
}

ExitStatus listGroups(const GroupListOptions& options) {
    const auto library = Library::open(Library::Use::reading);
    if (!library)
        return complain(library.error()), ExitStatus::incomplete;
    const auto listed = (*library)->groups(options.ignored ? Library::Shown::ignored : Library::Shown::groups);
    if (!listed)
        return complain(listed.error()), ExitStatus::incomplete;
    const auto& groups = *listed;
    if (!options.json) {
        std::vector<std::vector<std::string>> table;
        for (const LibraryGroup& group : groups) {
            const auto& items = group.group.items();
            const std::string count = std::to_string(items.size());
            table.push_back({group.shortId(), localDate(group.group.date()),
                             message("{} of {}", {count, sizeOf(items.front().assetSize)}), stateOf(group),
                             reasonOf(group)});
        }
        return printed(table.empty() ? message("no groups\n") : tableOf(table));
    }
    const auto cache = velmorant::AlignerDiskCache::make(orbelquist::alignerVersion);
    cache->waitUntilLoaded();
    std::vector<StitchableItem> items;
    for (const LibraryGroup& group : groups)
        std::ranges::copy(group.group.items(), std::back_inserter(items));
    const auto files = AssetSource::make(std::move(items));
    JSONWriter writer;
    writer.beginObject().key("groups").beginArray();
    for (const LibraryGroup& group : groups)
        writeGroup(writer,
                   {.group = group.group, .alignment = cache->alignment(group.group.id()), .error = {}, .output = {}},
                   MemoryShown::no, *files, {});
    writer.endArray().endObject();
    return printed(writer.text() + "\n");
}

ExitStatus listAlbums(bool json) {
    const auto library = Library::open(Library::Use::reading);
    if (!library)
        return complain(library.error()), ExitStatus::incomplete;
    JSONWriter writer;
    std::vector<std::vector<std::string>> table;
    writer.beginObject().key("albums").beginArray();
    const auto all = checked([] { return platform::PHCollection::fetchTopLevelUserCollections(); });
    if (!all)
        return complain(all.error()), ExitStatus::incomplete;
    for (const platform::PHCollection& collection : *all) {
        const auto album = collection.assetCollection();
        if (!album)
            continue;
        const auto count = checked([&] { return platform::PHAsset::fetchAssets(*album).count(); });
        if (!count)
            return complain(count.error()), ExitStatus::incomplete;
        const std::string title = album->localizedTitle().value_or("");
        writer.beginObject().member("id", album->localIdentifier()).member("title", title).member("count", *count);
        writer.endObject();
        table.push_back({shown(title), message("{} picture", "{} pictures", *count, {std::to_string(*count)})});
    }
    writer.endArray().endObject();
    return printed(json ? writer.text() + "\n" : (table.empty() ? message("no albums\n") : tableOf(table)));
}

} // namespace host
