#include "Host/StitchReport.hpp"

#include "Host/ImageErrorMessage.hpp"
#include "Host/Message.hpp"
#include "Platform/Foundation/JSONWriter.hpp"

#include <algorithm>

namespace host {

using platform::JSONWriter;
using velmorant::StitchableItem;

namespace {

/// ISO 8601 in UTC, as in "2026-03-01T10:11:12Z".
std::string isoDate(const platform::Date& date) {
    std::string text = date.description().substr(0, 19);
    text[10] = 'T';
    return text + "Z";
}

const char* typeName(StitchableItem::ItemType type) {
    switch (type) {
    case StitchableItem::ItemType::unstitched:
        break;
    case StitchableItem::ItemType::prestitched:
        return "prestitched";
    case StitchableItem::ItemType::prestitchedWithWatermark:
        return "prestitchedWithWatermark";
    }
    return "unstitched";
}

void writeRange(JSONWriter& json, const velmorant::RowRange& range) {
    json.beginArray().value(range.lower).value(range.upper).endArray();
}

void writeAlignment(JSONWriter& json, const velmorant::Alignment& alignment, const FileSource& files) {
    const velmorant::PixelSize size = alignment.size();
    json.beginObject().key("size").beginObject();
    json.member("width", size.width).member("height", size.height).member("scale", size.scale).endObject();
    json.key("positions").beginArray();
    for (const auto& [item, position] : alignment.positions()) {
        json.beginObject().member("path", files.path(item).native()).member("offset", position.offset);
        writeRange(json.key("localOverlap"), position.localOverlap);
        writeRange(json.key("globalOverlap"), position.globalOverlap);
        json.endObject();
    }
    json.endArray().endObject();
}

void writeGroup(JSONWriter& json, const JoinedGroup& joined, const FileSource& files) {
    json.beginObject().member("id", joined.group.id()).key("items").beginArray();
    for (const StitchableItem& item : joined.group.items()) {
        json.beginObject().member("id", item.id).member("path", files.path(item).native());
        json.member("date", isoDate(item.date));
        json.member("width", item.size().width).member("height", item.size().height);
        json.member("type", typeName(item.type)).endObject();
    }
    json.endArray().key("alignment");
    if (joined.alignment)
        writeAlignment(json, *joined.alignment, files);
    else
        json.null();
    json.key("leftOut").beginArray();
    for (const StitchableItem& item : joined.leftOut())
        json.value(files.path(item).native());
    json.endArray().key("error");
    joined.error ? json.value(*joined.error) : json.null();
    json.key("output");
    joined.output ? json.value(joined.output->native()) : json.null();
    json.endObject();
}

std::string summaryOf(const JoinedGroup& joined, const FileSource& files) {
    const std::size_t count = joined.group.items().size();
    if (!joined.output)
        return message("{} screenshot was not joined: {}\n", "{} screenshots were not joined: {}\n", count,
                       {std::to_string(count), *joined.error});

    const auto leftOut = joined.leftOut();
    const velmorant::PixelSize size = joined.alignment->size();
    const std::size_t placed = joined.alignment->positions().size();
    std::string text =
        message("{} screenshots joined: {} x {} pixels, {}\n", {std::to_string(placed), std::to_string(size.width),
                                                                std::to_string(size.height), shown(*joined.output)});
    for (const StitchableItem& item : leftOut)
        text +=
            message("left out: {}, which shows no rows of its neighbours in the picture\n", {shown(files.path(item))});
    return text;
}

} // namespace

ExitStatus StitchReport::status() const {
    const bool complete = failed.empty() && std::ranges::all_of(groups, [](const JoinedGroup& joined) {
                              return joined.output && joined.leftOut().empty();
                          });
    return complete ? ExitStatus::success : ExitStatus::incomplete;
}

std::string StitchReport::json() const {
    JSONWriter json;
    json.beginObject().key("groups").beginArray();
    for (const JoinedGroup& group : groups)
        writeGroup(json, group, *files);
    json.endArray().key("failed").beginArray();
    for (const BadFile& file : failed)
        json.beginObject()
            .member("path", file.path.native())
            .member("error", imageErrorMessage(file.path, file.error))
            .endObject();
    json.endArray().endObject();
    return json.text() + "\n";
}

std::string StitchReport::summary() const {
    std::string text;
    for (const JoinedGroup& group : groups)
        text += summaryOf(group, *files);
    return text;
}

} // namespace host
