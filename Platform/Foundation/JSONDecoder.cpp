#include "Platform/Foundation/JSONDecoder.hpp"

#include <nlohmann/json.hpp>

#include <limits>

namespace platform {

using Node = nlohmann::json;

/// Opens the door between handles and nodes.
struct JSONDecoding {
    static const Node& node(const JSONValue& value) { return *static_cast<const Node*>(value.node_); }
    static JSONValue value(const Node& node, std::string path) { return JSONValue(&node, std::move(path)); }
};

void JSONValue::fail(const std::string& reason) const {
    throw JSONError((path_.empty() ? "the whole text" : path_) + ": " + reason);
}

JSONValue JSONValue::operator[](std::string_view key) const {
    const Node& node = JSONDecoding::node(*this);
    if (!node.is_object())
        fail("no object");
    const std::string path = path_.empty() ? std::string(key) : path_ + "." + std::string(key);
    const auto member = node.find(key);
    if (member == node.end())
        throw JSONError(path + ": missing");
    return JSONValue(&*member, path);
}

std::vector<JSONValue> JSONValue::elements() const {
    const Node& node = JSONDecoding::node(*this);
    if (!node.is_array())
        fail("no array");
    std::vector<JSONValue> values;
    values.reserve(node.size());
    for (const Node& element : node)
        values.push_back(JSONValue(&element, path_ + "[" + std::to_string(values.size()) + "]"));
    return values;
}

std::string JSONValue::string() const {
    const Node& node = JSONDecoding::node(*this);
    if (!node.is_string())
        fail("no string");
    return node.get<std::string>();
}

std::int64_t JSONValue::integer() const {
    const Node& node = JSONDecoding::node(*this);
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (!node.is_number_integer() || (node.is_number_unsigned() && node.get<std::uint64_t>() > most))
        fail("no 64-bit integer");
    return node.get<std::int64_t>();
}

double JSONValue::number() const {
    const Node& node = JSONDecoding::node(*this);
    if (!node.is_number())
        fail("no number");
    return node.get<double>();
}

bool JSONValue::boolean() const {
    const Node& node = JSONDecoding::node(*this);
    if (!node.is_boolean())
        fail("no truth value");
    return node.get<bool>();
}

namespace json {

namespace {

/// What `work` throws, as an answer.
std::expected<void, JSONError> caught(const std::function<void()>& work) {
    try {
        work();
        return {};
    } catch (const JSONError& error) {
        return std::unexpected(error);
    } catch (const Node::exception& error) {
        return std::unexpected(JSONError(error.what()));
    }
}

} // namespace

std::expected<void, JSONError> decode(std::string_view text, const std::function<void(const JSONValue&)>& decode) {
    return caught([&] { decode(JSONDecoding::value(Node::parse(text), "")); });
}

std::expected<void, JSONError> decodeMembers(std::string_view text,
                                             const std::function<void(const std::string&, const JSONValue&)>& decode) {
    using Event = Node::parse_event_t;
    return caught([&] {
        std::string key;
        bool isObject = false;
        const auto member = [&](int depth, Event event, Node& node) {
            if (depth == 0 && event == Event::object_start)
                isObject = true;
            if (depth == 1 && event == Event::key)
                key = node.get<std::string>();
            const bool isWhole = event == Event::object_end || event == Event::array_end || event == Event::value;
            if (depth != 1 || !isWhole || !isObject)
                return true;
            decode(key, JSONDecoding::value(node, key));
            return false; // has been used: need not be kept
        };
        std::ignore = Node::parse(text, member);
        if (!isObject)
            throw JSONError("the whole text: no object");
    });
}

} // namespace json

} // namespace platform
