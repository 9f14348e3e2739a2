#include "Velmorant/Model/Coding.hpp"

#include "Velmorant/Alignment/AlignmentCoding.hpp"

#include <gtest/gtest.h>

namespace velmorant {

using platform::Date;
using platform::JSONValue;
using platform::JSONWriter;
using enum StitchableItem::ItemType;

namespace {

const StitchableItem a("A/1", Date{636545472.25}, {1170, 2532, 1}, unstitched);
const StitchableItem b("b", Date{0}, {1, 2, 3}, prestitchedWithWatermark);

template <class Value>
std::string textOf(const Value& value) {
    JSONWriter json;
    encode(json, value);
    return json.text();
}

/// The error of decoding `text`, "" where there is none.
std::string errorOf(const std::string& text, const std::function<void(const JSONValue&)>& decode) {
    const auto result = platform::json::decode(text, decode);
    return result ? "" : result.error().what();
}

} // namespace

TEST(Coding, WritesTheKeysOfTheFields) {
    EXPECT_EQ(textOf(a),
              R"({"id":"A/1","date":636545472.25,"type":0,"assetSize":{"width":1170,"height":2532,"scale":1}})");
    EXPECT_EQ(textOf(Position{1900, {950, 1350}, {1950, 2350}}),
              R"({"offset":1900,"localOverlap":[950,1350],"globalOverlap":[1950,2350]})");
    EXPECT_EQ(textOf(Alignment({}, {0, 0, 0})), R"({"positions":[],"size":{"width":0,"height":0,"scale":0}})");
}

TEST(Coding, ReadsWhatItWrote) {
    const Group group({a, b}, Date{17}); // not the first item's date
    const Alignment alignment({{b, {10, {3, 3}, {4, 9}}}, {a, {0, {0, 1}, {0, 1}}}}, {1170, 4000, 1});
    EXPECT_EQ(errorOf(textOf(group), [&](const JSONValue& value) { EXPECT_EQ(decodeGroup(value), group); }), "");
    EXPECT_EQ(errorOf(textOf(alignment), [&](const JSONValue& value) { EXPECT_EQ(decodeAlignment(value), alignment); }),
              "");
}

TEST(Coding, TheLaterOfTwoPositionsOfAnItemCounts) {
    const std::string item = textOf(a), size = textOf(a.assetSize);
    const std::string text = R"({"positions":[)" + item + "," + textOf(Position{1, {}, {}}) + "," + item + "," +
                             textOf(Position{2, {}, {}}) + R"(],"size":)" + size + "}";
    EXPECT_EQ(errorOf(text,
                      [](const JSONValue& value) {
                          const Alignment alignment = decodeAlignment(value);
                          EXPECT_EQ(alignment.positions().size(), 1u);
                          EXPECT_EQ(alignment.position(a)->offset, 2);
                      }),
              "");
}

TEST(Coding, RefusesWhatIsIncompleteOrWrong) {
    const std::string item = textOf(a), position = textOf(Position{1, {2, 3}, {2, 3}});
    const auto replaced = [](std::string text, const std::string& from, const std::string& to) {
        return text.replace(text.find(from), from.size(), to);
    };
    const auto decodesItem = [](const JSONValue& value) { decodeItem(value); };
    const auto decodesPosition = [](const JSONValue& value) { decodePosition(value); };
    const auto decodesAlignment = [](const JSONValue& value) { decodeAlignment(value); };
    const auto decodesGroup = [](const JSONValue& value) { decodeGroup(value); };
    struct Case {
        std::string text;
        std::function<void(const JSONValue&)> decode;
        std::string path; ///< named by the error
    };
    for (const auto& [text, decode, path] : std::vector<Case>{
             {replaced(item, "\"type\":0", "\"type\":3"), decodesItem, "type"},
             {replaced(item, "\"type\":0", "\"type\":-1"), decodesItem, "type"},
             {replaced(item, "\"type\":0", "\"type\":0.5"), decodesItem, "type"},
             {replaced(item, "assetSize", "size"), decodesItem, "assetSize"},
             {replaced(item, "1170", "\"1170\""), decodesItem, "assetSize.width"},
             {replaced(position, "[2,3]", "[5,3]"), decodesPosition, "localOverlap"},
             {replaced(position, "[2,3]", "[3]"), decodesPosition, "localOverlap"},
             {"{\"positions\":[" + item + "," + position + "," + item + "],\"size\":" + textOf(a.assetSize) + "}",
              decodesAlignment, "positions"},
             {"{\"items\":[" + item + "]}", decodesGroup, "date"},
             {"{\"items\":[" + item + ",7],\"date\":1}", decodesGroup, "items[1]"},
         })
        EXPECT_EQ(errorOf(text, decode).substr(0, path.size()), path) << text;
    EXPECT_EQ(errorOf(replaced(position, "[2,3]", "[3,3]"), decodesPosition), ""); // an empty range
}

TEST(Alignment, IsWhatItsEntriesAreInAnyOrder) {
    const Alignment one({{a, {0, {0, 1}, {0, 1}}}, {b, {10, {3, 4}, {3, 4}}}}, {1, 2, 1});
    const Alignment other({{b, {10, {3, 4}, {3, 4}}}, {a, {0, {0, 1}, {0, 1}}}}, {1, 2, 1});
    EXPECT_EQ(one, other);
    EXPECT_EQ(std::hash<Alignment>()(one), std::hash<Alignment>()(other));
    EXPECT_NE(one, Alignment({{a, {0, {0, 1}, {0, 1}}}}, {1, 2, 1}));
    EXPECT_FALSE((Position{5, {0, 1}, {0, 1}} < Position{5, {0, 2}, {0, 2}}));
    EXPECT_NE((Position{5, {0, 1}, {0, 1}}), (Position{5, {0, 2}, {0, 2}}));
}

TEST(Alignment, PrintsItsPositionsInOrder) {
    const StitchableItem first("x", Date{636545472}, {1170, 2532, 1}, unstitched),
        second("y", Date{636545475}, {1170, 2532, 1}, unstitched);
    const Alignment alignment({{second, {1000, {1000, 1500}, {1000, 1500}}}, {first, {0, {0, 1}, {0, 1}}}},
                              {1170, 3532, 1});
    EXPECT_EQ(
        alignment.debugDescription(),
        "Alignment:\nPositions:[(2021-03-04 10:11:12 +0000 (1170x2532), Velmorant.Position(offset: 0, localOverlap: "
        "Range(0..<1), globalOverlap: Range(0..<1))), (2021-03-04 10:11:15 +0000 (1170x2532), "
        "Velmorant.Position(offset: 1000, localOverlap: Range(1000..<1500), globalOverlap: Range(1000..<1500)))]\n"
        "Size:Size<Int>(width: 1170, height: 3532, scale: 1)");
    EXPECT_EQ(Alignment({}, {0, 0, 0}).debugDescription(),
              "Alignment:\nPositions:[]\nSize:Size<Int>(width: 0, height: 0, scale: 0)");
}

} // namespace velmorant
