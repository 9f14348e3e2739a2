#include "Host/StitchReport.hpp"

#include "Host/GroupJSON.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Host/Message.hpp"
#include "Platform/Foundation/JSONWriter.hpp"

#include <algorithm>

namespace host {

using platform::JSONWriter;
using velmorant::StitchableItem;

namespace {

std::string refusalOf(const StitchedGroup& stitched, const ImageFiles& files) {
    const auto& items = stitched.group.items();
    return message("{} screenshots from {} on were not joined: {}",
                   {std::to_string(items.size()), files.name(items.front()), *stitched.error});
}

/// Every seam that failed, why, and the way forward.
std::string failuresOf(const StitchedGroup& stitched, const ImageFiles& files, const Seams& seams, bool canPlace) {
    std::string text;
    bool failed = false;
    for (const Seam& seam : seams.of(stitched.group)) {
        if (seam.valid())
            continue;
        failed = true;
        text += message("  {} and {}: {}\n", {files.name(seam.upper), files.shortName(seam.lower), seam.reason()});
    }
    return failed && canPlace
               ? text + message("  to place a screenshot yourself: --at FILE=ROWS, its top edge below that of the "
                                "one before it\n")
               : text;
}

std::string summaryOf(const StitchedGroup& stitched, const StitchReport& report) {
    const ImageFiles& files = *report.files;
    const std::string failures = failuresOf(stitched, files, *report.seams, report.canPlace);
    if (stitched.error)
        return refusalOf(stitched, files) + "\n" + failures;
    const auto& items = stitched.group.items();

    const velmorant::PixelSize size = stitched.pictureSize;
    const std::string count = std::to_string(stitched.alignment->positions().size());
    const std::string width = std::to_string(size.width), height = std::to_string(size.height);
    std::string text =
        report.dryRun
            ? message("{} screenshots from {} on would be joined: {} x {} pixels, with about {} MB of memory\n",
                      {count, files.name(items.front()), width, height, std::to_string(stitched.memory / 1'000'000)})
            : message("{} screenshots joined: {} x {} pixels, {}\n", {count, width, height, shown(*stitched.output)});
    if (stitched.outputs.size() > 1)
        text += message("  in {} files, down to {}\n",
                        {std::to_string(stitched.outputs.size()), shown(stitched.outputs.back())});
    if (stitched.proof)
        text += message("read back: {} rows equal their screenshots' and {} are blended\n",
                        {std::to_string(stitched.proof->equal), std::to_string(stitched.proof->blended)});
    for (const StitchableItem& item : stitched.leftOut())
        text += message("left out: {}\n", {files.name(item)});
    return text + failures;
}

} // namespace

ExitStatus StitchReport::status() const {
    const bool placed = std::ranges::all_of(
        groups, [](const StitchedGroup& stitched) { return !stitched.error && stitched.leftOut().empty(); });
    const bool grouped = together ? !groups.empty() && alone.empty() : !strict || alone.empty();
    const bool complete = placed && grouped && failed.empty();
    return complete ? ExitStatus::success : ExitStatus::incomplete;
}

std::vector<std::string> StitchReport::refusals() const {
    std::vector<std::string> lines;
    for (const StitchedGroup& group : groups)
        if (group.error)
            lines.push_back(refusalOf(group, *files));
    return lines;
}

std::string StitchReport::json() const {
    JSONWriter json;
    json.beginObject().key("groups").beginArray();
    for (const StitchedGroup& group : groups)
        writeGroup(json, group, dryRun ? MemoryShown::yes : MemoryShown::no, *files, seams->of(group.group));
    writePaths(json.endArray().key("alone"), alone, *files);
    json.key("failed").beginArray();
    for (const BadFile& file : failed)
        json.beginObject()
            .member("path", file.path.native())
            .member("error", imageErrorMessage(file.path, file.error))
            .endObject();
    json.endArray().key("repeated").beginArray();
    for (const RepeatedFile& file : repeated)
        json.beginObject().member("path", file.path.native()).member("sameAs", file.sameAs.native()).endObject();
    json.endArray().key("ownPictures").beginArray();
    for (const auto& path : ownPictures)
        json.value(path.native());
    json.endArray().endObject();
    return json.text() + "\n";
}

std::string StitchReport::summary() const {
    std::string text;
    for (const StitchedGroup& group : groups)
        text += summaryOf(group, *this);
    if (groups.empty() && together)
        return message("nothing was joined: at least two screenshots that can be read are needed\n");

    std::vector<std::string> rest;
    const auto made = static_cast<std::size_t>(
        std::ranges::count_if(groups, [](const StitchedGroup& group) { return !group.error; }));
    const auto number = [](std::size_t count) { return std::to_string(count); };
    if (groups.empty())
        rest.push_back(message("nothing to join"));
    else if (groups.size() > 1 && dryRun)
        rest.push_back(message("{} picture would be made", "{} pictures would be made", made, {number(made)}));
    else if (groups.size() > 1)
        rest.push_back(message("{} picture", "{} pictures", made, {number(made)}));
    if (const std::size_t count = alone.size())
        rest.push_back(message("{} screenshot stands alone", "{} screenshots stand alone", count, {number(count)}));
    if (const std::size_t count = ownPictures.size())
        rest.push_back(message("{} picture made by this program was skipped",
                               "{} pictures made by this program were skipped", count, {number(count)}));
    if (const std::size_t count = failed.size())
        rest.push_back(message("{} file could not be read", "{} files could not be read", count, {number(count)}));
    for (const std::string& part : rest)
        text += (&part == &rest.front() ? "" : ", ") + part + (&part == &rest.back() ? "\n" : "");
    return text;
}

} // namespace host
