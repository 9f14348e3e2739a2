#include "Host/Commands/Pictures.hpp"

#include "Host/AssetSource.hpp"
#include "Host/Console.hpp"
#include "Host/Filing.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Host/Interrupt.hpp"
#include "Host/Message.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/JSONWriter.hpp"
#include "Platform/Photos/LibraryLock.hpp"

#include <algorithm>

namespace host {

namespace fs = std::filesystem;
using velmorant::StitchableItem;
using Shown = Library::Shown;

namespace {

ExitStatus refused(const std::string& reason, ExitStatus status = ExitStatus::wrongCall) {
    complain(reason);
    return status;
}

std::expected<LibraryGroup, ExitStatus> groupNamed(const std::string& name) {
    const auto library = Library::open(Library::Use::reading);
    if (!library)
        return std::unexpected(refused(library.error(), ExitStatus::incomplete));
    const auto found = (*library)->find({name}, Shown::groups);
    if (!found)
        return std::unexpected(refused(found.error()));
    return found->front();
}

ExitStatus stitchOne(const std::string& name, StitchOptions options) {
    const auto group = groupNamed(name);
    if (!group)
        return group.error();
    if (group->state == LibraryGroup::State::stitched)
        return refused(message("{}: it is a finished picture; velmorant export copies it", {group->shortId()}));
    const auto outputs = Outputs::of(options.output, {});
    if (!outputs)
        return refused(outputs.error());
    options.together = true;
    const auto files = AssetSource::make(group->group.items());
    return stitchGroups(options, velmorant::Pipeline(files, loggerFor(options)), files, *outputs,
                        [&](StitchReport& report) { report.failed = files->bad(); });
}

} // namespace

ExitStatus showGroup(const std::string& group, StitchOptions options) {
    options.explain = true;
    options.picture.dryRun = true;
    return stitchOne(group, std::move(options));
}

ExitStatus renderGroup(const std::string& group, const StitchOptions& options) {
    return stitchOne(group, options);
}

ExitStatus saveGroups(const NamedOptions& options) {
    const auto opened = Library::open(Library::Use::changing);
    if (!opened)
        return refused(opened.error(), ExitStatus::incomplete);
    Library& library = **opened;
    Filing filing(library);
    std::vector<LibraryGroup> groups;
    if (options.all) {
        groups = library.groups();
        std::erase_if(groups, [filed = filing.filedGroups()](const LibraryGroup& group) {
            return group.state != LibraryGroup::State::open || filed.contains(group.group.id());
        });
    } else {
        auto found = library.find(options.names, Shown::groups);
        if (!found)
            return refused(found.error());
        groups = std::move(*found);
    }

    bool isComplete = true;
    std::string told;
    platform::JSONWriter json;
    json.beginObject().key("saved").beginArray();
    for (std::size_t i = 0; i < groups.size() && !Interrupt::requested(); ++i) {
        const LibraryGroup& group = groups[i];
        showStatus(message("saving: {} of {} groups are done", {std::to_string(i), std::to_string(groups.size())}));
        if (group.state != LibraryGroup::State::open) {
            complain(message("{}: it is in the album already", {group.shortId()}));
            continue;
        }
        const Filed filed = filing.file(group.group);
        isComplete &= filed.picture.has_value() && filed.leftOut.empty() && filed.bad.empty();
        for (const BadFile& file : filed.bad)
            complain(imageErrorMessage(file.path, file.error));
        if (!filed.picture) {
            complain(message("{}: {}", {group.shortId(), *filed.error}));
            continue;
        }
        const auto& size = filed.picture->assetSize;
        told += message(
            "{}: saved, {} screenshots joined, {} x {} pixels\n",
            {group.shortId(), std::to_string(filed.joined), std::to_string(size.width), std::to_string(size.height)});
        if (!filed.leftOut.empty())
            told += message("{}: {} screenshots were left out; see velmorant show\n",
                            {group.shortId(), std::to_string(filed.leftOut.size())});
        json.beginObject().member("group", group.group.id()).member("item", filed.picture->id).endObject();
    }
    json.endArray().endObject();
    showStatus({});
    if (groups.empty())
        told = message("nothing is left to save\n");
    if (!print(options.json ? json.text() + "\n" : told))
        isComplete = false;
    if (Interrupt::requested())
        return ExitStatus::interrupted;
    return isComplete ? ExitStatus::success : ExitStatus::incomplete;
}

ExitStatus exportItems(const NamedOptions& options, const fs::path& folder) {
    const auto library = Library::open(Library::Use::reading);
    if (!library)
        return refused(library.error(), ExitStatus::incomplete);
    const auto items = (*library)->find(options.names);
    if (!items)
        return refused(items.error());
    if (const auto made = platform::FileManager::createDirectory(folder); !made)
        return refused(message("{}: the folder cannot be made ({})", {shown(folder), made.error().message()}),
                       ExitStatus::incomplete);
    const auto files = AssetSource::make(*items);
    bool isComplete = true;
    platform::JSONWriter json;
    std::string told;
    json.beginObject().key("exported").beginArray();
    for (const StitchableItem& item : *items) {
        const fs::path& from = files->path(item);
        const fs::path to = folder / (item.id + from.extension().native());
        std::error_code error;
        fs::copy_file(from, to, error); // what is there stays
        if (error) {
            complain(message("{}: it was not copied ({})", {shown(to), error.message()}));
            isComplete = false;
            continue;
        }
        json.value(to.native());
        told += shown(to) + "\n";
    }
    json.endArray().endObject();
    return print(options.json ? json.text() + "\n" : told) && isComplete ? ExitStatus::success : ExitStatus::incomplete;
}

} // namespace host
