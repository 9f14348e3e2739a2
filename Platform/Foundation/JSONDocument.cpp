#include "Platform/Foundation/JSONDocument.hpp"

#include <nlohmann/json.hpp>

#include <limits>

namespace platform {

namespace {

using Node = JSONDocument::Node;

constexpr std::size_t deepest = 512;
constexpr std::size_t isOpen = std::numeric_limits<std::size_t>::max(); // the end of what has not ended yet

/// Makes records of the parser's events.
class Builder : public nlohmann::json_sax<nlohmann::json> {
public:
    explicit Builder(JSONDocument& document) : document_(document) {}

    bool null() final { return scalar({}); }
    bool boolean(bool truth) final { return scalar({.kind = JSONKind::boolean, .boolean = truth}); }
    bool number_integer(std::int64_t number) final {
        return scalar({.kind = JSONKind::integer, .integer = number, .number = static_cast<double>(number)});
    }
    bool number_unsigned(std::uint64_t number) final {
        if (number <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            return number_integer(static_cast<std::int64_t>(number));
        return number_float(static_cast<double>(number), {});
    }
    bool number_float(double number, const std::string&) final {
        return scalar({.kind = JSONKind::number, .number = number});
    }
    bool string(std::string& text) final { return scalar({.kind = JSONKind::string, .text = added(text)}); }
    bool binary(binary_t&) final { return false; } // JSON has none

    bool key(std::string& name) override {
        key_ = added(name);
        return true;
    }
    bool start_object(std::size_t) override { return begin(JSONKind::object); }
    bool start_array(std::size_t) final { return begin(JSONKind::array); }
    bool end_array() final { return end(); }
    bool end_object() override { return end(); }

    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) final {
        std::string reason = error.what();
        reason.erase(0, reason.find("] ") + 2); // the parser's number for it
        if (reason.size() > 200)                // repeats the text's last token
            reason.resize(200);
        fail(reason);
    }

protected:
    [[noreturn]] void fail(const std::string& reason) const {
        const std::string path = open_.empty() ? document_.rootPath : document_.path(open_.back());
        throw JSONError((path.empty() ? "the whole text" : path) + ": " + reason);
    }

    /// Called for each value that stands in no other, before and after it has been read.
    virtual void rootBegins(JSONKind) {}
    virtual void rootEnded() {}

    bool isWithinRoot() const { return !open_.empty(); }
    JSONDocument& document() { return document_; }

private:
    JSONDocument::Text added(const std::string& text) {
        document_.texts += text;
        return {document_.texts.size() - text.size(), text.size()};
    }

    void add(Node node) {
        if (open_.empty())
            rootBegins(node.kind);
        node.key = key_;
        document_.nodes.push_back(node);
    }

    bool scalar(Node node) {
        node.end = document_.nodes.size() + 1;
        add(node);
        if (open_.empty())
            rootEnded();
        return true;
    }

    bool begin(JSONKind kind) {
        if (open_.size() == deepest)
            fail("nested too deeply");
        add({.kind = kind, .end = isOpen});
        open_.push_back(document_.nodes.size() - 1);
        return true;
    }

    bool end() {
        document_.nodes[open_.back()].end = document_.nodes.size();
        open_.pop_back();
        if (open_.empty())
            rootEnded();
        return true;
    }

    JSONDocument& document_;
    std::vector<std::size_t> open_; ///< objects and arrays
    JSONDocument::Text key_;
};

/// Takes each member of the outermost object for a document of its own.
class MemberBuilder final : public Builder {
public:
    MemberBuilder(JSONDocument& document, const std::function<void(const std::string&)>& arrived)
        : Builder(document), arrived_(arrived) {}

    bool start_object(std::size_t size) override {
        if (isInside_)
            return Builder::start_object(size);
        return isInside_ = true;
    }

    bool key(std::string& name) override {
        if (isWithinRoot())
            return Builder::key(name);
        document().nodes.clear();
        document().texts.clear();
        document().rootPath = name;
        return true;
    }

    bool end_object() override { return !isWithinRoot() || Builder::end_object(); }

private:
    void rootBegins(JSONKind) override {
        if (!isInside_)
            fail("no object");
    }
    void rootEnded() override { arrived_(document().rootPath); }

    const std::function<void(const std::string&)>& arrived_;
    bool isInside_ = false;
};

void parse(std::string_view text, Builder& builder) {
    nlohmann::json::sax_parse(text.data(), text.data() + text.size(), &builder);
}

} // namespace

std::string JSONDocument::path(std::size_t node) const {
    std::string path = rootPath;
    for (std::size_t at = 0; at != node;) {
        std::size_t child = at + 1, index = 0;
        for (; nodes[child].end <= node; child = nodes[child].end)
            ++index;
        if (nodes[at].kind == JSONKind::array)
            path.append("[").append(std::to_string(index)).append("]");
        else
            path.append(path.empty() ? "" : ".").append(view(nodes[child].key));
        at = child;
    }
    return path;
}

void readJSON(std::string_view text, JSONDocument& document) {
    Builder builder(document);
    parse(text, builder);
}

void readJSONMembers(std::string_view text, JSONDocument& document,
                     const std::function<void(const std::string&)>& arrived) {
    MemberBuilder builder(document, arrived);
    parse(text, builder);
}

} // namespace platform
