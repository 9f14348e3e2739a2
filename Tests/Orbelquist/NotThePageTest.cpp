#include "Tests/Support/TestPages.hpp"

#include <cstdlib>
#include <functional>
#include <string_view>
#include <vector>

namespace orbelquist {

namespace {

constexpr std::int64_t width = screenWidth, height = screenHeight;

} // namespace

TEST(KSVPatternMaker, SeesPastWhatIsNotThePage) {
    const Page page(9), film(10), otherFilm(11), bars(4711);
    constexpr std::int64_t down = 230;
    const auto shown = [&](std::int64_t x, std::int64_t y, bool second) { return page.luma(x, second ? y + down : y); };
    const auto few = [&](std::int64_t x, std::int64_t y, bool second) { // lines, and short ones
        return (second ? y + down : y) / 20 % 5 == 0 && x < 110 ? static_cast<int>(shown(x, y, second)) : 255;
    };
    const auto isButton = [](std::int64_t x, std::int64_t y) { // one of two, each with a sign
        return x >= 164 && x < 236 && y >= 330 && y < 502 && (y - 330) % 100 < 72;
    };
    const auto isSign = [&](std::int64_t x, std::int64_t y) {
        return isButton(x, y) && (x - 164) / 8 >= 3 && (x - 164) / 8 < 5 && (y - 330) % 100 / 8 >= 3 &&
               (y - 330) % 100 / 8 < 5;
    };
    const auto sign = [&](std::int64_t x, std::int64_t y) { return 255 - static_cast<int>(bars.luma(x, y)) / 2; };
    struct Case {
        const char* what;
        std::function<int(std::int64_t x, std::int64_t y, bool second)> luma;
    };
    for (const auto& [what, luma] : std::vector<Case>{
             {"a bar that the first alone shows",
              [&](auto x, auto y, bool second) { return !second && y >= height - 90 ? 200 : shown(x, y, second); }},
             {"a bar that the second alone shows",
              [&](auto x, auto y, bool second) { return second && y < 90 ? 60 : shown(x, y, second); }},
             {"a film within the page",
              [&](auto x, auto y, bool second) {
                  const auto at = second ? y + down : y; // a row of the page
                  if (at < 300 || at >= 400)
                      return static_cast<int>(page.luma(x, at));
                  return 40 + (second ? film : otherFilm).luma(x, at / 20 * 20 + 8) / 2;
              }},
             {"a keyboard, coded anew", // some of its rows differ a little
              [&](auto x, auto y, bool second) {
                  const bool isCoded = second && y % 16 == 0 && x < 64;
                  return y >= 400 ? 100 + static_cast<int>(bars.luma(x, y)) / 2 + (isCoded ? 6 : 0)
                                  : page.luma(x, 2 * (second ? y + down : y)); // small print
              }},
             {"a keyboard that the first alone shows",
              [&](auto x, auto y, bool second) {
                  return !second && y >= 390 ? 100 + static_cast<int>(bars.luma(x, y)) / 2 : shown(x, y, second);
              }},
             {"a ground that changes with the place on the screen",
              [&](auto x, auto y, bool second) {
                  return shown(x, y, second) < 128 ? 250 : 50 + static_cast<int>(y) / 5;
              }},
             {"a scroll thumb",
              [&](auto x, auto y, bool second) {
                  const auto top = second ? 300 : 200;
                  return x >= width - 5 && y >= top && y < top + 120 ? 120 : shown(x, y, second);
              }},
             {"a floating button",
              [&](auto x, auto y, bool second) {
                  return x >= 190 && x < 240 && y >= 480 && y < 530 ? bars.luma(x, y) / 2 : shown(x, y, second);
              }},
             {"buttons to see through", // before a few lines
              [&](auto x, auto y, bool second) {
                  const bool isLine = (second ? y + down : y) / 20 % 3 == 0;
                  const auto behind = isLine ? static_cast<int>(shown(x, y, second)) : 255;
                  return isSign(x, y) ? sign(x, y) : isButton(x, y) ? behind / 4 + 40 : behind;
              }},
             {"black ones on a black page",
              [&](auto x, auto y, bool second) {
                  const bool isLine = (second ? y + down : y) / 20 % 3 == 0;
                  const auto behind = isLine && x >= 140 ? 255 - static_cast<int>(shown(x, y, second)) : 0;
                  return isSign(x, y) ? sign(x, y) : isButton(x, y) ? behind / 3 : behind;
              }},
             {"a header on the page's ground that the second alone shows", // above few lines, a line below it
              [&](auto x, auto y, bool second) {
                  if (second && y < 68)
                      return y >= 65 ? 170 : y >= 10 && y < 50 ? static_cast<int>(bars.luma(x, y)) : 255;
                  const bool isLine = (second ? y + down : y) / 20 % 3 == 0;
                  return isLine ? static_cast<int>(shown(x, y, second)) : 255;
              }},
             {"a floating bar of one level", // with three signs
              [&](auto x, auto y, bool second) {
                  if (x >= 52 && x < 204 && y >= 540 && y < 612)
                      return x / 16 % 5 == 2 && y >= 564 && y < 588 ? sign(x, y) : 30;
                  return few(x, y, second);
              }},
             {"a toast on the first",
              [&](auto x, auto y, bool second) {
                  if (!second && x >= 80 && x < 176 && y >= 430 && y < 478)
                      return y >= 448 && y < 458 && x < 112 ? 255 - static_cast<int>(bars.luma(x, y)) : 50;
                  return few(x, y, second);
              }},
             {"a board on which pieces moved, above the page",
              [&](auto x, auto y, bool second) {
                  if (y >= 256)
                      return few(x, y, second);
                  const std::int64_t square = x / 32 + y / 32 * 8;
                  const bool isPiece = y >= 224 ? (square % 2 == 0) == second : square * 37 % 11 < 3;
                  const bool isInk = isPiece && std::abs(x % 32 - 16) + std::abs(y % 32 - 16) < 11;
                  return isInk ? 30 : (x / 32 + y / 32) % 2 == 0 ? 200 : 130;
              }},
             {"a film above the page, and a header between them",
              [&](auto x, auto y, bool second) {
                  if (y < 180)
                      return 40 + static_cast<int>((second ? film : otherFilm).luma(x, y / 20 * 20 + 8)) / 2;
                  if (y < 230)
                      return y >= 227 ? 170 : y >= 190 && y < 215 ? static_cast<int>(bars.luma(x, y)) : 255;
                  return few(x, y, second);
              }},
             {"a heading stuck below a bar", // of another section in each, above short lines
              [&](auto x, auto y, bool second) {
                  if (y < 48)
                      return static_cast<int>(bars.luma(x, y)) / 2;
                  if (y < 78)
                      return static_cast<int>((second ? film : otherFilm).luma(x, y));
                  return x < 110 ? static_cast<int>(shown(x, y, second)) : 255;
              }},
             {"a picture that was not there yet",
              [&](auto x, auto y, bool second) {
                  const auto at = second ? y + down : y;
                  if (x < 130 || x >= 194 || at < 310 || at >= 410)
                      return few(x, y, second);
                  return second ? 30 + static_cast<int>(film.luma(x, at / 4)) / 2 : 225;
              }},
             {"lines that recur and moved by a multiple of their distance", // but for a number each
              [&](auto x, auto y, bool second) {
                  const auto at = second ? y + down : y;
                  return static_cast<int>(x >= 16 && x < 32 ? page.luma(x, at) : film.luma(x, at % 23));
              }},
             {"values that changed meanwhile", // in every fourth line, at its end
              [&](auto x, auto y, bool second) {
                  const auto at = second ? y + down : y;
                  const bool hasChanged = second && at / 20 % 4 == 0 && x >= 190 && x < 222;
                  return static_cast<int>((hasChanged ? film : page).luma(x, at));
              }},
             {"a screen that was dimmed",
              [&](auto x, auto y, bool second) { return shown(x, y, second) * (second ? 94 : 100) / 100; }},
             {"a faint screen", // of pale words
              [&](auto x, auto y, bool second) {
                  const int word = shown(x, y, second) < 255 ? 150 : 160;
                  return y < 8 ? 90 : word;
              }},
             {"half a row",
              [&](auto x, auto y, bool second) {
                  return second ? (page.luma(x, y + down) + page.luma(x, y + down + 1)) / 2 : page.luma(x, y);
              }},
         }) {
        const auto pair = match({screen([&](auto x, auto y) { return luma(x, y, false); }),
                                 screen([&](auto x, auto y) { return luma(x, y, true); })})[0];
        const bool isBetween = std::string_view(what) == "half a row" && offsetOf(pair) == "+231";
        EXPECT_TRUE(isBetween || offsetOf(pair) == "+230") << what << ": " << pair.verdict.description();
        EXPECT_GT(pair.verdict.confidence(), 0.3) << what;
    }
}

} // namespace orbelquist
