#include "Platform/Foundation/UTF8.hpp"
#include "Velmorant/Alignment/AlignmentCoding.hpp"
#include "Velmorant/Model/Coding.hpp"

#include "Fuzz/Require.hpp"

#include <cmath>
#include <string>

// A text decodes as a size, an item, a group, groups made by hand, an alignment or not at all; what decodes is written
// and read again. Both ways to read an object, whole and member by member, agree.

namespace {

using namespace velmorant;
using fuzz::require;
using platform::JSONKind;
using platform::JSONValue;
using platform::JSONWriter;

void write(JSONWriter& json, const std::vector<Group>& groups) {
    json.beginArray();
    for (const Group& group : groups)
        encode(json, group);
    json.endArray();
}

template <class Value>
void write(JSONWriter& json, const Value& value) {
    encode(json, value);
}

std::vector<Group> decodeGroups(const JSONValue& value) {
    std::vector<Group> groups;
    for (const JSONValue& group : value.elements())
        groups.push_back(decodeGroup(group));
    return groups;
}

template <class Value>
void roundTrip(std::string_view text, Value (*decode)(const JSONValue&)) {
    std::optional<Value> value, again;
    if (!platform::json::decode(text, [&](const JSONValue& json) { value = decode(json); }))
        return;
    JSONWriter json;
    write(json, *value);
    if (!json.finish())
        return; // a date that is not finite
    for (std::string_view rest = json.text(); !rest.empty();) {
        const std::size_t length = platform::utf8Length(rest);
        require(length > 0);
        rest.remove_prefix(length);
    }
    require(platform::json::decode(json.text(), [&](const JSONValue& back) { again = decode(back); }).has_value());
    require(again == value);
}

void write(JSONWriter& json, const JSONValue& value) {
    switch (value.kind()) {
    case JSONKind::null:
        json.null();
        break;
    case JSONKind::boolean:
        json.value(value.boolean());
        break;
    case JSONKind::integer:
        json.value(value.integer());
        break;
    case JSONKind::number:
        json.value(value.number());
        break;
    case JSONKind::string:
        json.value(value.string());
        break;
    case JSONKind::array:
        json.beginArray();
        for (const JSONValue& element : value.elements())
            write(json, element);
        json.endArray();
        break;
    case JSONKind::object:
        json.beginObject();
        for (const auto& [name, member] : value.members())
            write(json.key(name), member);
        json.endObject();
        break;
    }
}

void compareWays(std::string_view text) {
    JSONWriter whole, parts;
    bool isObject = false;
    const bool read = platform::json::decode(text, [&](const JSONValue& value) {
                          isObject = value.kind() == JSONKind::object;
                          write(whole, value);
                      }).has_value();
    parts.beginObject();
    const bool readParts = platform::json::decodeMembers(text, [&](const std::string& name, const JSONValue& value) {
                               write(parts.key(name), value);
                           }).has_value();
    parts.endObject();
    require(readParts == (read && isObject));
    require(!readParts || whole.text() == parts.text());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::textOf(data, size);
    roundTrip(text, decodeSize);
    roundTrip(text, decodeItem);
    roundTrip(text, decodeGroup);
    roundTrip(text, decodeGroups);
    roundTrip(text, decodeAlignment);
    compareWays(text);
    return 0;
}
