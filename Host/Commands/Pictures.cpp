#include "Host/Commands/Pictures.hpp"

#include "Host/AssetSource.hpp"
#include "Host/Console.hpp"
#include "Host/Filing.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Host/Interrupt.hpp"
#include "Host/Message.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/JSONWriter.hpp"
#include "Velmorant/Pipeline/Steps/IgnoreEmptyOrSingleStep.hpp"

#include <algorithm>
#include <unordered_set>

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

/// The groups that the library lists, without what their source does not have any more.
class GivenGroups final : public velmorant::PipelineStep {
public:
    explicit GivenGroups(std::vector<velmorant::Group> groups) : groups_(std::move(groups)) {}

    std::string name() const override { return "Take the groups that the library lists"; }
    std::vector<velmorant::Group> process(std::vector<velmorant::Group> fetched) const override {
        std::unordered_set<std::string> ids;
        for (const velmorant::Group& group : fetched)
            for (const StitchableItem& item : group.items())
                ids.insert(item.id);
        std::vector<velmorant::Group> groups;
        for (const velmorant::Group& group : groups_) {
            std::vector<StitchableItem> items = group.items();
            std::erase_if(items, [&](const StitchableItem& item) { return !ids.contains(item.id); });
            groups.emplace_back(std::move(items), group.date());
        }
        return groups;
    }

private:
    std::vector<velmorant::Group> groups_;
};

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
                        [&](StitchReport& report) {
                            report.failed = files->bad();
                            report.canPlace = false;
                        });
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

ExitStatus reportGroups(StitchOptions options) {
    if (const auto refusal = refusalOfReport(options.report, {}))
        return refused(*refusal);
    const auto library = Library::open(Library::Use::reading);
    if (!library)
        return refused(library.error(), ExitStatus::incomplete);
    std::vector<velmorant::Group> groups;
    std::vector<StitchableItem> items;
    const auto listed = (*library)->groups();
    if (!listed)
        return refused(listed.error(), ExitStatus::incomplete);
    for (const LibraryGroup& group : *listed)
        if (group.state != LibraryGroup::State::stitched) {
            groups.push_back(group.group);
            std::ranges::copy(group.group.items(), std::back_inserter(items));
        }
    options.explain = options.picture.dryRun = true;
    const auto files = AssetSource::make(std::move(items));
    velmorant::Pipeline pipeline(files, loggerFor(options));
    pipeline.add(GivenGroups(std::move(groups)));
    pipeline.add(velmorant::IgnoreEmptyOrSingleStep());
    return stitchGroups(options, pipeline, files, *Outputs::of({}, {}), [&](StitchReport& report) {
        report.failed = files->bad();
        report.canPlace = false;
    });
}

ExitStatus saveGroups(const NamedOptions& options) {
    const auto opened = Library::open(Library::Use::reading);
    if (!opened)
        return refused(opened.error(), ExitStatus::incomplete);
    Library& library = **opened;
    Filing filing;
    auto found = options.all ? library.groups() : library.find(options.names, Shown::groups);
    if (!found)
        return refused(found.error(), options.all ? ExitStatus::incomplete : ExitStatus::wrongCall);
    std::vector<LibraryGroup>& groups = *found;
    if (options.all)
        std::erase_if(groups, [filed = Filing::filedGroups()](const LibraryGroup& group) {
            return group.state != LibraryGroup::State::open || filed.contains(group.group.id());
        });

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
        isComplete &= filed.wasThere || (filed.picture && filed.leftOut.empty() && filed.bad.empty());
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
            told += message("{}: {} screenshot was left out; see velmorant show\n",
                            "{}: {} screenshots were left out; see velmorant show\n", filed.leftOut.size(),
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
    const auto items = (*library)->findItemsOrGroups(options.names);
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
