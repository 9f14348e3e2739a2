#include "Velmorant/Model/Coding.hpp"

namespace velmorant {

using platform::Date;
using platform::JSONValue;
using platform::JSONWriter;

void encode(JSONWriter& json, const PixelSize& size) {
    json.beginObject()
        .member("width", size.width)
        .member("height", size.height)
        .member("scale", size.scale)
        .endObject();
}

void encode(JSONWriter& json, const StitchableItem& item) {
    json.beginObject();
    json.member("id", item.id);
    json.member("date", item.date.timeIntervalSinceReferenceDate);
    json.member("type", static_cast<std::int64_t>(item.type));
    encode(json.key("assetSize"), item.assetSize);
    json.endObject();
}

void encode(JSONWriter& json, const Group& group) {
    json.beginObject().key("items").beginArray();
    for (const StitchableItem& item : group.items())
        encode(json, item);
    json.endArray().member("date", group.date().timeIntervalSinceReferenceDate).endObject();
}

PixelSize decodeSize(const JSONValue& value) {
    return {value["width"].integer(), value["height"].integer(), value["scale"].integer()};
}

StitchableItem decodeItem(const JSONValue& value) {
    const auto type = itemTypeFromRawValue(value["type"].integer());
    if (!type)
        value["type"].fail("no item type");
    return {value["id"].string(), Date{value["date"].number()}, decodeSize(value["assetSize"]), *type};
}

Group decodeGroup(const JSONValue& value) {
    std::vector<StitchableItem> items;
    for (const JSONValue& item : value["items"].elements())
        items.push_back(decodeItem(item));
    return Group(std::move(items), Date{value["date"].number()});
}

} // namespace velmorant
