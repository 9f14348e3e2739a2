#include "Velmorant/Alignment/AlignmentCoding.hpp"

#include "Velmorant/Model/Coding.hpp"

namespace velmorant {

using platform::JSONValue;
using platform::JSONWriter;

namespace {

void encode(JSONWriter& json, const RowRange& range) {
    json.beginArray().value(range.lower).value(range.upper).endArray();
}

RowRange decodeRange(const JSONValue& value) {
    const auto bounds = value.elements();
    if (bounds.size() != 2)
        value.fail("no two bounds");
    const RowRange range{bounds[0].integer(), bounds[1].integer()};
    if (range.lower > range.upper)
        value.fail("the lower bound is above the upper one");
    return range;
}

} // namespace

void encode(JSONWriter& json, const Position& position) {
    json.beginObject().member("offset", position.offset);
    encode(json.key("localOverlap"), position.localOverlap);
    encode(json.key("globalOverlap"), position.globalOverlap);
    json.endObject();
}

void encode(JSONWriter& json, const Alignment& alignment) {
    json.beginObject().key("positions").beginArray();
    for (const auto& [item, position] : alignment.positions()) {
        encode(json, item);
        encode(json, position);
    }
    json.endArray();
    encode(json.key("size"), alignment.size());
    json.endObject();
}

Position decodePosition(const JSONValue& value) {
    return {value["offset"].integer(), decodeRange(value["localOverlap"]), decodeRange(value["globalOverlap"])};
}

Alignment decodeAlignment(const JSONValue& value) {
    const auto entries = value["positions"].elements();
    if (entries.size() % 2 != 0)
        value["positions"].fail("an item without a position");
    std::vector<Alignment::Entry> positions;
    for (std::size_t i = 0; i < entries.size(); i += 2)
        positions.emplace_back(decodeItem(entries[i]), decodePosition(entries[i + 1]));
    return Alignment(std::move(positions), decodeSize(value["size"]));
}

} // namespace velmorant
