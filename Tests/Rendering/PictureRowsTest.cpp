#include "Velmorant/Rendering/PictureRows.hpp"

#include "Tests/Support/ImageLoader.hpp"
#include "Velmorant/Rendering/CoreImageRenderer.hpp"

#include <gtest/gtest.h>

namespace velmorant {

/// What is told of every row is what the drawn picture shows there, however the screenshots lie.
TEST(PictureRows, TellWhatTheDrawnPictureShows) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        std::mt19937 random(seed);
        const auto upTo = [&](std::int64_t most) { return static_cast<std::int64_t>(random()) % (most + 1); };
        const auto loader = std::make_shared<ImageLoader>();
        std::vector<Alignment::Entry> entries;
        std::int64_t offset = 0;
        for (char id = 'a'; id < 'g'; ++id) {
            const StitchableItem item(std::string(1, id), platform::Date{0}, {7, 5 + upTo(30), 1},
                                      StitchableItem::ItemType::unstitched);
            loader->images.emplace(item.id, platform::UIImage(platform::noiseImage(7, item.size().height, random)));
            const std::int64_t lower = upTo(12), upper = lower + upTo(5);
            entries.emplace_back(item, Position{offset, {lower, upper}, {lower, upper}});
            offset += upTo(25);
        }
        const Alignment alignment(std::move(entries), {7, 0, 1});
        const auto picture = *CoreImageRenderer(loader).render(alignment).cgImage();
        const std::int64_t cut = upTo(6), height = picture.height() - cut;

        std::int64_t next = 0, whole = 0;
        for (const PictureRows& part : pictureRows(alignment, {cut, picture.height()})) {
            EXPECT_EQ(part.rows.lower, next);
            next = part.rows.upper;
            EXPECT_GT(next, part.rows.lower);
            for (std::int64_t row = part.rows.lower; row < part.rows.upper; ++row) {
                const std::uint8_t* shown = picture.pixels()->row(cut + row);
                const auto equals = [&](const PictureRows::Source& source) {
                    const auto& pixels = *loader->images.at(source.item.id).cgImage()->pixels();
                    return std::memcmp(shown, pixels.row(source.rows.lower + row - part.rows.lower), 4 * 7) == 0;
                };
                if (part.sources.empty())
                    EXPECT_EQ(shown[3], 0) << seed << ' ' << row;
                else
                    EXPECT_EQ(equals(part.sources.front()) || equals(part.sources.back()), part.sources.size() == 1)
                        << seed << ' ' << row;
                whole += part.sources.size() == 1;
            }
        }
        EXPECT_EQ(next, height);
        EXPECT_GT(whole, height / 2);
    }
}

} // namespace velmorant
