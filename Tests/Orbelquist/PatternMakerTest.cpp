#include "Tests/Support/TestImages.hpp"
#include "Tests/Support/TestPages.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <random>
#include <tuple>

namespace orbelquist {

using platform::CGImage;
using platform::UIImage;

namespace {

constexpr std::int64_t width = screenWidth, height = screenHeight, topBar = 48, bottomBar = 40;

struct Look {
    bool bars = true;
    int noise = 0;               ///< levels either way
    std::int64_t overlayAt = -1; ///< a toast's first row
};

/// What a screen shows of a page that is scrolled to row `top`.
CGImage shot(const Page& page, std::int64_t top, const Look& look = {}, unsigned noiseSeed = 0) {
    std::mt19937 random(noiseSeed);
    const Page bars(4711);
    return platform::imageOf(width, height, [&](std::int64_t x, std::int64_t y) {
        int luma = page.luma(x, y + top);
        if (look.bars && (y < topBar || y >= height - bottomBar))
            luma = bars.luma(x, y);
        if (look.overlayAt >= 0 && y >= look.overlayAt && y < look.overlayAt + 40 && x > 150 && x < 220)
            luma = 40 + bars.luma(x, y) / 4;
        if (look.noise > 0)
            luma += static_cast<int>(random() % static_cast<unsigned>(2 * look.noise + 1)) - look.noise;
        const auto level = static_cast<std::uint32_t>(std::clamp(luma, 0, 255));
        return level << 24 | level << 16 | level << 8 | 255;
    });
}

} // namespace

TEST(KSVPatternMaker, AnswersOnePairForEveryTwoNeighbours) {
    const Page page(1);
    EXPECT_TRUE(match({}).empty());
    EXPECT_TRUE(match({shot(page, 0)}).empty());
    const auto pairs = match({shot(page, 0), shot(page, 200), shot(page, 90), std::nullopt, shot(page, 300)});
    ASSERT_EQ(pairs.size(), 4u);
    EXPECT_EQ(offsetOf(pairs[0]), "+200");
    EXPECT_EQ(offsetOf(pairs[1]), "-110");
    EXPECT_EQ(offsetOf(pairs[2]), "x"); // cannot be loaded
    EXPECT_EQ(offsetOf(pairs[3]), "x");
}

/// Messages left and right, of which each shot shows others, before a picture that stands still.
TEST(KSVPatternMaker, TellsThePageFromAPictureBehindIt) {
    const Page page(7);
    const auto chat = [&](std::int64_t top, std::int64_t rows = height) {
        return platform::imageOf(width, rows, [&](std::int64_t x, std::int64_t y) {
            const std::int64_t message = (y + top) / 80, inMessage = (y + top) % 80, left = message % 2 * 70 + 10;
            const bool isPage = inMessage < 60 && x >= left && x < left + 160;
            const std::int64_t tile = x / 8 * 131 + y / 8 * 71;
            const auto level = isPage ? page.luma(x, y + top) : static_cast<std::uint32_t>(90 + tile * tile % 83);
            return level << 24 | level << 16 | level << 8 | 255;
        });
    };
    const auto pairs = match({chat(0), chat(190), chat(420), chat(610)});
    EXPECT_EQ(offsetOf(pairs[0]), "+190");
    EXPECT_EQ(offsetOf(pairs[1]), "+230");
    EXPECT_EQ(offsetOf(pairs[2]), "+190");
    EXPECT_EQ(offsetOf(match({chat(0), chat(190)})[0]), "+190");
    EXPECT_EQ(offsetOf(match({chat(0), chat(900)})[0]), "x"); // other messages before the same picture
    EXPECT_EQ(offsetOf(match({chat(0), chat(900), chat(1800, height / 3)})[0]), "x");
}

/// Cards of the photograph's own brightness over most of it: what shows between them is other in each shot.
TEST(KSVPatternMaker, TellsCardsFromAPhotographBehindThem) {
    const Page page(7), other(8);
    const auto cards = [&](const Page& text, std::int64_t top) {
        return platform::imageOf(width, height, [&](std::int64_t x, std::int64_t y) {
            const bool isCard = (y + top) % 100 < 80 && x >= 10 && x < width - 10;
            const std::int64_t grain = (x * 131 + y * 71) * (x + 3 * y) % 97;
            const auto level = isCard ? text.luma(x, y + top) * 130 / 255 : static_cast<std::uint32_t>(90 + grain);
            return level * 0x1010100u | 255u;
        });
    };
    EXPECT_EQ(offsetOf(match({cards(page, 0), cards(page, 230)})[0]), "+230");
    EXPECT_EQ(offsetOf(match({cards(page, 0), cards(other, 230)})[0]), "x");
}

/// Text without a ground of its own, before a photograph.
TEST(KSVPatternMaker, TellsTextFromAPhotographBehindIt) {
    const auto text = [](unsigned seed, std::int64_t top, std::int64_t rows = height) {
        return platform::imageOf(width, rows, [page = Page(seed), top](std::int64_t x, std::int64_t y) {
            const std::int64_t hills = 60 + std::abs((x + y / 2) % 140 - 70) + (x * y / 7) % 5;
            const auto level = page.luma(x, y + top) < 128 ? 240u : static_cast<std::uint32_t>(hills);
            return level * 0x1010100u | 255u;
        });
    };
    EXPECT_EQ(offsetOf(match({text(7, 0), text(7, 230)})[0]), "+230");
    EXPECT_EQ(offsetOf(match({text(7, 330), text(7, 30, height - 50)})[0]), "-300");
    EXPECT_EQ(offsetOf(match({text(7, 0), text(8, 230)})[0]), "x");
}

/// Cards of glass, before a picture that runs from one level into another: hardly a pixel of them is the same in both.
TEST(KSVPatternMaker, TellsTextOnGlass) {
    const auto glass = [](unsigned seed, std::int64_t top) {
        return platform::imageOf(width, height, [page = Page(seed), top](std::int64_t x, std::int64_t y) {
            const std::int64_t behind = 30 + y / 5 + x / 8, at = (y + top) % 100;
            const bool isCard = at < 80 && x >= 12 && x < width - 12;
            const bool isLetter = isCard && at >= 20 && at < 60 && page.luma(x, y + top) < 128;
            const std::int64_t level = isLetter ? 250 : isCard ? behind * 3 / 4 + 50 : behind;
            return static_cast<std::uint32_t>(level) * 0x1010100u | 255u;
        });
    };
    EXPECT_EQ(offsetOf(match({glass(7, 0), glass(7, 230)})[0]), "+230");
    EXPECT_EQ(offsetOf(match({glass(7, 0), glass(8, 230)})[0]), "x");
}

/// What two shots share is blank, and a third shows more of either.
TEST(KSVPatternMaker, NeighboursTellWhatTwoAloneDoNot) {
    const Page page(9);
    const auto at = [&](std::int64_t top) {
        return platform::imageOf(width, height, [&](std::int64_t x, std::int64_t y) {
            const bool isBlank = y + top >= 300 && y + top < height;
            return (isBlank ? 255 : page.luma(x, y + top)) * 0x1010100u | 255u;
        });
    };
    EXPECT_EQ(offsetOf(match({at(0), at(300)})[0]), "x");
    for (const auto& [shots, pair, offset] :
         {std::tuple(std::vector<std::optional<CGImage>>{at(0), at(300), at(100)}, 0, "+300"),
          std::tuple(std::vector<std::optional<CGImage>>{at(100), at(300), at(0)}, 1, "-300")}) {
        const auto pairs = match(shots);
        EXPECT_EQ(offsetOf(pairs[static_cast<std::size_t>(pair)]), offset);
        EXPECT_STREQ(pairs[static_cast<std::size_t>(pair)].verdict.name(), "byNeighbours");
    }
}

/// The header appears with the second shot, on the page's own ground, and no line tells where it ends.
TEST(KSVPatternMaker, NeighboursTellABar) {
    const Page page(9), bars(4711);
    const auto at = [&](std::int64_t top, bool hasBar) {
        return platform::imageOf(width, height, [&, top, hasBar](std::int64_t x, std::int64_t y) {
            return (hasBar && y < 100 ? bars.luma(x, y) : page.luma(x, y + top)) * 0x1010100u | 255u;
        });
    };
    EXPECT_EQ(offsetOf(match({at(0, false), at(350, true)})[0]), "x");
    const auto pairs = match({at(0, false), at(350, true), at(600, true)});
    EXPECT_EQ(offsetOf(pairs[0]), "+350");
    EXPECT_EQ(offsetOf(pairs[1]), "+250");
    EXPECT_GE(pairs[0].positive.cropPoint(), 100); // below it
}

TEST(KSVPatternMaker, TakesLongRuns) {
    const Page page(2);
    std::vector<std::optional<CGImage>> shots;
    for (int i = 0; i < 24; ++i)
        shots.push_back(shot(page, 170 * i));
    for (const KSVPatternPair& pair : match(shots))
        EXPECT_EQ(offsetOf(pair), "+170");
}

TEST(KSVPatternMaker, JoinsNothingThatTheContentLeavesOpen) {
    const Page page(3), other(4), lines(5, 60), ruled(8, 6), blank(0, 1);
    // Three lines that both screens show, beside other messages at their edges.
    const auto message = [&](const Page& others, std::int64_t down) {
        return screen([&, down](auto x, auto y) {
            const auto line = (y + down) / 20;
            return (line >= 24 && line < 27 ? page : others).luma(x, y + down);
        });
    };
    CGImage narrower =
        platform::imageOf(200, height, [&](auto x, auto y) { return page.luma(x, y) * 0x1010100u | 255u; });
    struct Case {
        const char* what;
        CGImage a, b;
    };
    for (const auto& [what, a, b] : std::vector<Case>{
             {"different pages", shot(page, 0), shot(other, 0)},
             {"a gap between them", shot(page, 0), shot(page, 900)},
             {"a page that repeats", shot(lines, 0), shot(lines, 25)},
             {"a page that is finely ruled", shot(ruled, 0), shot(ruled, 201)},
             {"the same view of a page that repeats", shot(lines, 0), shot(lines, 0)},
             {"blank pages", shot(blank, 0), shot(blank, 100)},
             {"a few lines amid others", message(other, 0), message(Page(16), 400)},
             {"different widths", shot(page, 0), narrower},
         })
        EXPECT_EQ(offsetOf(match({a, b})[0]), "x") << what;
}

TEST(KSVPatternMaker, TwoShotsOfOneViewContinueARunButBeginNone) {
    const Page page(6);
    const auto pairs = match({shot(page, 0), shot(page, 0), shot(page, 150), shot(page, 150)});
    EXPECT_FALSE(pairs[0].positive.valid());
    EXPECT_EQ(offsetOf(pairs[0]), "0");
    EXPECT_EQ(offsetOf(pairs[1]), "+150");
    EXPECT_TRUE(pairs[2].positive.valid());
    EXPECT_EQ(pairs[2].positive.offset(), 0);
    EXPECT_LE(pairs[2].positive.overlap(), 24); // the shots may differ in noise: they fade no further than others do
}

/// A tall picture, as the program itself makes it: the top bar above the page and the bottom bar below.
TEST(KSVPatternMaker, FindsScreenshotsInATallPicture) {
    const Page page(7), bars(4711);
    constexpr std::int64_t tall = 2000;
    const CGImage picture = platform::imageOf(width, tall, [&](std::int64_t x, std::int64_t y) {
        const std::int64_t inBar = y < topBar ? y : y - tall + height;
        const bool bar = y < topBar || y >= tall - bottomBar;
        return (bar ? bars.luma(x, inBar) : page.luma(x, y)) * 0x1010100u | 255u;
    });
    for (const std::int64_t top : {0, 100, 300, 1000, 1300, 1359, 1360}) {
        SCOPED_TRACE(top);
        const auto pairs = match({picture, shot(page, top), picture});
        EXPECT_EQ(offsetOf(pairs[0]), top > 0 ? "+" + std::to_string(top) : "0");
        EXPECT_EQ(offsetOf(pairs[1]), top > 0 ? "-" + std::to_string(top) : "0");
    }
}

// What moves by itself leaves no row at which all pixels differ least.
TEST(KSVPatternMaker, AnswersAListWhoseItemsMovedByARowOrTwo) {
    for (const unsigned seed : {2783u, 4686u}) {
        std::mt19937 random(seed);
        const auto below = [&](unsigned end) { return static_cast<std::int64_t>(random() % end); };
        constexpr std::int64_t across = 96, down = 400;
        const std::int64_t moved = 60 + below(150), pitch = 12 + below(30), thick = 1 + below(4);
        const std::uint32_t ink = 255 - static_cast<std::uint32_t>(60 + below(195));
        const auto jitter = static_cast<unsigned>(1 + below(3));
        struct Piece {
            std::int64_t left, right, top, lower;
        };
        std::vector<Piece> pieces;
        for (std::int64_t y = 4; y + thick + 6 < down + moved + 8; y += pitch) {
            const std::int64_t lower = below(jitter);
            for (std::int64_t left = 3 + below(8); left > 0; --left) {
                const std::int64_t x = below(across - 8), width = 2 + below(7);
                pieces.push_back({x, x + width, y + below(3), lower});
            }
        }
        const auto noise = static_cast<int>(below(3));
        const auto shot = [&](bool second) {
            return platform::imageOf(across, down, [&](std::int64_t x, std::int64_t y) {
                std::int64_t luma = 255;
                for (const Piece& piece : pieces) {
                    const std::int64_t top = piece.top + (second ? piece.lower - moved : 0);
                    if (x >= piece.left && x < piece.right && y >= top && y < top + thick)
                        luma = ink;
                }
                luma +=
                    noise > 0 ? static_cast<std::int64_t>(random() % static_cast<unsigned>(2 * noise + 1)) - noise : 0;
                return static_cast<std::uint32_t>(std::clamp<std::int64_t>(luma, 0, 255)) * 0x1010100u | 255u;
            });
        };
        const CGImage first = shot(false), second = shot(true);
        const std::string offset = offsetOf(match({first, second})[0]);
        EXPECT_TRUE(offset == "x" || std::abs(std::stoll(offset) - moved) <= 2) << offset << " of " << moved;
    }
}

/// Pale words differ little from row to row: the edge of a dark bar right behind them must not decide.
TEST(KSVPatternMaker, IsExactInPaleContentBesideABar) {
    const Page page(15), bars(4711);
    const auto pale = [&](std::int64_t x, std::int64_t y) { return 225 + page.luma(x, y) / 16; };
    const auto taken = [&](std::int64_t top) {
        return screen([&, top](auto x, auto y) {
            const bool isBar = y < topBar || y >= height - bottomBar;
            return isBar ? bars.luma(x, y) / 2 : pale(x, y + top);
        });
    };
    for (std::int64_t down = 200; down < 420; ++down)
        EXPECT_EQ(offsetOf(match({taken(0), taken(down)})[0]), "+" + std::to_string(down));
}

TEST(KSVPatternMaker, TakesPicturesOfAnySize) {
    const Page page(17);
    for (const std::int64_t wide : {1, 31, 63, 65}) {
        const auto part = [&](std::int64_t top, std::int64_t rows) {
            return platform::imageOf(wide, rows,
                                     [&](auto x, auto y) { return page.luma(x, y + top) * 0x1010100u | 255u; });
        };
        for (const std::int64_t rows : {1, 11, 12, 13, 320, 640})
            for (const std::int64_t otherRows : {1, 12, 400, 640}) {
                const std::string offset = offsetOf(match({part(0, rows), part(200, otherRows)})[0]);
                const bool isEnough = wide >= 63 && rows == 640 && otherRows >= 400;
                EXPECT_TRUE(offset == "+200" || (!isEnough && offset == "x"))
                    << wide << " x " << rows << " and " << otherRows << ": " << offset;
            }
    }
    const CGImage thread = platform::imageOf(1, (1 << 19) + 1, [](auto, auto) { return 255u; });
    EXPECT_EQ(match({thread, thread})[0].verdict.kind, KSVVerdict::Kind::unreadable);
}

TEST(KSVPatternMaker, SaysWhyItDoesNotJoin) {
    const Page verses(12), others(13), refrain(14), lines(5, 60);
    // Eight lines of refrain, between other verses: at the end of the first screen, at the start of the second.
    const auto song = [&](const Page& verse, std::int64_t from) {
        return screen([&, from](auto x, auto y) {
            return y >= from && y < from + 160 ? refrain.luma(x, y - from) : verse.luma(x, y - from);
        });
    };
    // Twice on the first screen, and at the start of the second.
    const CGImage twice = screen([&](auto x, auto y) {
        return (y < 100 ? verses : y < 260 || y >= 480 ? refrain : verses).luma(x, y < 260 ? y - 100 : y - 480);
    });
    const CGImage narrower =
        platform::imageOf(200, height, [&](auto x, auto y) { return verses.luma(x, y) * 0x1010100u | 255u; });
    using Kind = KSVVerdict::Kind;
    struct Case {
        Kind kind;
        std::optional<CGImage> a, b;
    };
    for (const auto& [kind, a, b] : std::vector<Case>{
             {Kind::nothingCommon, shot(verses, 0), shot(others, 0)},
             {Kind::contradicted, song(verses, 400), song(others, 80)},
             {Kind::unpinnedView, shot(lines, 0), shot(lines, 0)},
             {Kind::open, shot(lines, 0), shot(lines, 25)},
             {Kind::sameView, shot(verses, 0), shot(verses, 0)},
             {Kind::repeated, twice, song(others, 0)},
             {Kind::otherWidth, shot(verses, 0), narrower},
             {Kind::matched, shot(verses, 0), shot(verses, 100)},
             {Kind::unreadable, shot(verses, 0), std::nullopt},
         }) {
        const KSVVerdict verdict = match({a, b})[0].verdict;
        EXPECT_EQ(verdict.kind, kind) << verdict.name() << ": " << verdict.description();
        EXPECT_EQ(verdict.confidence() > 0, verdict.valid());
    }
}

} // namespace orbelquist
