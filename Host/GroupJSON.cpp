#include "Host/GroupJSON.hpp"

namespace host {

using platform::JSONWriter;
using velmorant::StitchableItem;

namespace {

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

void writeAlignment(JSONWriter& json, const velmorant::Alignment& alignment, const ImageFiles& files) {
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

void writeSeam(JSONWriter& json, const Seam& seam, const ImageFiles& files) {
    json.beginObject()
        .member("upper", files.path(seam.upper).native())
        .member("lower", files.path(seam.lower).native());
    json.key("offset");
    seam.valid() ? json.value(seam.offset) : json.null();
    json.member("verdict", seam.byHand ? "byHand" : seam.verdict.name());
    json.member("confidence", seam.byHand ? 1.0 : seam.verdict.confidence());
    json.member("reason", seam.reason()).endObject();
}

} // namespace

std::string isoDate(const platform::Date& date) {
    std::string text = date.description().substr(0, 19);
    text[10] = 'T';
    return text + "Z";
}

void writeItem(JSONWriter& json, const StitchableItem& item, const std::filesystem::path& path, bool isMissing) {
    json.beginObject().member("id", item.id).member("path", path.native());
    json.member("date", isoDate(item.date));
    json.member("width", item.size().width).member("height", item.size().height);
    json.member("type", typeName(item.type));
    if (isMissing)
        json.member("missing", true);
    json.endObject();
}

void writeRange(JSONWriter& json, const velmorant::RowRange& range) {
    json.beginArray().value(range.lower).value(range.upper).endArray();
}

void writePaths(JSONWriter& json, const std::vector<StitchableItem>& items, const ImageFiles& files) {
    json.beginArray();
    for (const StitchableItem& item : items)
        json.value(files.path(item).native());
    json.endArray();
}

void writeGroup(JSONWriter& json, const StitchedGroup& stitched, MemoryShown memory, const ImageFiles& files,
                const std::vector<Seam>& seams) {
    json.beginObject().member("id", stitched.group.id()).key("items").beginArray();
    for (const StitchableItem& item : stitched.group.items())
        writeItem(json, item, files.path(item));
    json.endArray().key("alignment");
    if (stitched.alignment)
        writeAlignment(json, *stitched.alignment, files);
    else
        json.null();
    json.key("seams").beginArray();
    for (const Seam& seam : seams)
        writeSeam(json, seam, files);
    json.endArray();
    writePaths(json.key("leftOut"), stitched.leftOut(), files);
    json.key("error");
    stitched.error ? json.value(*stitched.error) : json.null();
    json.key("output");
    stitched.output ? json.value(stitched.output->native()) : json.null();
    if (stitched.proof)
        json.key("verified")
            .beginObject()
            .member("equal", stitched.proof->equal)
            .member("blended", stitched.proof->blended)
            .endObject();
    if (!stitched.outputs.empty()) {
        json.key("outputs").beginArray();
        for (const auto& path : stitched.outputs)
            json.value(path.native());
        json.endArray();
    }
    if (memory == MemoryShown::yes)
        json.member("memory", stitched.memory);
    json.endObject();
}

} // namespace host
