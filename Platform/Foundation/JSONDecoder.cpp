#include "Platform/Foundation/JSONDecoder.hpp"

#include "Platform/Foundation/JSONDocument.hpp"

namespace platform {

/// Opens the door between values and documents.
struct JSONDecoding {
    static JSONValue root(const JSONDocument& document) { return JSONValue(document, 0); }

    static const JSONDocument::Node& node(const JSONValue& value) { return value.document_->nodes[value.node_]; }

    static const JSONDocument::Node& node(const JSONValue& value, JSONKind kind, const char* otherwise) {
        const auto& node = JSONDecoding::node(value);
        if (node.kind != kind)
            value.fail(otherwise);
        return node;
    }

    /// Calls `use` with the values right inside `value`.
    template <class Use>
    static void forEach(const JSONValue& value, const JSONDocument::Node& node, const Use& use) {
        for (std::size_t i = value.node_ + 1; i < node.end; i = value.document_->nodes[i].end)
            use(JSONValue(*value.document_, i));
    }

    static std::string_view key(const JSONValue& value) { return value.document_->view(node(value).key); }
};

void JSONValue::fail(const std::string& reason) const {
    const std::string path = document_->path(node_);
    throw JSONError((path.empty() ? "the whole text" : path) + ": " + reason);
}

JSONValue JSONValue::operator[](std::string_view key) const {
    const auto member = find(key);
    if (!member) {
        const std::string path = document_->path(node_);
        throw JSONError(path + (path.empty() ? "" : ".") + std::string(key) + ": missing");
    }
    return *member;
}

std::optional<JSONValue> JSONValue::find(std::string_view key) const {
    std::optional<JSONValue> found;
    JSONDecoding::forEach(*this, JSONDecoding::node(*this, JSONKind::object, "no object"),
                          [&](const JSONValue& member) {
                              if (JSONDecoding::key(member) == key)
                                  found = member;
                          });
    return found;
}

std::vector<std::pair<std::string, JSONValue>> JSONValue::members() const {
    std::vector<std::pair<std::string, JSONValue>> members;
    JSONDecoding::forEach(*this, JSONDecoding::node(*this, JSONKind::object, "no object"),
                          [&](const JSONValue& member) { members.emplace_back(JSONDecoding::key(member), member); });
    return members;
}

std::vector<JSONValue> JSONValue::elements() const {
    std::vector<JSONValue> elements;
    JSONDecoding::forEach(*this, JSONDecoding::node(*this, JSONKind::array, "no array"),
                          [&](const JSONValue& element) { elements.push_back(element); });
    return elements;
}

std::string JSONValue::string() const {
    return std::string(document_->view(JSONDecoding::node(*this, JSONKind::string, "no string").text));
}

std::int64_t JSONValue::integer() const {
    return JSONDecoding::node(*this, JSONKind::integer, "no 64-bit integer").integer;
}

double JSONValue::number() const {
    const auto& node = JSONDecoding::node(*this);
    if (node.kind != JSONKind::number && node.kind != JSONKind::integer)
        fail("no number");
    return node.number;
}

bool JSONValue::boolean() const {
    return JSONDecoding::node(*this, JSONKind::boolean, "no truth value").boolean;
}

JSONKind JSONValue::kind() const {
    return JSONDecoding::node(*this).kind;
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
    }
}

} // namespace

std::expected<void, JSONError> decode(std::string_view text, const std::function<void(const JSONValue&)>& decode) {
    return caught([&] {
        JSONDocument document;
        readJSON(text, document);
        decode(JSONDecoding::root(document));
    });
}

std::expected<void, JSONError> decodeMembers(std::string_view text,
                                             const std::function<void(const std::string&, const JSONValue&)>& decode) {
    return caught([&] {
        JSONDocument document;
        readJSONMembers(text, document, [&](const std::string& key) { decode(key, JSONDecoding::root(document)); });
    });
}

} // namespace json

} // namespace platform
