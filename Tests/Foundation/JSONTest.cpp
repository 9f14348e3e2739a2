#include "Platform/Foundation/JSONDecoder.hpp"
#include "Platform/Foundation/JSONDocument.hpp"
#include "Platform/Foundation/JSONWriter.hpp"
#include "Tests/Support/MemorySink.hpp"

#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <random>

namespace platform {

namespace {

/// What decoding answers: the error, or nothing.
std::string errorOf(std::string_view text, const std::function<void(const JSONValue&)>& decode) {
    const auto decoded = json::decode(text, decode);
    return decoded ? "" : decoded.error().what();
}

} // namespace

TEST(JSONWriter, WritesCompactAndForPeople) {
    const auto write = [](JSONWriter&& json) {
        json.beginObject().member("a", 1).key("b").beginArray().value("x").value(true).null().endArray();
        json.key("c").beginObject().endObject().key("d").beginArray().endArray().member("e", -2.5).endObject();
        EXPECT_TRUE(json.finish());
        return json.text();
    };
    EXPECT_EQ(write(JSONWriter()), R"({"a":1,"b":["x",true,null],"c":{},"d":[],"e":-2.5})");
    EXPECT_EQ(write(JSONWriter(JSONWriter::Layout::indented)), R"({
  "a": 1,
  "b": [
    "x",
    true,
    null
  ],
  "c": {},
  "d": [],
  "e": -2.5
})");
}

TEST(JSONWriter, WritesEveryStringAsUTF8) {
    for (const auto& [text, written] : std::initializer_list<std::pair<std::string, std::string>>{
             {"", R"("")"},
             {"a\"b\\c/", R"("a\"b\\c/")"},
             {std::string("\0\n\t\x1f\x7f", 5), "\"\\u0000\\n\\u0009\\u001f\x7f\""},
             {"{,[:", "\"{,[:\""},
             {"\u00e4\u20ac\U0001f4f1", "\"\u00e4\u20ac\U0001f4f1\""},
             {"a\xff"
              "b",
              "\"a\ufffdb\""},
             {"\xe2\x82", "\"\ufffd\ufffd\""},                     // cut off
             {"\xc0\xaf", "\"\ufffd\ufffd\""},                     // overlong
             {"\xed\xa0\x80", "\"\ufffd\ufffd\ufffd\""},           // a surrogate
             {"\xf4\x90\x80\x80", "\"\ufffd\ufffd\ufffd\ufffd\""}, // above U+10FFFF
         })
        EXPECT_EQ(JSONWriter().value(text).text(), written);
}

TEST(JSONWriter, WritesNumbersThatReadBackTheSame) {
    for (const auto& [number, written] : std::initializer_list<std::pair<double, const char*>>{
             {0, "0"}, {0.1, "0.1"}, {636545472.63, "636545472.63"}, {1e300, "1e+300"}, {5e-324, "5e-324"}})
        EXPECT_EQ(JSONWriter().value(number).text(), written);
    EXPECT_EQ(JSONWriter().value(INT64_MIN).text(), "-9223372036854775808");
    EXPECT_EQ(JSONWriter().value(UINT64_MAX).text(), "18446744073709551615");

    std::mt19937_64 random(3);
    JSONWriter json;
    std::vector<double> numbers;
    std::vector<std::int64_t> integers;
    json.beginArray();
    for (int i = 0; i < 3000; ++i) {
        const double number = std::bit_cast<double>(random());
        numbers.push_back(std::isfinite(number) ? number : i);
        integers.push_back(static_cast<std::int64_t>(random()) >> (random() % 64));
        json.value(numbers.back()).value(integers.back());
    }
    json.endArray();
    EXPECT_EQ(errorOf(json.text(),
                      [&](const JSONValue& value) {
                          const auto elements = value.elements();
                          ASSERT_EQ(elements.size(), 6000u);
                          for (std::size_t i = 0; i < numbers.size(); ++i) {
                              ASSERT_EQ(elements[2 * i].number(), numbers[i]);
                              ASSERT_EQ(elements[2 * i + 1].integer(), integers[i]);
                          }
                      }),
              "");
}

TEST(JSONWriter, KeepsItsFirstFailureUntilTheEnd) {
    JSONWriter odd;
    odd.beginArray().value(std::nan("")).value(1).endArray();
    EXPECT_EQ(odd.text(), "[null,1]");
    EXPECT_EQ(odd.finish().error(), std::errc::argument_out_of_domain);

    MemorySink full;
    full.capacity = 100'000;
    JSONWriter json(full);
    json.beginArray();
    for (int i = 0; i < 100'000; ++i)
        json.value(i);
    json.endArray();
    EXPECT_EQ(json.finish().error(), std::errc::no_space_on_device);
}

TEST(JSONDecoder, NamesThePlaceOfWhatIsWrong) {
    using Decode = std::function<void(const JSONValue&)>;
    const Decode width = [](const JSONValue& v) {
        std::ignore = v["items"].elements().at(1)["size"]["width"].integer();
    };
    const auto items = [](const char* number) {
        return std::string(R"({"items":[0,{"skipped":[[1],{"a":[]}],"size":{"width":)") + number + "}}]}";
    };
    const Decode integer = [](const JSONValue& v) { std::ignore = v.integer(); };
    const Decode nothing = [](const JSONValue&) {};
    struct Case {
        std::string text;
        Decode decode;
        std::string error; ///< its beginning; empty: none
    };
    for (const auto& [text, decode, error] : std::initializer_list<Case>{
             {items("1170"), width, ""},
             {items("-9223372036854775808"), width, ""},
             {items("2.5,\"width\":1"), width, ""},
             {items("1,}"), width, "items[1].size: parse error at line 1, column "},
             {items("1e999"), width, "items[1].size: number overflow"},
             {R"({"items":[0,{"size":{}}]})", width, "items[1].size.width: missing"},
             {R"({"items":[0,{"size":[]}]})", width, "items[1].size: no object"},
             {R"({"items":{}})", width, "items: no array"},
             {"{}", width, "items: missing"},
             {"[]", width, "the whole text: no object"},
             {"7", integer, ""},
             {"-0", integer, ""},
             {std::string(512, '[') + std::string(512, ']'), nothing, ""},
             {std::string(513, '[') + std::string(513, ']'), nothing, "[0][0]"},
             {std::string(1'000'000, '['), nothing, "[0][0]"},
             {"\xef\xbb\xbf{}", nothing, ""},
         }) {
        const std::string answer = errorOf(text, decode);
        EXPECT_THAT(answer, testing::StartsWith(error)) << text.substr(0, 100);
        EXPECT_EQ(answer.empty(), error.empty()) << answer;
        EXPECT_LT(answer.size(), 2000u);
    }
    for (const char* other : {"1170.5", "1170.0", "1e3", "9223372036854775808", "99999999999999999999999", "\"1170\"",
                              "null", "1,\"width\":2.5"}) // the last counts
        EXPECT_THAT(errorOf(items(other), width), testing::StartsWith("items[1].size.width: no 64-bit integer"))
            << other;
    for (const char* text : {"007", "7 8", "7]", "7 // seven", "NaN", "", "{\"a\":1,}", "{'a':1}", "[1", "\"\xff\"",
                             R"("\ud800")", "\"a\tb\""})
        for (const Decode& decode : {integer, nothing})
            EXPECT_THAT(errorOf(text, decode), testing::StartsWith("the whole text: parse error")) << text;
}

TEST(JSONDecoder, ReadsEveryKindOfValue) {
    const char* text = R"({"text":"a\u00e4\ud83d\udcf1\n","whole":3,"part":2.5,"yes":true,"none":null,"list":[[],{}]})";
    EXPECT_EQ(errorOf(text,
                      [](const JSONValue& value) {
                          EXPECT_EQ(value["text"].string(), "a\u00e4\U0001f4f1\n");
                          EXPECT_EQ(value["whole"].number(), 3);
                          EXPECT_EQ(value["part"].number(), 2.5);
                          EXPECT_TRUE(value["yes"].boolean());
                          EXPECT_FALSE(value.find("absent"));
                          EXPECT_EQ(value["list"].elements().size(), 2u);
                          std::vector<JSONKind> kinds;
                          for (const auto& [key, member] : value.members())
                              kinds.push_back(member.kind());
                          using enum JSONKind;
                          EXPECT_EQ(kinds, (std::vector{string, integer, number, boolean, null, array}));
                          for (const char* wrong : {"none", "list", "whole"}) {
                              EXPECT_THROW(std::ignore = value[wrong].string(), JSONError) << wrong;
                              EXPECT_THROW(std::ignore = value[wrong].boolean(), JSONError) << wrong;
                              EXPECT_THROW(std::ignore = value[wrong].find("a"), JSONError) << wrong;
                          }
                          EXPECT_THROW(std::ignore = value["text"].number(), JSONError);
                      }),
              "");
}

TEST(JSONDecoder, HandsOverMemberByMember) {
    std::vector<std::string> seen;
    const auto members = [&](std::string_view text) -> std::string {
        seen.clear();
        const auto decoded = json::decodeMembers(text, [&](const std::string& key, const JSONValue& value) {
            seen.push_back(key + "=" + std::to_string(value["n"].integer()));
        });
        return decoded ? "" : decoded.error().what();
    };
    EXPECT_EQ(members(R"({"a":{"n":1,"deep":{"n":[9]}},"b":{"n":2},"a":{"n":3}})"), "");
    EXPECT_THAT(seen, testing::ElementsAre("a=1", "b=2", "a=3"));
    EXPECT_EQ(members("{}"), "");
    EXPECT_EQ(members(R"({"a":{"n":1},"b":{"n":"2"}})"), "b.n: no 64-bit integer");
    EXPECT_EQ(members(R"({"a":[{"n":1}]})"), "a: no object");
    for (const char* text : {"[]", "1", "\"a\"", "null"})
        EXPECT_EQ(members(text), "the whole text: no object");
    for (const char* text : {R"({"a":{"n":1}} x)", R"({"a":{"n":1})", R"({"a":{"n":1},})", R"({"a")"})
        EXPECT_THAT(members(text), testing::HasSubstr("parse error")) << text;
}

TEST(JSON, StreamsAHundredThousandMembers) {
    constexpr int count = 100'000;
    MemorySink sink;
    JSONWriter json(sink);
    json.beginObject();
    for (int i = 0; i < count; ++i) {
        json.key("group" + std::to_string(i)).beginArray();
        json.beginObject().member("offset", i).member("date", i + 0.5).endObject();
        json.endArray();
    }
    json.endObject();
    ASSERT_TRUE(json.finish());
    EXPECT_LT(sink.largest, 100'000u); // no piece grows with the document

    int seen = 0;
    const auto decoded = json::decodeMembers(sink.bytes, [&](const std::string& key, const JSONValue& value) {
        const auto element = value.elements().at(0);
        if (key == "group" + std::to_string(seen) && element["offset"].integer() == seen &&
            element["date"].number() == seen + 0.5)
            ++seen;
    });
    EXPECT_TRUE(decoded);
    EXPECT_EQ(seen, count);

    JSONDocument held;
    std::size_t most = 0;
    readJSONMembers(sink.bytes, held, [&](const std::string&) { most = std::max(most, held.nodes.size()); });
    EXPECT_EQ(most, 4u); // an array, an object and its two numbers
}

} // namespace platform
