#include "Host/PictureProof.hpp"

#include "Platform/CoreImage/ImageExport.hpp"
#include "Platform/Foundation/JSONDecoder.hpp"
#include "Tests/Support/ImageFiles.hpp"
#include "Tests/Support/ImageLoader.hpp"
#include "Tests/Support/ProgramTest.hpp"
#include "Velmorant/Rendering/CoreImageRenderer.hpp"

#include <gmock/gmock.h>

namespace host {

using testing::HasSubstr;
using velmorant::Alignment;
using velmorant::StitchableItem;

TEST(PictureProof, FindsTheRowThatIsNotItsScreenshots) {
    const platform::TestDevice device;
    std::mt19937 random(1);
    const auto loader = std::make_shared<velmorant::ImageLoader>();
    std::vector<Alignment::Entry> entries;
    for (const auto& [id, offset] : {std::pair("a", 0), std::pair("b", 100)}) {
        loader->images.emplace(id, platform::UIImage(platform::noiseImage(9, 150, random)));
        entries.emplace_back(StitchableItem(id, platform::Date{0}, {9, 150, 1}, StitchableItem::ItemType::unstitched),
                             velmorant::Position{offset, {10, 14}, {110, 114}});
    }
    const Alignment alignment(std::move(entries), {9, 250, 1});
    const velmorant::RowRange shown{5, 240};

    const auto drawn = *velmorant::CoreImageRenderer(loader).render(alignment).cgImage();
    struct Case {
        std::int64_t changed; ///< a row of the whole picture; -1: none
        const char* error;    ///< a part; empty: none
    };
    for (const auto& [changed, error] :
         {Case{-1, ""}, Case{5, "row 0"}, Case{90, "row 85"}, Case{239, "row 234"}, Case{241, ""}}) {
        platform::Bitmap pixels(9, 250);
        std::memcpy(pixels.row(0), drawn.pixels()->row(0), pixels.bytes().size());
        if (changed >= 0)
            pixels.row(changed)[4] ^= 1;
        const platform::CIImage recipe(platform::CGImage(std::move(pixels), true));
        platform::MemorySink file;
        ASSERT_TRUE(
            platform::writeImage(recipe, {{0, 10}, {9, 235}}, platform::ImageFormat::png, {}, platform::Date{0}, file));
        platform::writeFile(device.home() / "p.png", file.bytes);
        const auto proof = provePicture(device.home() / "p.png", alignment, shown, *loader);
        EXPECT_EQ(proof.has_value(), *error == '\0') << changed;
        if (proof)
            EXPECT_EQ(proof->equal + proof->blended, 235);
        else
            EXPECT_THAT(proof.error(), HasSubstr(error));
    }
    EXPECT_FALSE(provePicture(device.home() / "p.png", alignment, {0, 250}, *loader)); // another size
    EXPECT_FALSE(provePicture(device.home() / "none.png", alignment, shown, *loader));
}

/// What is written of the rows is enough to find every pixel again, in a picture that was cut.
TEST_F(ProgramTest, RowsAreToldAndProved) {
    const Ran whole = run("--together -o whole.png" + chat);
    ASSERT_EQ(whole.status, 0) << whole.err;
    const Ran ran = run("--together -o cut.png --crop 7,30 --bars drop --verify --rows-json rows.json" + chat);
    ASSERT_EQ(ran.status, 0) << ran.err;
    EXPECT_THAT(ran.out, HasSubstr("read back: "));

    const auto full = platform::decoded(folder / "whole.png");
    const auto cut = platform::decoded(folder / "cut.png");
    // The chat's own bars are 92 and 72 rows high; what is blank around them cannot be told from them.
    const std::int64_t top = 92 + 7, bottom = 72 + 30;
    EXPECT_NEAR(static_cast<double>(cut->height()), static_cast<double>(full->height() - top - bottom), 24);
    std::int64_t next = 0, blended = 0;
    const auto rangeOf = [](const platform::JSONValue& range) {
        return velmorant::RowRange{range.elements().at(0).integer(), range.elements().at(1).integer()};
    };
    ASSERT_TRUE(platform::json::decode(platform::contentOf(folder / "rows.json"), [&](const platform::JSONValue& told) {
        const auto picture = told["pictures"].elements().at(0);
        EXPECT_EQ(picture["output"].string(), "cut.png");
        EXPECT_EQ(picture["height"].integer(), cut->height());
        for (const auto& part : picture["rows"].elements()) {
            const auto rows = rangeOf(part["rows"]);
            EXPECT_EQ(rows.lower, next);
            next = rows.upper;
            const auto sources = part["sources"].elements();
            if (part["blended"].boolean()) {
                blended += rows.upper - rows.lower;
                EXPECT_EQ(sources.size(), 2u);
                continue;
            }
            const auto from = rangeOf(sources.at(0)["rows"]);
            const auto shot = platform::decoded(sources.at(0)["path"].string());
            ASSERT_EQ(from.upper - from.lower, rows.upper - rows.lower);
            for (std::int64_t i = 0; i < rows.upper - rows.lower; ++i)
                EXPECT_EQ(std::memcmp(cut->pixels()->row(rows.lower + i), shot->pixels()->row(from.lower + i),
                                      cut->pixels()->stride()),
                          0)
                    << rows.lower + i;
        }
    }));
    EXPECT_EQ(next, cut->height());
    EXPECT_LT(blended, 4 * 25);
}

} // namespace host
